// The map for a flight of ten hours: time from the click on the track button to the script text for the web engine and
// to the drawn line, time to open the map, and memory of all processes of the program.

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "FrameTable.h"
#include "MapWidget.h"
#include "Waiting.h"
#include "WkeApi.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QProcess>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include <spdlog/spdlog.h>

namespace
{

constexpr int kSamples = 180000;
constexpr double kTextTarget = 1.3;
constexpr int kMoreOpenings = 10;
constexpr int kTimeoutMs = 60000; // the benchmark fails when a step takes longer

constexpr QRgb kBackground = qRgb(0xee, 0xf1, 0xf3); // of the page, where there is no tile
constexpr QRgb kTrack = qRgb(0xd8, 0x1b, 0x60);

std::size_t handedOver = 0;

QVector<double> &samples(const char *name)
{
    return attitudeGraphs[frame::rowOf(frame::kAttitude, name)]->yvalue();
}

/** Fills the store with drifting orbits, in multiples of 1e-7 degrees as in frames. */
void fillStore()
{
    for (int i = 0; i < kSamples; ++i) {
        samples("PGS_GPS_Lat").append(std::round(3.4e8 + 5e5 * std::sin(i / 300.0) + i) / 1e7);
        samples("PGS_GPS_Lng").append(std::round(1.13e9 + 8e5 * std::cos(i / 300.0) + 2.0 * i) / 1e7);
    }
}

/** The minimum work of a page call: fill the array, convert it to text and to UTF-16. */
void floorWork()
{
    const QVector<double> &lat = samples("PGS_GPS_Lat");
    const QVector<double> &lng = samples("PGS_GPS_Lng");
    QJsonArray points;
    for (int i = 0; i < lng.size(); ++i) {
        points.append(QJsonValue(lat[i]));
        points.append(QJsonValue(lng[i]));
    }
    const QString text = QString::fromUtf8(QJsonDocument(points).toJson());
    handedOver = std::size_t(text.toUtf8().size());
}

[[noreturn]] void giveUp(const char *what)
{
    std::fprintf(stderr, "waited in vain for %s\n", what);
    std::_Exit(1);
}

/** Waits in an event loop, because the engine's requests are processed there. */
template <typename Probe>
void waitFor(Probe &&probe, const char *what)
{
    if (!bench::waitFor(probe, kTimeoutMs))
        giveUp(what);
}

/** The engine's view in a dialog; null when it does not exist. */
QWidget *viewOf(const QWidget &dialog)
{
    for (QWidget *const widget : dialog.findChildren<QWidget *>()) {
        if (widget->inherits("QWebEngineView"))
            return widget;
    }
    return nullptr;
}

/**
 * Whether the page shows a colour in a narrow strip in the middle, which a track that fits the view crosses. A picture
 * of the whole page would slow down the page itself.
 */
bool shows(const QWidget &dialog, QRgb colour)
{
    QWidget *const view = viewOf(dialog);
    if (!view)
        return false;
    const QRect strip(view->width() / 2, 0, 4, view->height());
    const QImage image = view->grab(strip).toImage().convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        const auto *const row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        if (std::find(row, row + image.width(), colour) != row + image.width())
            return true;
    }
    return false;
}

MapWidget *open(QWidget &window)
{
    auto *const map = new MapWidget(&window);
    waitFor([map] { return shows(*map, kBackground); }, "the page");
    return map;
}

/** Closes the dialog like a user, from the event loop. */
void close(MapWidget &map)
{
    QTimer::singleShot(0, &map, &MapWidget::reject);
    waitFor([&map] { return !viewOf(map); }, "the page to go");
}

/** This process and all its descendants. */
QVector<int> processes()
{
    QMap<int, QVector<int>> children;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile file(QStringLiteral("/proc/%1/stat").arg(name));
        if (name.toInt() == 0 || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = file.readAll();
        children[line.mid(line.lastIndexOf(')') + 2).split(' ').value(1).toInt()].append(name.toInt());
    }
    QVector<int> found{int(getpid())};
    for (int i = 0; i < found.size(); ++i)
        found += children.value(found[i]);
    return found;
}

/** Proportional memory (PSS) of all processes, in megabytes. */
double memory()
{
    double kilobytes = 0;
    for (const int process : processes()) {
        QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (line.startsWith("Pss:"))
                kilobytes += line.simplified().split(' ').value(1).toDouble();
        }
    }
    return kilobytes * 1024 / 1e6;
}

/** The same, after it has been stable for a second. */
double settledMemory()
{
    double last = 0;
    double now = memory();
    for (int i = 0; i < 20 && std::abs(now - last) > 0.5; ++i) {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 1000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        last = now;
        now = memory();
    }
    return now;
}

// ---- Functions that run in separate processes, because the engine starts only once per process ----

/** Prints milliseconds: first opening, second opening, click to drawn line. */
int showTimes(QWidget &window)
{
    MapWidget *map = nullptr;
    const double first = bench::milliseconds([&] { map = open(window); });
    close(*map);
    const double second = bench::milliseconds([&] { map = open(window); });
    auto *const button = map->findChild<QPushButton *>(QStringLiteral("pushButton"));
    const double line = bench::milliseconds([&] {
        button->click();
        waitFor([map] { return shows(*map, kTrack); }, "the track");
    });
    std::printf("%f %f %f\n", first, second, line);
    return 0;
}

int showMemory(QWidget &window)
{
    close(*open(window));
    const double before = settledMemory();
    double closed = before;
    double dearest = 0;
    for (int i = 0; i < kMoreOpenings; ++i) {
        MapWidget *const map = open(window);
        dearest = std::max(dearest, settledMemory() - closed);
        close(*map);
        closed = settledMemory();
    }
    bench::printLimit("map: one more opening, all processes, while it is open, dearest of ten", dearest, 90, "MB");
    bench::printLimit("the same once it is closed, each of ten", (closed - before) / kMoreOpenings, 10, "MB");

    QVector<MapWidget *> maps;
    for (int i = 0; i < kMoreOpenings; ++i)
        maps.append(open(window));
    bench::printLimit("the same, ten open at once, each", (settledMemory() - closed) / kMoreOpenings, 90, "MB");
    return 0;
}

// ---- Rows ----

void benchText(QWidget &window)
{
    MapWidget *const map = open(window);
    const auto run = wke.wkeRunJS;
    wke.wkeRunJS = [](WkeWebView, const char *script) {
        handedOver = std::strlen(script);
        return 0LL;
    };
    auto *const button = map->findChild<QPushButton *>(QStringLiteral("pushButton"));
    bench::printRow("track of 180,000 samples, click to the handed-over text",
                    bench::bestOfSeven(floorWork, [button] { button->click(); }), kTextTarget);
    wke.wkeRunJS = run;
    if (handedOver < kSamples)
        giveUp("the text");
}

QByteArray outputOfSelf(const char *what)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(what)});
    if (!process.waitForFinished(20 * kTimeoutMs) || process.exitCode() != 0)
        giveUp(what);
    return process.readAllStandardOutput();
}

void benchTimes()
{
    QVector<double> best(3, 1e9);
    for (int run = 0; run < bench::kRuns; ++run) {
        const QList<QByteArray> figures = outputOfSelf("--times").simplified().split(' ');
        for (int i = 0; i < best.size(); ++i)
            best[i] = std::min(best[i], figures.value(i).toDouble());
    }
    bench::printRow("map: second opening until painted, against the first", {best[0], best[1]}, 0.5);
    bench::printLimit("track of 180,000 samples, click to the drawn line", best[2], 1500);
}

} // namespace

int main(int argc, char *argv[])
{
    // A map of realistic size.
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "xcb");
        char screen[] = "-screen 0 1920x1080x24";
        const char *const command[] = {"xvfb-run", "-a", "-s", screen, argv[0], argc > 1 ? argv[1] : nullptr, nullptr};
        execvp(command[0], const_cast<char **>(command));
        giveUp("xvfb-run");
    }
    QApplication application(argc, argv);
    // The log must not mix with the table on the standard output.
    spdlog::set_level(spdlog::level::off);
    initData();
    fillStore();
    QWidget window;
    const QString what = QCoreApplication::arguments().value(1);
    int code = 0;
    if (what == QLatin1String("--times")) {
        code = showTimes(window);
    } else if (what == QLatin1String("--memory")) {
        code = showMemory(window);
    } else {
        benchText(window);
        benchTimes();
        std::fputs(outputOfSelf("--memory").constData(), stdout);
    }
    std::fflush(stdout);
    std::_Exit(code);
}
