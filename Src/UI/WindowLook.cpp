#include "WindowLook.h"

#include "Logging.h"

#include <QColor>
#include <QMainWindow>
#include <QMenuBar>
#include <QPalette>

namespace
{

QPalette lightPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    palette.setColor(QPalette::WindowText, Qt::black);
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, Qt::white);
    palette.setColor(QPalette::ToolTipBase, Qt::black);
    palette.setColor(QPalette::ToolTipText, Qt::black);
    palette.setColor(QPalette::Text, Qt::black);
    palette.setColor(QPalette::Button, Qt::white);
    palette.setColor(QPalette::ButtonText, Qt::black);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

QPalette darkPalette()
{
    const QColor grey(53, 53, 53);
    QPalette palette;
    palette.setColor(QPalette::Window, grey);
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Base, QColor(15, 15, 15));
    palette.setColor(QPalette::AlternateBase, grey);
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Button, grey);
    palette.setColor(QPalette::ButtonText, Qt::white);
    palette.setColor(QPalette::Highlight, QColor(161, 65, 13).lighter(150));
    palette.setColor(QPalette::HighlightedText, Qt::black);
    return palette;
}

} // namespace

void dressWindow(QMainWindow *window, MyThemes theme)
{
    if (theme == lightTheme) {
        logToBoth(info, "mainwindow set day mode");
        window->setPalette(lightPalette());
        window->menuBar()->setStyleSheet(QString());
    } else if (theme == darkTheme) {
        logToBoth(info, "mainwindow set night mode");
        window->setPalette(darkPalette());
        window->menuBar()->setStyleSheet(
            QStringLiteral("QMenuBar {background-color:rgb(53,53,53);                                        "
                           "color:white;}                                        "
                           "QMenuBar:item:selected {color:white;                                        "
                           "background-color:rgb(20,20,20);}"));
    }
}
