#include "DemoFlight.h"

#include "DemoDatabase.h"
#include "DemoRandom.h"
#include "FlightSimulator.h"
#include "FrameRows.h"
#include "FrameWriter.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <algorithm>
#include <array>

namespace demo
{

namespace
{

constexpr int kLongestLineBytes = 300000 / 2;
constexpr int kLongTextCharacters = 100000;
constexpr int kBackupEverySamples = 10 * kSamplesPerSecond;

bool failed(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

void appendText(QByteArray &text, const char *bytes, int size, bool blanks)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (blanks && i > 0)
            text.append(' ');
        text.append(kDigits[byte >> 4U]);
        text.append(kDigits[byte & 0x0FU]);
    }
}

// Text goes to the file in pieces of this size, so that a long flight is never held whole.
constexpr int kPiece = 1 << 20;

bool writeFile(const QString &path, QString *error, const std::function<void(QSaveFile &)> &write)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return failed(error, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    write(file);
    if (!file.commit())
        return failed(error, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    return true;
}

void makeLines(const DemoOptions &options, int pieceSize, const std::function<void(const QByteArray &)> &sink)
{
    QByteArray text;
    text.reserve(pieceSize + 1024);
    makeFlight(options, [&](const QByteArray &frame) {
        appendText(text, frame.constData(), frame.size(), options.blanks);
        text.append('\n');
        if (text.size() >= pieceSize) {
            sink(text);
            text.resize(0);
        }
    });
    sink(text);
}

// The kinds of damage that are done again and again along the flight, in turn.
enum class Damage { EmptyLine, TextLine, WrongHeader, Truncated, OtherPlane, UnknownCode, OddDigits };
constexpr int kDamages = 7;

// A stretch of samples, as shares of the flight, in which the frames of one code are missing.
struct Gap {
    std::uint8_t code;
    double from;
    double to;
};
constexpr std::array kGaps{
    Gap{frame::kTarget, 0.35, 0.37},
    Gap{frame::kControlStatus, 0.45, 0.46},
    Gap{frame::kAttitude, 0.62, 0.64},
    Gap{frame::kSensor, 0.74, 0.75},
};

constexpr std::array<std::uint8_t, 6> kUnknownCodes{0x00, 0x06, 0x51, 0x53, 0x7E, 0xFF};

// Lengths around the gate of a frame's code: the longest that is not decoded, the shortest that is, and shorter ones.
int truncatedLength(const QByteArray &frame, int turn)
{
    const auto code = static_cast<std::uint8_t>(frame.at(frame::kFunctionCodePosition));
    const int gate = frame::layoutOf(code).gate;
    const std::array lengths{gate, gate + 1, frame::kMinBytes, gate / 2};
    // The table of 0x04 and of 0x05 ends with the shortest frame that passes; cutting to it would cut nothing.
    return std::min(lengths[static_cast<std::size_t>(turn) % lengths.size()], frame.size() - 1);
}

class DamagedLog
{
public:
    explicit DamagedLog(const DemoOptions &options)
        : m_options(options)
        , m_random(options.seed ^ 0xDA3A6EU)
        , m_samples(options.sampleCount())
    {
        // Coprime to the six frames of a sample, so that every kind of damage meets every code.
        m_every = std::max(7, m_samples * kFramesPerSample / 90) | 1;
        if (m_every % 3 == 0)
            m_every += 2;
    }

    QByteArray make(DamageCounts *counts)
    {
        makeFlight(m_options, [this](const QByteArray &frame) { add(frame); });
        // The recorder lost its power in the middle of a frame.
        m_text.append(frameText(m_last.left(m_last.size() / 2), m_options.blanks));
        ++m_counts.cutLastLine;
        if (counts)
            *counts = m_counts;
        return m_text;
    }

private:
    void add(const QByteArray &frame)
    {
        const int number = m_number++;
        m_last = frame;
        const int perFlight = m_samples * kFramesPerSample;
        if (number == perFlight / 4)
            addNulFrame(frame);
        if (number == perFlight / 3)
            addBytesThatAreNoText();
        if (number == perFlight / 2)
            addLongFrame(frame);
        if (number == perFlight / 2 + 9)
            addLongText();
        if (inGap(frame, number / kFramesPerSample)) {
            ++m_counts.missingFrames;
            return;
        }
        if (number % m_every == m_every - 1)
            addDamaged(frame);
        else
            addLine(frame);
    }

    bool inGap(const QByteArray &frame, int sample) const
    {
        const auto code = static_cast<std::uint8_t>(frame.at(frame::kFunctionCodePosition));
        return std::any_of(kGaps.begin(), kGaps.end(), [&](const Gap &gap) {
            return code == gap.code && sample >= static_cast<int>(gap.from * m_samples)
                && sample < static_cast<int>(gap.to * m_samples);
        });
    }

    void addLine(const QByteArray &frame) { addRaw(frameText(frame, m_options.blanks)); }

    void addRaw(const QByteArray &line)
    {
        m_text.append(line);
        m_text.append('\n');
    }

    void addDamaged(const QByteArray &frame)
    {
        QByteArray changed = frame;
        const int turn = m_damaged++;
        const int round = turn / kDamages;
        switch (static_cast<Damage>(turn % kDamages)) {
        case Damage::EmptyLine:
            addRaw({});
            ++m_counts.emptyLines;
            addLine(frame);
            break;
        case Damage::TextLine:
            addRaw(round == 0 ? QByteArrayLiteral("\xE8\xAE\xB0\xE5\xBD\x95\xE4\xB8\xAD\xE6\x96\xAD")
                              : "link lost at " + QByteArray::number(m_number) + ", recorder restarted");
            ++m_counts.textLines;
            addLine(frame);
            break;
        case Damage::WrongHeader:
            changed[round % 2] = static_cast<char>(changed.at(round % 2) ^ static_cast<char>(1 + m_random.below(127)));
            addLine(changed);
            ++m_counts.wrongHeaders;
            break;
        case Damage::Truncated:
            addLine(frame.left(truncatedLength(frame, round)));
            ++m_counts.truncatedFrames;
            break;
        case Damage::OtherPlane:
            changed[frame::kPlaneIdPosition] = static_cast<char>(m_options.planeId + 1);
            addLine(changed);
            ++m_counts.otherPlane;
            addLine(frame);
            break;
        case Damage::UnknownCode:
            changed[frame::kFunctionCodePosition]
                = static_cast<char>(kUnknownCodes[static_cast<std::size_t>(round) % kUnknownCodes.size()]);
            addLine(changed);
            ++m_counts.unknownCodes;
            addLine(frame);
            break;
        case Damage::OddDigits: {
            QByteArray line = frameText(frame, m_options.blanks);
            line.chop(1);
            addRaw(line);
            ++m_counts.oddDigits;
            break;
        }
        }
    }

    // Bytes that are no hexadecimal digits, within frames that are whole otherwise.
    void addNulFrame(const QByteArray &frame)
    {
        QByteArray line = frameText(frame, m_options.blanks);
        line.insert(8, '\0');
        addRaw(line);
        line = frameText(frame, m_options.blanks);
        line.insert(12, "\xC2\xB7~");
        addRaw(line);
        m_counts.binaryLines += 2;
    }

    void addBytesThatAreNoText()
    {
        QByteArray line(64, '\0');
        for (char &byte : line) {
            const int value = 128 + m_random.below(128);
            byte = static_cast<char>(value);
        }
        line[20] = '\0';
        addRaw(line);
        ++m_counts.binaryLines;
    }

    void addLongFrame(const QByteArray &frame)
    {
        addLine(frame + QByteArray(kLongestLineBytes, '\x5A'));
        ++m_counts.longLines;
    }

    void addLongText()
    {
        addRaw(QByteArray(kLongTextCharacters, 'x'));
        ++m_counts.longLines;
    }

    const DemoOptions m_options;
    DemoRandom m_random;
    QByteArray m_text;
    QByteArray m_last;
    DamageCounts m_counts;
    int m_samples;
    int m_every = 0;
    int m_number = 0;
    int m_damaged = 0;
};

bool fillDatabase(QSqlDatabase &database, const QVector<DemoTask> &tasks, QString *error)
{
    QSqlQuery query(database);
    // The file is thrown away when anything fails, so nothing need be kept safe on the way.
    for (const char *statement :
         {"PRAGMA journal_mode = OFF", "PRAGMA synchronous = OFF",
          "CREATE TABLE t_fly_task (id INTEGER PRIMARY KEY, name TEXT, ctime INTEGER)",
          "CREATE TABLE t_fly_record (id INTEGER PRIMARY KEY AUTOINCREMENT, task_id INTEGER, frame TEXT)"}) {
        if (!query.exec(QLatin1String(statement)))
            return failed(error, query.lastError().text());
    }
    query.clear();
    if (!database.transaction())
        return failed(error, database.lastError().text());

    QSqlQuery insertTask(database);
    insertTask.prepare(QStringLiteral("INSERT INTO t_fly_task (id, name, ctime) VALUES (?, ?, ?)"));
    QSqlQuery insertFrame(database);
    insertFrame.prepare(QStringLiteral("INSERT INTO t_fly_record (task_id, frame) VALUES (?, ?)"));
    for (const DemoTask &task : tasks) {
        insertTask.bindValue(0, task.id);
        insertTask.bindValue(1, task.name);
        insertTask.bindValue(2, task.created);
        if (!insertTask.exec())
            return failed(error, insertTask.lastError().text());
        bool good = true;
        makeFlight(task.flight, [&](const QByteArray &frame) {
            if (!good)
                return;
            insertFrame.bindValue(0, task.id);
            insertFrame.bindValue(1, QString::fromLatin1(frameText(frame, task.flight.blanks)));
            good = insertFrame.exec();
        });
        if (!good)
            return failed(error, insertFrame.lastError().text());
    }
    if (!database.commit())
        return failed(error, database.lastError().text());
    return true;
}

} // namespace

int DemoOptions::sampleCount() const
{
    const qint64 wanted = samples > 0 ? samples : qint64{minutes} * kSamplesPerMinute;
    return static_cast<int>(std::clamp(wanted, qint64{1}, qint64{kMaxSamples}));
}

void makeFlight(const DemoOptions &options, const FrameSink &sink)
{
    const int samples = options.sampleCount();
    DemoRandom seeds(options.seed);
    const std::uint64_t missionSeed = seeds.bits();
    const std::uint64_t noiseSeed = seeds.bits();
    FlightSimulator simulator(samples, missionSeed);
    FrameWriter writer(options.planeId, noiseSeed);
    const auto give = [&sink](const FrameBytes &bytes) { sink(QByteArray(bytes.data(), bytes.size())); };
    for (int sample = 0; sample < samples; ++sample) {
        const FlightState &state = simulator.next();
        give(writer.heartBeat(state));
        give(writer.attitude(state));
        give(writer.controlStatus(state));
        give(writer.sensor(state));
        give(writer.target(state));
        give(writer.payload(state));
        if (options.backupFrames && sample % kBackupEverySamples == kBackupEverySamples - 1)
            give(writer.backup(state));
    }
}

QByteArray frameText(const QByteArray &frame, bool blanks)
{
    QByteArray text;
    text.reserve(frame.size() * 3);
    appendText(text, frame.constData(), frame.size(), blanks);
    return text;
}

QByteArray makeTextLog(const DemoOptions &options)
{
    QByteArray text;
    makeLines(options, kPiece, [&text](const QByteArray &piece) { text.append(piece); });
    return text;
}

bool writeTextLog(const QString &path, const DemoOptions &options, QString *error)
{
    return writeFile(path, error, [&options](QSaveFile &file) {
        makeLines(options, kPiece, [&file](const QByteArray &piece) { file.write(piece); });
    });
}

QVector<DemoTask> demoTasks(const DemoOptions &flight)
{
    struct Task {
        int id;
        const char *name;
        int minutes; // 0: the flight asked for
    };
    static constexpr std::array kTasks{
        Task{1, "航线巡航与末端攻击", 0},
        Task{3, "弹射起飞检查", 1},
        Task{12, "绕点盘旋标定", 5},
        Task{300, "夜间训练第三百次", 3},
    };
    // Fixed days in the month that the flights' own clocks tell.
    const QDateTime first(QDate(2023, 7, 18), QTime(8, 0), Qt::UTC);
    QVector<DemoTask> tasks;
    for (const Task &task : kTasks) {
        DemoOptions own = flight;
        if (task.minutes > 0) {
            own.minutes = task.minutes;
            own.samples = 0;
            own.seed = flight.seed + static_cast<quint64>(task.id);
        }
        tasks.append({task.id, QString::fromUtf8(task.name), first.addDays(tasks.size()).toMSecsSinceEpoch(), own});
    }
    return tasks;
}

bool writeDatabase(const QString &path, const QVector<DemoTask> &tasks, QString *error)
{
    return replaceDatabase(
        path, [&tasks](QSqlDatabase &database, QString *reason) { return fillDatabase(database, tasks, reason); },
        error);
}

QByteArray makeDamagedLog(const DemoOptions &options, DamageCounts *counts)
{
    return DamagedLog(options).make(counts);
}

bool writeDamagedLog(const QString &path, const DemoOptions &options, QString *error, DamageCounts *counts)
{
    const QByteArray text = makeDamagedLog(options, counts);
    return writeFile(path, error, [&text](QSaveFile &file) { file.write(text); });
}

} // namespace demo
