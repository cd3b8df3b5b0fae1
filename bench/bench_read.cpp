// A complete read of a flight from a text log and from a database, compared with the event loop and SQLite alone.

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "DataHandler.h"
#include "DataListDia.h"
#include "DemoFlight.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QProgressDialog>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QVariant>
#include <memory>
#include <unistd.h>

namespace
{

constexpr int kMinutes = 120;

demo::DemoOptions flight(int samples)
{
    demo::DemoOptions options;
    options.samples = samples;
    return options;
}

void emptyStore()
{
    clearData();
    initData();
}

void read(const QString &path)
{
    DataHandler().readDataSlot(path);
}

void runEventLoop(int times)
{
    for (int i = 0; i < times; ++i)
        QCoreApplication::processEvents();
}

/** Updates the dialog like the main window does. */
void driveProgress(QProgressDialog &dialog, int now, int total)
{
    dialog.setValue(now);
    dialog.setMaximum(total);
}

std::unique_ptr<QProgressDialog> makeProgress()
{
    auto dialog = std::make_unique<QProgressDialog>();
    dialog->setMinimumDuration(0);
    dialog->setFixedWidth(500);
    dialog->setRange(1, 50);
    dialog->setModal(true);
    dialog->setCancelButtonText(QString());
    return dialog;
}

/** Selects the first task in the list dialog and confirms. */
void answerTaskList()
{
    QTimer::singleShot(0, qApp, [] {
        auto *const list = qobject_cast<DataListDia *>(QApplication::activeModalWidget());
        if (list == nullptr) {
            answerTaskList();
            return;
        }
        list->findChild<QTableWidget *>()->item(0, 3)->setCheckState(Qt::Checked);
        list->findChild<QPushButton *>()->click();
    });
}

qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

/** Prints the bytes of memory that a read needs. Runs in a separate process. */
int printMemoryOf(const QString &path)
{
    const qint64 before = residentBytes();
    read(path);
    std::printf("%lld\n", static_cast<long long>(residentBytes() - before));
    return 0;
}

double memoryOf(const QString &path)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--memory"), path});
    process.waitForFinished(-1);
    return process.readAllStandardOutput().trimmed().split('\n').last().toDouble(); // after the log lines
}

double scriptSeconds(const QString &path)
{
    QProcess process;
    process.start(QStringLiteral("python3"), {QStringLiteral(OSTRAVEL_DECODE_SCRIPT), path});
    process.waitForFinished(-1);
    return process.readAllStandardOutput().trimmed().toDouble();
}

void benchText(const QString &path, int frames)
{
    bench::printRow("read a 2-hour text log",
                    bench::bestOfSeven([frames] { runEventLoop(frames); }, [&path] { read(path); }, emptyStore), 1.7);

    const int total = static_cast<int>(QFile(path).size());
    const int step = total / frames / 2;
    const auto floor = [&] {
        const auto dialog = makeProgress();
        for (int i = 0; i < frames; ++i) {
            QCoreApplication::processEvents();
            driveProgress(*dialog, i * step - 40, total);
        }
    };
    const auto work = [&path] {
        const auto dialog = makeProgress();
        DataHandler handler;
        QObject::connect(&handler, &DataHandler::process, dialog.get(),
                         [&dialog](int now, int all) { driveProgress(*dialog, now, all); });
        handler.readDataSlot(path);
    };
    bench::printRow("the same with the progress dialog", bench::bestOfSeven(floor, work, emptyStore), 1.3);
}

void benchDatabase(const QString &path)
{
    const auto scan = [&path] {
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("floor"));
            database.setDatabaseName(path);
            database.open();
            QSqlQuery query(database);
            query.setForwardOnly(true);
            query.exec(QStringLiteral("select frame from t_fly_record where task_id = 1"));
            while (query.next()) {
                query.value(0).toString();
                QCoreApplication::processEvents();
            }
        }
        QSqlDatabase::removeDatabase(QStringLiteral("floor"));
    };
    const auto work = [&path] {
        answerTaskList();
        read(path);
    };
    bench::printRow("read a 2-hour database", bench::bestOfSeven(scan, work, emptyStore), 1.6);
}

void benchGrowth(const QString &folder)
{
    constexpr int kFew = 100'000;
    constexpr int kMany = 1'000'000;
    const QString few = folder + QStringLiteral("/few.txt");
    const QString many = folder + QStringLiteral("/many.txt");
    demo::writeTextLog(few, flight(kFew / demo::kFramesPerSample));
    demo::writeTextLog(many, flight(kMany / demo::kFramesPerSample));
    bench::Figures perFrame = bench::bestOfSeven(
        [&few] {
            emptyStore();
            read(few);
        },
        [&many] { read(many); }, emptyStore);
    perFrame.floor *= 1e6 / kFew;
    perFrame.measured *= 1e6 / kMany;
    bench::printRow("growth: a frame of 10^6 against one of 10^5", perFrame, 1.15, "ns");

    constexpr double kChannels = 143;
    const double samples = double{kMany} / demo::kFramesPerSample * kChannels;
    bench::printRow("memory of 10^6 frames above the empty program",
                    {samples * sizeof(double) / (1 << 20), memoryOf(many) / (1 << 20)}, 1.6, "MiB");
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    AppConfig &config = AppConfig::getInstance();
    config.initPaths();
    config.createPlotDir();
    initData();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--memory"))
        return printMemoryOf(arguments.value(2));

    const QTemporaryDir folder;
    const QString log = folder.filePath(QStringLiteral("flight.txt"));
    const QString database = folder.filePath(QStringLiteral("flight.db"));
    demo::DemoOptions options;
    options.minutes = kMinutes;
    demo::writeTextLog(log, options);
    demo::DemoTask task;
    task.flight = options;
    demo::writeDatabase(database, {task});

    const int frames = options.sampleCount() * demo::kFramesPerSample;
    benchText(log, frames);
    benchDatabase(database);
    benchGrowth(folder.path());
    std::printf("for the eye: the same decode by a Python script | - | %.0f ms | - | -\n", 1e3 * scriptSeconds(log));
    return 0;
}
