#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <functional>

/**
 * Recorded flights for demonstrations, tests and benchmarks.
 *
 * The same options give the same bytes on every platform and in every run. A flight is one mission. The clock is unset
 * until the receiver has a fix; there are more than ten satellites before the launch by catapult. Then follow a climb,
 * rounds of way points and orbits, a stand-by leg, and an attack leg (sub-mode 26) until the end of the log.
 */
namespace demo
{

/** Which flight, and how its text is laid out. */
struct DemoOptions {
    int minutes = 20;
    int samples = 0; // Number of samples of 200 ms; replaces minutes if greater than 0.
    quint64 seed = 1;
    quint8 planeId = 1;
    bool blanks = false; // A space between the bytes of a frame.
    bool backupFrames = false; // A 0x52 frame every ten seconds.

    /** Number of samples. Fewer than 300 samples are the start of a one-minute flight, without an attack leg. */
    int sampleCount() const;
};

/** Maximum length of a flight in samples: over 50 hours. */
inline constexpr int kMaxSamples = 1000000;

/** Number of frames of each sample: 0x01, 0x03, 0x02, 0x04, 0x05, 0x41, in this order. */
inline constexpr int kFramesPerSample = 6;

using FrameSink = std::function<void(const QByteArray &frame)>;

/**
 * Gives every frame of a flight to sink, in order, as undamaged bytes.
 *
 * The decoder's repair does not change series whose frames arrive in this order, so that every series gets
 * sampleCount() samples. Takes about 10 microseconds for a sample and keeps nothing in memory. Any thread.
 */
void makeFlight(const DemoOptions &options, const FrameSink &sink);

/** A frame as in a text log: two upper-case hexadecimal digits for each byte, no line end. */
QByteArray frameText(const QByteArray &frame, bool blanks = false);

/** The flight as a text log: one frame in each line, line ends LF. About 172 kB for a minute of flight. */
QByteArray makeTextLog(const DemoOptions &options);

/** Writes makeTextLog(options). Replaces the file only when complete. */
bool writeTextLog(const QString &path, const DemoOptions &options, QString *error = nullptr);

/** A row of the task table, with the flight that is recorded for it. */
struct DemoTask {
    int id = 1;
    QString name;
    qint64 created = 0; // milliseconds since the epoch
    DemoOptions flight;
};

/** A main task 1 of the given flight and three short ones, ids 3, 12 and 300. */
QVector<DemoTask> demoTasks(const DemoOptions &flight);

/**
 * Writes a flight database (SQLite): tables t_fly_task (id, name, ctime) and t_fly_record (id, task_id, frame), records
 * in the order of tasks and flights.
 *
 * Replaces the file only when complete. Needs an application object, for Qt's database drivers.
 */
bool writeDatabase(const QString &path, const QVector<DemoTask> &tasks, QString *error = nullptr);

/** How often each kind of damage occurs. */
struct DamageCounts {
    int emptyLines = 0; // added
    int textLines = 0; // added, one of them with Chinese characters
    int otherPlane = 0; // added: good frames of the next plane id
    int unknownCodes = 0; // added: good headers with codes that no table has, and the undecoded 0x51 and 0x53
    int wrongHeaders = 0; // a frame's first or second byte changed
    int truncatedFrames = 0; // a frame cut between its plane id and its end
    int oddDigits = 0; // a frame that lost its last digit
    int missingFrames = 0; // left out: stretches of 0x05, 0x02, 0x03 and 0x04
    int longLines = 0; // a good frame with 300,000 digits behind it, and one line of 100,000 text characters
    int binaryLines = 0; // good frames with NUL and other bytes that are no digits; line of bytes that are no text
    int cutLastLine = 0; // the last line, half a frame without a line end
};

/** Like makeTextLog(), with every kind of damage of DamageCounts. The seed of the flight chooses the places. */
QByteArray makeDamagedLog(const DemoOptions &options, DamageCounts *counts = nullptr);

/** Writes makeDamagedLog(options). Replaces the file only when complete. */
bool writeDamagedLog(const QString &path, const DemoOptions &options, QString *error = nullptr,
                     DamageCounts *counts = nullptr);

} // namespace demo
