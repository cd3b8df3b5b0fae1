#include "ReadProgress.h"

#include "DataHandler.h"

#include <QCloseEvent>
#include <QCoreApplication>

ReadProgress::ReadProgress() = default;

void ReadProgress::follow(const DataHandler *handler)
{
    setMinimumDuration(0);
    setFixedWidth(500);
    // The catalogue keeps the texts with those of the window.
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
    // A closed main window clears the attribute. The program ends as soon as every other window agrees to close.
    event->setAccepted(!testAttribute(Qt::WA_QuitOnClose));
}
