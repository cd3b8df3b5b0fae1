// The steps of a flight in the real window, for bench_scale: each prints "name seconds MiB CPU-seconds", the most
// memory that the program had during the step, and the processor time, which depends less on what else runs.
//   scale_steps --make text|database FILE SAMPLES
//   scale_steps FILE

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "DemoFlight.h"
#include "MainWindow.h"
#include "MapWidget.h"
#include "Waiting.h"
#include "WkeApi.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QTranslator>
#include <QUrl>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <unistd.h>

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

namespace
{

constexpr int kReplots = 5;
constexpr int kTimeoutMs = 600'000;

[[noreturn]] void giveUp(const char *what)
{
    std::fprintf(stderr, "scale_steps: %s\n", what);
    std::_Exit(1);
}

/** Peak of the resident memory since the last reset, in MiB. */
double peakMemory()
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        giveUp("no /proc/self/status");
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').value(1).toDouble() / 1024;
    }
    giveUp("no peak of the memory");
}

void resetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write("5") != 1)
        giveUp("the peak of the memory cannot be reset");
}

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void printStep(const char *name, double milliseconds, double processor)
{
    constexpr double kPerSecond = 1000;
    std::printf("%s %.6f %.2f %.6f\n", name, milliseconds / kPerSecond, peakMemory(), processor);
    std::fflush(stdout);
}

template <typename Work>
void step(const char *name, Work &&work)
{
    resetPeak();
    const double before = processorSeconds();
    const double milliseconds = bench::milliseconds(work);
    printStep(name, milliseconds, processorSeconds() - before);
}

/** Waits in an event loop. */
template <typename Probe>
void waitFor(Probe &&probe, const char *what)
{
    if (!bench::waitFor(probe, kTimeoutMs))
        giveUp(what);
}

/** Confirms every modal dialog as soon as it is shown. Of the tasks of a database the first is ticked. */
class Confirm : public QObject
{
public:
    Confirm() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *const dialog = qobject_cast<QDialog *>(watched);
        if (!dialog || event->type() != QEvent::Show || qobject_cast<QProgressDialog *>(dialog)
            || qobject_cast<MapWidget *>(dialog))
            return false;
        QTimer::singleShot(0, dialog, [dialog] {
            if (auto *const tasks = dialog->findChild<QTableWidget *>())
                tasks->item(0, 3)->setCheckState(Qt::Checked);
            dialog->accept();
        });
        return false;
    }
};

QAction *fileEntry(const MainWindow &window, int index)
{
    const auto *const menu = window.findChild<QMenu *>(QStringLiteral("menuFile"));
    return menu ? menu->actions().value(index) : nullptr;
}

/** Index of an entry of the file menu. */
enum Entry { Read = 1, WriteExcel = 2, WriteTxt = 3 };

void select(MainWindow &window, const QString &path)
{
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(path)});
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject &>(window).event(&drop); // bypasses the drag manager, which has no drag
}

void measureCurves(MainWindow &window)
{
    step("show", [&] {
        for (QCheckBox *const box : window.checkBoxes())
            box->setChecked(true);
    });
    const auto canvases = window.findChildren<QCustomPlot *>();
    int curves = 0;
    for (const QCustomPlot *const canvas : canvases)
        curves += canvas->graphCount();
    if (curves != 15)
        giveUp("there are not fifteen curves");
    resetPeak();
    double best = 1e9;
    const double before = processorSeconds();
    for (int run = 0; run < kReplots; ++run) {
        best = std::min(best, bench::milliseconds([&] {
                            for (QCustomPlot *const canvas : canvases)
                                canvas->replot();
                        }));
    }
    printStep("replot", best, (processorSeconds() - before) / kReplots);
}

void measureExports(MainWindow &window, const QString &log)
{
    const QFileInfo source(log);
    const auto run = [&](const char *name, Entry entry) {
        step(name, [&] {
            fileEntry(window, entry)->trigger();
            waitFor([&] { return !window.exportThread(); }, name);
        });
    };
    run("text", WriteTxt);
    const QString base = source.absolutePath() + QLatin1Char('/') + source.baseName();
    if (!QDir(base + QStringLiteral("-export")).removeRecursively())
        giveUp("there is no text export");
    run("workbook", WriteExcel);
    if (!QFile::remove(base + QStringLiteral(".xlsx")))
        giveUp("there is no workbook");
}

/** Asks the page of a map for the number of the points of its track, one question at a time. */
class TrackQuestion
{
public:
    explicit TrackQuestion(const QWidget &map)
        : m_map(map)
    {
    }

    /** The last answer; -1 while there is no page. */
    int answer()
    {
        auto *const view = m_map.findChild<QWebEngineView *>();
        if (view && !m_state->isAsked) {
            m_state->isAsked = true;
            view->page()->runJavaScript(
                QStringLiteral("typeof ostravelMap === 'object' ? ostravelMap.state().track : -1"),
                [state = m_state](const QVariant &points) {
                    state->isAsked = false;
                    state->points = points.isValid() ? points.toInt() : -1;
                });
        }
        return m_state->points;
    }

private:
    struct State {
        bool isAsked = false;
        int points = -1;
    };

    const QWidget &m_map;
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

void measureMap(MainWindow &window)
{
    MapWidget map(&window);
    TrackQuestion track(map);
    waitFor([&] { return track.answer() >= 0; }, "no page");
    auto *const button = map.findChild<QPushButton *>(QStringLiteral("pushButton"));
    step("map", [&] { button->click(); });
    step("line", [&] { waitFor([&] { return track.answer() > 0; }, "no line"); });
}

int makeFile(const QStringList &arguments)
{
    demo::DemoOptions options;
    options.samples = arguments.value(4).toInt();
    demo::DemoTask task;
    task.name = QStringLiteral("flight");
    task.flight = options;
    QString error;
    const bool good = arguments.value(2) == QLatin1String("database")
        ? demo::writeDatabase(arguments.value(3), {task}, &error)
        : demo::writeTextLog(arguments.value(3), options, &error);
    if (!good)
        giveUp(qPrintable(error));
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--make"))
        return makeFile(arguments);
    // The standard output is for the steps.
    spdlog::set_default_logger(spdlog::stderr_color_mt("scale"));
    spdlog::set_level(spdlog::level::err);
    QTranslator translator;
    if (!translator.load(QStringLiteral(":/Ostravel_zh.qm")))
        giveUp("no catalogue");
    QCoreApplication::installTranslator(&translator);
    AppConfig &config = AppConfig::getInstance();
    config.initPaths();
    config.createPlotDir();
    initData();
    {
        Confirm confirm;
        MainWindow window;
        waitFor([&] { return window.isVisible(); }, "no window");
        resetPeak();
        printStep("empty", 0, 0);
        select(window, arguments.value(1));
        step("read", [&] { fileEntry(window, Read)->trigger(); });
        if (!dataRead || channelGroup(0x03)->length() == 0)
            giveUp("nothing was read");
        measureCurves(window);
        measureExports(window, arguments.value(1));
        measureMap(window);
        std::fflush(stdout);
        std::_Exit(0); // the engine is not taken down
    }
}
