#include "TextWriter.h"

#include "Fifo.h"
#include "LocaleCodec.h"
#include "OrdinaryUser.h"
#include "SampleFlight.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

#include <cerrno>
#include <cstring>
#include <memory>

using namespace ostravel;

namespace
{

struct ExpectedFile {
    const char *name;
    std::uint8_t code;
    int columns;
};

constexpr ExpectedFile kFiles[] = {{"0x01-HeartBeat.txt", 0x01, 5},
                                   {"0x02-ControlSystemStatus.txt", 0x02, 37},
                                   {"0x03-AttitudeAndPositionInfo.txt", 0x03, 18},
                                   {"0x04-SensorValue.txt", 0x04, 34},
                                   {"0x05-FlightTargetValue.txt", 0x05, 13},
                                   {"0x41-PayloadInfo.txt", 0x41, 14},
                                   {"0x51-Difference.txt", 0x51, 5},
                                   {"0x52-Backup.txt", 0x53, 1}, // required: not the channel of 0x52
                                   {"0x53-EquipmentStatus.txt", 0x53, 16}};
constexpr int kColumns = 5 + 37 + 18 + 34 + 13 + 14 + 5 + 1 + 16;

/** What a file holds, written by the stream whose format it is. */
QByteArray streamed(const ExpectedFile &file, int samples)
{
    QByteArray bytes;
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    for (int column = 0; column < file.columns; ++column) {
        const std::u16string_view label = frame::layoutOf(file.code).rows[column].label;
        stream << QString::fromUtf16(label.data(), int(label.size())) << "\t";
    }
    for (int row = 0; row < samples; ++row) {
        stream << "\n";
        for (int column = 0; column < file.columns; ++column)
            stream << sampleValue(file.code, column, row) << "\t";
    }
    stream.flush();
    return bytes;
}

int codeOf(const std::optional<ExportError> &error)
{
    return error ? int(error->code) : -1;
}

} // namespace

class TestTextWriter : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void everyFileIsWhatAStreamWrites_data();
    void everyFileIsWhatAStreamWrites();
    void bytesOfASmallFile();
    void labelsAreInTheCodecOfTheLocale();
    void shorterEquipmentSeriesIsCutAtTheFirst();
    void longerFileKeepsItsTail();
    void folderIsNotCleared();
    void folderThatCannotBeMadeIsAnError_data();
    void folderThatCannotBeMadeIsAnError();
    void fileThatCannotBeOpenedDoesNotStopTheOthers();
    void pipeIsNotOpened();
    void fullDiskIsAnError();
    void progressRunsFromNothingToAll();
    void cancelledBeforeTheFirstValueMakesNoFolder();
    void cancelledFileEndsWithAWholeLine();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestTextWriter::everyFileIsWhatAStreamWrites_data()
{
    QTest::addColumn<int>("samples");
    QTest::newRow("no sample: labels only") << 0;
    QTest::newRow("one sample") << 1;
    QTest::newRow("more than one block of output") << 3000;
}

void TestTextWriter::everyFileIsWhatAStreamWrites()
{
    QFETCH(int, samples);
    QVERIFY(!writeText(makeFlight(samples), path("out")).has_value());
    QStringList names;
    for (const ExpectedFile &file : kFiles) {
        names.append(file.name);
        QVERIFY2(content(path("out/") + file.name) == streamed(file, samples), file.name);
    }
    QCOMPARE(QDir(path("out")).entryList(QDir::Files | QDir::Hidden, QDir::Name), names);
}

void TestTextWriter::bytesOfASmallFile()
{
    Flight::Parts parts;
    const double values[5][2] = {{113.91378, 1234567.0}, {0.0, -0.5}, {1.0, 2.0}, {0.0001, 0.00001}, {1e5, 1e100}};
    for (std::size_t row = 0; row < 5; ++row)
        parts.series[row] = {values[row][0], values[row][1]};
    QVERIFY(!writeText(Flight(parts), path("out")).has_value());
    QCOMPARE(content(path("out/0x01-HeartBeat.txt")),
             QString("飞行器类型\t地面定位状态\t原点经度\t原点纬度\t通信协议版本\t\n"
                     "113.914\t0\t1\t0.0001\t100000\t\n"
                     "1.23457e+06\t-0.5\t2\t1e-05\t1e+100\t")
                 .toLocal8Bit());
}

void TestTextWriter::labelsAreInTheCodecOfTheLocale()
{
    const OtherLocaleCodec codec;
    QVERIFY(!writeText(makeFlight(0), path("out")).has_value());
    // "陀螺" in GB18030.
    QCOMPARE(content(path("out/0x52-Backup.txt")), QByteArray("\xCD\xD3\xC2\xDD\t"));
}

void TestTextWriter::shorterEquipmentSeriesIsCutAtTheFirst()
{
    Flight::Parts parts = flightParts(3);
    parts.series[std::size_t(frame::firstRowOf(0x53))] = {1.0, 0.0};
    parts.series[std::size_t(frame::firstRowOf(0x53)) + 1] = {1.0};
    QVERIFY(!writeText(Flight(parts), path("out")).has_value());
    const QList<QByteArray> lines = content(path("out/0x53-EquipmentStatus.txt")).split('\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines[1].startsWith("1\t1\t"), lines[1].constData());
    QVERIFY2(lines[2].startsWith("0\t\t"), lines[2].constData());
}

void TestTextWriter::longerFileKeepsItsTail()
{
    QVERIFY(!writeText(makeFlight(3), path("out")).has_value());
    QVERIFY(!writeText(makeFlight(1), path("out")).has_value());
    for (const ExpectedFile &file : kFiles) {
        const QByteArray start = streamed(file, 1);
        QCOMPARE(content(path("out/") + file.name), start + streamed(file, 3).mid(start.size()));
    }
}

void TestTextWriter::folderIsNotCleared()
{
    QVERIFY(QDir().mkdir(path("out")));
    writeFile(path("out/notes.txt"), "mine");
    QVERIFY(!writeText(makeFlight(1), path("out")).has_value());
    QCOMPARE(content(path("out/notes.txt")), QByteArray("mine"));
}

void TestTextWriter::folderThatCannotBeMadeIsAnError_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("a file has the name") << "taken";
    QTest::newRow("below a file") << "taken/out";
    QTest::newRow("more than one level is missing") << "missing/out";
}

void TestTextWriter::folderThatCannotBeMadeIsAnError()
{
    QFETCH(QString, target);
    writeFile(path("taken"), "a file");
    const std::optional<ExportError> error = writeText(makeFlight(1), path(target));
    QCOMPARE(codeOf(error), int(ExportError::Code::CannotMakeFolder));
    QVERIFY2(error->message.contains(path(target)) && error->message.endsWith('.'), qPrintable(error->message));
    QCOMPARE(content(path("taken")), QByteArray("a file"));
    QVERIFY(!QFileInfo::exists(path("missing")));
}

void TestTextWriter::fileThatCannotBeOpenedDoesNotStopTheOthers()
{
    QVERIFY(QDir().mkpath(path("out/0x02-ControlSystemStatus.txt")));
    const std::optional<ExportError> error = writeText(makeFlight(2), path("out"));
    QCOMPARE(codeOf(error), int(ExportError::Code::CannotOpen));
    QVERIFY2(error->message.contains(path("out/0x02-ControlSystemStatus.txt")), qPrintable(error->message));
    for (const ExpectedFile &file : kFiles) {
        if (file.code != 0x02)
            QVERIFY2(content(path("out/") + file.name) == streamed(file, 2), file.name);
    }
}

void TestTextWriter::pipeIsNotOpened()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its writer");
    QVERIFY(QDir().mkdir(path("out")));
    const Fifo fifo(path("out/0x01-HeartBeat.txt"));
    QVERIFY(fifo.isValid());
    QCOMPARE(codeOf(writeText(makeFlight(1), path("out"))), int(ExportError::Code::CannotOpen));
    QVERIFY(!fifo.wasOpened());
    QCOMPARE(QDir(path("out")).entryList(QDir::Files).size(), 8);
}

void TestTextWriter::fullDiskIsAnError()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process of its own");
    const Flight flight = makeFlight(20000);
    const QString folder = path("out");
    QVERIFY(letOthersWrite(m_dir->path()));
    QCOMPARE(asOrdinaryUser([&] {
                 limitFileSize(1 << 20); // the wide groups do not fit
                 const std::optional<ExportError> error = writeText(flight, folder);
                 // The limit is inside a block: the system takes a part of it and gives its reason for the rest.
                 return error && error->reason == QString::fromLocal8Bit(strerror(EFBIG)) ? codeOf(error) : 99;
             }),
             int(ExportError::Code::CannotWrite));
    QVERIFY(content(path("out/0x52-Backup.txt")) == streamed(kFiles[7], 20000));
}

void TestTextWriter::progressRunsFromNothingToAll()
{
    constexpr int kSamples = 500;
    QVector<qint64> told;
    ExportOptions options;
    options.progress = [&told](qint64 done, qint64 total) {
        told.append(done);
        return total == kSamples * kColumns;
    };
    QVERIFY(!writeText(makeFlight(kSamples), path("out"), options).has_value());
    QVERIFY(told.size() > 2);
    QCOMPARE(told.first(), qint64(0));
    QCOMPARE(told.last(), qint64(kSamples * kColumns));
    QVERIFY(std::is_sorted(told.begin(), told.end()));
}

void TestTextWriter::cancelledBeforeTheFirstValueMakesNoFolder()
{
    ExportOptions options;
    options.progress = [](qint64, qint64) { return false; };
    const std::optional<ExportError> error = writeText(makeFlight(1), path("out"), options);
    QCOMPARE(codeOf(error), int(ExportError::Code::Cancelled));
    QVERIFY(error->message.contains(path("out")));
    QVERIFY(!QFileInfo::exists(path("out")));
}

void TestTextWriter::cancelledFileEndsWithAWholeLine()
{
    constexpr int kSamples = 3000;
    ExportOptions options;
    // Inside the second file: the first has 15,000 values.
    options.progress = [](qint64 done, qint64) { return done < 60000; };
    QCOMPARE(codeOf(writeText(makeFlight(kSamples), path("out"), options)), int(ExportError::Code::Cancelled));
    QVERIFY(content(path("out/0x01-HeartBeat.txt")) == streamed(kFiles[0], kSamples));
    const QByteArray second = content(path("out/0x02-ControlSystemStatus.txt"));
    QVERIFY(second.endsWith('\t') && second.size() < streamed(kFiles[1], kSamples).size());
    QVERIFY(streamed(kFiles[1], kSamples).startsWith(second + '\n'));
    QCOMPARE(QDir(path("out")).entryList(QDir::Files).size(), 2);
}

QTEST_GUILESS_MAIN(TestTextWriter)
#include "TestTextWriter.moc"
