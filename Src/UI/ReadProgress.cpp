#include "ReadProgress.h"

#include "DataHandler.h"

#include <QCloseEvent>
#include <QCoreApplication>

ReadProgress::ReadProgress() = default;

void ReadProgress::follow(const DataHandler *handler)
{
    setMinimumDuration(0);
    setFixedWidth(500);
    // The texts are in the catalogue's MainWindow context.
    setWindowTitle(QCoreApplication::translate("MainWindow", "Please waiting..."));
    setLabelText(QCoreApplication::translate("MainWindow", "Decoding data..."));
    setRange(1, 50);
    setModal(true);
    setCancelButtonText(QString());
    setWindowFlags(Qt::CustomizeWindowHint | Qt::WindowMinimizeButtonHint);
    connect(handler, &DataHandler::process, this, [this](int now, int total) {
        setValue(now);
        setMaximum(total);
    });
}

void ReadProgress::closeEvent(QCloseEvent *event)
{
    // The main window clears the attribute when it closes. The dialog must then accept, so that the program can quit.
    event->setAccepted(!testAttribute(Qt::WA_QuitOnClose));
}
