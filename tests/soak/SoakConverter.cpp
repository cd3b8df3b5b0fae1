#include "DemoFlight.h"
#include "ProcessState.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QVector>
#include <unistd.h>

#include <algorithm>

namespace
{

constexpr int kFlights = 2000;
constexpr int kDifferent = 20;
constexpr int kWindow = 100; // flights over which the figures are averaged
constexpr double kMaxGrowth = 1.05;
constexpr int kLimitMs = 600'000; // for one flight

/** Means of the memory and maxima of the rest, over the flights of one stretch. */
struct Stretch {
    double residentMiB = 0;
    int threads = 0;
    int descriptors = 0;
};

} // namespace

/** One process converts 2,000 flights to every format. What it holds does not grow with the number of flights. */
class SoakConverter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFlightIsConverted() { QCOMPARE(m_states.size(), kFlights); }
    void memoryIsFlat();
    void threadsAreFlat();
    void descriptorsAreFlat();

private:
    void makeLogs();
    Stretch stretch(int first) const;

    QTemporaryDir m_folder;
    QVector<ProcessState> m_states; // after each flight
    Stretch m_early;
    Stretch m_late;
};

/** Different flights under 2,000 names. */
void SoakConverter::makeLogs()
{
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("logs")));
    for (int i = 0; i < kFlights; ++i) {
        const auto name = [this](int number) {
            return m_folder.filePath(QStringLiteral("logs/flight%1.txt").arg(number, 4, 10, QLatin1Char('0')));
        };
        if (i >= kDifferent) {
            const QByteArray from = QFile::encodeName(name(i % kDifferent));
            QCOMPARE(::link(from.constData(), QFile::encodeName(name(i)).constData()), 0);
            continue;
        }
        demo::DemoOptions options;
        options.samples = 60 + 5 * i;
        options.seed = static_cast<quint64>(i) + 1;
        QVERIFY(demo::writeTextLog(name(i), options));
    }
}

void SoakConverter::initTestCase()
{
    makeLogs();
    QStringList formats{QStringLiteral("csv,xlsx,txt,gpx,kml,geojson")};
    if (HAS_MAT)
        formats.append(QStringLiteral("mat"));
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(CONVERT_PROGRAM),
                  {QStringLiteral("--json"), QStringLiteral("-j"), QStringLiteral("2"), QStringLiteral("-f"),
                   formats.join(QLatin1Char(',')), QStringLiteral("-o"), m_folder.filePath(QStringLiteral("out")),
                   m_folder.filePath(QStringLiteral("logs"))});
    QVERIFY(process.waitForStarted());
    while (process.state() == QProcess::Running || process.canReadLine()) {
        if (!process.canReadLine() && !process.waitForReadyRead(kLimitMs))
            break;
        while (process.canReadLine()) {
            if (process.readLine().contains("\"outcome\":\"converted\""))
                m_states.append(ProcessState::of(process.processId()));
        }
    }
    QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished(kLimitMs));
    QCOMPARE(process.exitCode(), 0);
    m_early = stretch(kWindow);
    // The last lines may be read when the process has ended.
    m_late = stretch(kFlights - 2 * kWindow);
}

Stretch SoakConverter::stretch(int first) const
{
    Stretch result;
    for (int i = first; i < first + kWindow && i < m_states.size(); ++i) {
        result.residentMiB += m_states[i].residentMiB / kWindow;
        result.threads = std::max(result.threads, int(m_states[i].threads.size()));
        result.descriptors = std::max(result.descriptors, int(m_states[i].descriptors.size()));
    }
    return result;
}

void SoakConverter::memoryIsFlat()
{
    printRow("converter, memory at flights 100 to 200, 1,800 to 1,900", m_early.residentMiB, m_late.residentMiB, "MiB",
             "+5 %");
    QVERIFY(m_early.residentMiB > 0);
    QVERIFY2(m_late.residentMiB <= m_early.residentMiB * kMaxGrowth, "the memory grows");
}

void SoakConverter::threadsAreFlat()
{
    printRow("converter, threads", m_early.threads, m_late.threads, "no more");
    QVERIFY(m_early.threads > 0);
    QVERIFY(m_late.threads <= m_early.threads);
}

void SoakConverter::descriptorsAreFlat()
{
    printRow("converter, open descriptors", m_early.descriptors, m_late.descriptors, "no more");
    QVERIFY(m_early.descriptors > 0);
    QVERIFY(m_late.descriptors <= m_early.descriptors);
}

QTEST_GUILESS_MAIN(SoakConverter)
#include "SoakConverter.moc"
