#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <functional>

/**
 * Recorded flights for demonstrations, tests and benchmarks.
 *
 * The same options give the same bytes on every platform and in every run. A flight is one mission: clock unset until
 * the receiver has a fix, more than ten satellites before the catapult, climb, rounds of way points and orbits, a
 * stand-by leg, and an attack leg (sub-mode 26) that lasts to the end of the log.
 */
namespace demo
{

/** Which flight, and how its text is laid out. */
struct DemoOptions {
    int minutes = 20;
    int samples = 0; // when above 0, this many samples of 200 ms instead of minutes * 300
    quint64 seed = 1;
    quint8 planeId = 1;
    bool blanks = false; // a blank between the bytes of a frame's text
    bool backupFrames = false; // a 0x52 frame every ten seconds

    /** Samples of the flight. Below 300 it is the beginning of a one-minute flight, without an attack leg. */
    int sampleCount() const;
};

/** Longest flight that can be made, in samples: over 50 hours. */
inline constexpr int kMostSamples = 1000000;

/** Frames of each sample, in this order: 0x01, 0x03, 0x02, 0x04, 0x05, 0x41. */
inline constexpr int kFramesPerSample = 6;

using FrameSink = std::function<void(const QByteArray &frame)>;

/**
 * Give every frame of a flight to sink, in order, as bytes and without damage.
 *
 * The order within a sample is one that the decoder's repair leaves alone, so that every series of the flight has
 * sampleCount() samples. About 10 microseconds a sample; nothing is held. Any thread.
 */
void makeFlight(const DemoOptions &options, const FrameSink &sink);

/** A frame as a text log has it: upper-case digits, two a byte, no line end. */
QByteArray frameText(const QByteArray &frame, bool blanks = false);

/** The flight as the bytes of a text log, one frame a line, each ended by LF; about 172 kB a minute. */
QByteArray makeTextLog(const DemoOptions &options);

/** Write makeTextLog(options); the file is replaced only when complete. */
bool writeTextLog(const QString &path, const DemoOptions &options, QString *error = nullptr);

/** A row of the database's task table, with the flight recorded for it. */
struct DemoTask {
    int id = 1;
    QString name;
    qint64 created = 0; // milliseconds since the epoch
    DemoOptions flight;
};

/** A main task 1 of the given flight and three short ones, ids 3, 12 and 300. */
QVector<DemoTask> demoTasks(const DemoOptions &flight);

/**
 * Write a flight database (SQLite): tables t_fly_task (id, name, ctime) and t_fly_record (id, task_id, frame), records
 * in the order of tasks and flights.
 *
 * Replaces the file only when complete. Needs an application object, for Qt's database drivers.
 */
bool writeDatabase(const QString &path, const QVector<DemoTask> &tasks, QString *error = nullptr);

/** How often each kind of damage was done. */
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

/** As makeTextLog, with every kind of damage of DamageCounts spread over the flight by its seed. */
QByteArray makeDamagedLog(const DemoOptions &options, DamageCounts *counts = nullptr);

/** Write makeDamagedLog(options); the file is replaced only when complete. */
bool writeDamagedLog(const QString &path, const DemoOptions &options, QString *error = nullptr,
                     DamageCounts *counts = nullptr);

} // namespace demo
