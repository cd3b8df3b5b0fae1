#include "Batch.h"

#include "Conversion.h"
#include "LogSearch.h"
#include "ProgressLine.h"
#include "Report.h"
#include "Terminal.h"

#include <QElapsedTimer>
#include <QThreadPool>
#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>

using Outcome = FlightReport::Outcome;

namespace
{

/** The logs of one run. */
class Batch
{
public:
    Batch(const Arguments &arguments, const QVector<LogFile> &logs)
        : m_arguments(arguments)
        , m_logs(logs)
        , m_line(bytesOf(logs), logs.size(), terminal::hasTerminal())
    {
    }

    RunTotals run();

private:
    static qint64 bytesOf(const QVector<LogFile> &logs)
    {
        qint64 bytes = 0;
        for (const LogFile &log : logs)
            bytes += log.bytes;
        return bytes;
    }

    void convert(const LogFile &log);
    void print(const FlightReport &report);

    const Arguments &m_arguments;
    const QVector<LogFile> &m_logs;
    ProgressLine m_line;
    std::mutex m_mutex; // of what is printed, and of the totals
    RunTotals m_totals;
};

RunTotals Batch::run()
{
    constexpr int kRedrawMs = 100;
    constexpr double kMsPerSecond = 1000;
    QElapsedTimer timer;
    timer.start();
    QThreadPool pool;
    pool.setMaxThreadCount(std::min(m_arguments.jobs, terminal::maxJobs()));
    for (const LogFile &log : m_logs)
        pool.start([this, &log] { convert(log); });
    while (!pool.waitForDone(kRedrawMs)) {
        const std::lock_guard lock(m_mutex);
        m_line.draw();
    }
    const std::lock_guard lock(m_mutex);
    m_line.clear();
    m_totals.seconds = static_cast<double>(timer.elapsed()) / kMsPerSecond;
    return m_totals;
}

void Batch::convert(const LogFile &log)
{
    FlightReport report;
    report.path = log.path;
    report.outcome = Outcome::Interrupted;
    qint64 told = 0;
    if (!terminal::wasInterrupted()) {
        try {
            report = convertLog(log, m_arguments, [&](double done) {
                const auto bytes = static_cast<qint64>(done * static_cast<double>(log.bytes));
                m_line.add(bytes - told);
                told = bytes;
                return !terminal::wasInterrupted();
            });
        } catch (const std::exception &failure) { // the memory runs out; smaller flights may still fit
            report.outcome = Outcome::Failed;
            report.errors.append(QStringLiteral("The flight ") + log.path + QStringLiteral(" cannot be converted: ")
                                 + QString::fromLocal8Bit(failure.what()) + QLatin1Char('.'));
        }
    }
    m_line.add(log.bytes - told);
    m_line.finishLog();
    const std::lock_guard lock(m_mutex);
    m_totals.add(report, log.bytes);
    print(report);
}

void Batch::print(const FlightReport &report)
{
    m_line.clear();
    for (const QString &error : report.errors) {
        // A file that was found and is no flight is no error; its line on standard output tells of it.
        if (report.outcome != Outcome::NoFlight)
            printError(error);
    }
    for (const QString &warning : report.warnings)
        printError(QStringLiteral("warning: ") + warning);
    printOut(m_arguments.json ? jsonLine(reportObject(report)) : reportLine(report));
}

} // namespace

int runBatch(const Arguments &arguments)
{
    const LogSearch search = findLogs(arguments.paths, arguments.outputFolder);
    if (arguments.action == Arguments::Action::Convert && !search.clash.isEmpty()) {
        printError(QStringLiteral("outputs of the same name: ") + search.clash
                   + QStringLiteral(". Convert them into two folders with -o."));
        return status::kWrongUse;
    }
    for (const QString &folder : search.emptyFolders)
        printError(QStringLiteral("The folder ") + folder
                   + QStringLiteral(" holds no log (.txt) and no database (.db)."));

    const RunTotals totals = Batch(arguments, search.logs).run();
    if (arguments.json)
        printOut(jsonLine(totalsObject(totals)));
    else if (search.logs.size() > 1)
        printOut(totalsLine(totals));
    if (terminal::wasInterrupted())
        printError(QStringLiteral("interrupted"));
    const bool failed = totals.failed > 0 || totals.interrupted > 0 || !search.emptyFolders.isEmpty();
    return failed ? status::kFailed : status::kDone;
}
