// Time from the start of a process to its painted window, and from a click on a check box to the painted curve.

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "DataHandler.h"
#include "DemoFlight.h"
#include "MainWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>
#include <QTranslator>
#include <cstdlib>

namespace
{

/** Ends the process when the window has been painted. */
class EndAtFirstPaint : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest || event->type() == QEvent::Paint)
            QMetaObject::invokeMethod(
                qApp, [] { std::_Exit(0); }, Qt::QueuedConnection);
        return QObject::eventFilter(watched, event);
    }
};

void setFont()
{
    const QString family = QStringLiteral("Microsoft YaHei");
    QFont::insertSubstitution(family, QStringLiteral("Noto Sans CJK SC"));
    QFont font = QApplication::font();
    font.setFamily(family);
    QApplication::setFont(font);
}

int showEmptyWindow()
{
    setFont();
    QMainWindow window;
    EndAtFirstPaint filter;
    window.installEventFilter(&filter);
    window.showMaximized();
    return QApplication::exec();
}

int showProgram()
{
    setFont();
    AppConfig::getInstance().init();
    MainWindow window(nullptr);
    EndAtFirstPaint filter;
    window.installEventFilter(&filter);
    window.show();
    return QApplication::exec();
}

void startSelf(const char *what)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(what)});
    process.waitForFinished(-1);
}

void benchStart()
{
    const bench::Figures start = bench::bestOfSeven([] { startSelf("--empty"); }, [] { startSelf("--program"); });
    bench::printRow("start to the painted window (plain figure: more than an empty one)", start, 1e3);
    bench::printLimit("start: time above an empty window", start.measured - start.floor, 600);
}

void benchClick()
{
    AppConfig::getInstance().init();
    const QTemporaryDir folder;
    const QString log = folder.filePath(QStringLiteral("flight.txt"));
    demo::DemoOptions options;
    options.minutes = 120;
    demo::writeTextLog(log, options);
    DataHandler().readDataSlot(log);

    auto *const window = new MainWindow(nullptr); // never deleted: its destructor would shut down the application
    window->show();
    QCoreApplication::processEvents();
    dataRead = true;
    double slowest = 0;
    for (QCheckBox *const box : window->checkBoxes()) {
        slowest = std::max(slowest, bench::milliseconds([box] {
                               box->click();
                               QCoreApplication::processEvents();
                           }));
    }
    bench::printLimit("click on a check box of a 2-hour flight, slowest of fifteen", slowest, 50);
    std::fflush(stdout);
    std::_Exit(0);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QTranslator translator;
    translator.load(QStringLiteral(":/Ostravel_zh.qm"));
    QApplication::installTranslator(&translator);
    const QString what = QCoreApplication::arguments().value(1);
    if (what == QLatin1String("--empty"))
        return showEmptyWindow();
    if (what == QLatin1String("--program"))
        return showProgram();
    benchStart();
    benchClick();
    return 0;
}
