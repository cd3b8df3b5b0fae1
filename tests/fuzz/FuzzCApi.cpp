// Calls the functions of the C interface in an order and with arguments that the input chooses: options inside and
// outside their ranges, null pointers, texts that are not UTF-8, and files that become shorter. A flight must equal the
// core's and must not change until it is freed. An error must have a code and one sentence. An export must be valid in
// its format and must leave no other file behind.

#include "CApiArguments.h"
#include "DemoFlight.h"
#include "ExportedFiles.h"
#include "FuzzTarget.h"
#include "ReadFlight.h"
#include "WorkbookFiles.h"
#include "ostravel.h"

#include <QDir>
#include <QTemporaryDir>

#include <array>
#include <climits>
#include <cstring>
#include <utility>
#include <vector>

namespace
{

constexpr int kFlights = 3;
constexpr int kLists = 2;

/** Reads every byte that a flight gives. @return a number that changes with them */
std::size_t digest(const ostravel_flight *flight)
{
    std::size_t sum = 0;
    const auto add = [&sum](const double *values, std::size_t length) {
        constexpr std::size_t kFactor = 1099511628211U;
        require((values != nullptr) || length == 0);
        for (std::size_t i = 0; i < length; ++i) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, values + i, sizeof bits);
            sum = (sum ^ bits) * kFactor;
        }
    };
    for (int channel = 0; channel < ostravel_channel_count(); ++channel) {
        std::size_t length = 0;
        const double *const values = ostravel_samples(flight, channel, &length);
        require((values == nullptr) == (length == 0));
        add(values, length);
    }
    for (const int kind : {OSTRAVEL_WHOLE_TRACK, OSTRAVEL_ATTACK_TRACK}) {
        ostravel_track track{};
        require(ostravel_flight_track(flight, kind, &track) == OSTRAVEL_OK);
        add(track.east, track.length);
        add(track.north, track.length);
        add(track.up, track.length);
    }
    return sum;
}

/** The flight must be the one that the core reads. */
void compare(const ostravel_flight *handle, const ostravel::Flight &flight)
{
    for (int channel = 0; channel < ostravel_channel_count(); ++channel) {
        ostravel_channel_info info{};
        require(ostravel_channel(channel, &info) == OSTRAVEL_OK);
        const auto code = static_cast<std::uint8_t>(info.function_code);
        const ostravel::Series &expected = flight.samples(code, info.row);
        std::size_t length = 0;
        const double *const values = ostravel_samples(handle, channel, &length);
        require(length == static_cast<std::size_t>(expected.size()));
        require(length == 0 || std::memcmp(values, expected.constData(), length * sizeof(double)) == 0);
        require(ostravel_period_ms(handle, code) == flight.periodMs(code));
    }
    ostravel_report report{};
    ostravel_flight_report(handle, &report);
    require(report.lines == flight.counts().lines && report.bad_headers == flight.counts().badHeaders);
    require(report.other_planes == flight.counts().otherPlanes && report.gaps_filled == flight.counts().gapsFilled);
    require(report.bad_headers + report.other_planes + report.unknown_codes <= report.lines);
    require((report.broken_off == OSTRAVEL_OK) == (report.broken_off_text[0] == '\0'));
    require((report.broken_off == OSTRAVEL_BROKEN_OFF) == flight.brokenOff().has_value());
}

/** A series of calls; owns the handles. */
class Session
{
public:
    Session(const std::uint8_t *data, std::size_t size, QString folder)
        : m_choices(data, size)
        , m_folder(std::move(folder))
    {
        writeSource();
    }
    ~Session()
    {
        for (Slot &slot : m_flights)
            release(slot);
        for (ostravel_task_list *list : m_lists)
            ostravel_free_tasks(list);
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    void run()
    {
        constexpr int kMaxCalls = 40;
        for (int i = 0; i < kMaxCalls && !m_choices.ended(); ++i)
            call();
    }

private:
    struct Slot {
        ostravel_flight *flight = nullptr;
        std::size_t digest = 0;
    };

    void call();
    void writeSource();
    Text path();
    Text exportPath(const QByteArray &format);
    void read();
    void checkRead(const Text &name, const Options &options, const Error &error, const ostravel_flight *flight);
    void look();
    void channel();
    void exportFlight();
    void tasks();
    void release(Slot &slot);

    Slot &slot() { return m_flights[static_cast<std::size_t>(m_choices.below(kFlights))]; }
    QString file(const char *name) const { return m_folder + QLatin1Char('/') + QString::fromUtf8(name); }

    Choices m_choices;
    QString m_folder;
    std::array<Slot, kFlights> m_flights;
    std::array<ostravel_task_list *, kLists> m_lists{};
};

void Session::call()
{
    switch (m_choices.below(12)) {
    case 0:
        return writeSource();
    case 1:
        return channel();
    case 2:
    case 3:
    case 4:
        return read();
    case 5:
    case 6:
        return look();
    case 7:
        return tasks();
    case 8:
        return release(slot());
    default:
        return exportFlight();
    }
}

const QByteArray &demoLog()
{
    static const QByteArray log = [] {
        demo::DemoOptions options;
        options.samples = 40;
        options.backupFrames = true;
        return demo::makeTextLog(options);
    }();
    return log;
}

const QByteArray &demoDatabase()
{
    static const QByteArray bytes = [] {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("made.db"));
        demo::DemoOptions options;
        options.samples = 3;
        require(
            demo::writeDatabase(path, {{1, QStringLiteral("一"), 1'700'000'000'000, options}, {300, {}, -1, options}}));
        return fileContent(path);
    }();
    return bytes;
}

/** Writes the log or the database: bytes of the input, or a good file that is damaged in places and cut. */
void Session::writeSource()
{
    const int kind = m_choices.below(8);
    const bool isLog = kind < 5;
    QByteArray bytes = isLog ? demoLog() : demoDatabase();
    if (kind == 0 || kind == 7) {
        bytes = m_choices.bytes(m_choices.word() % 2048);
    } else {
        const int changes = m_choices.below(6);
        for (int i = 0; i < changes; ++i)
            bytes[m_choices.word() % bytes.size()] = static_cast<char>(m_choices.next());
        if (m_choices.below(3) == 1)
            bytes.truncate(m_choices.word() % (bytes.size() + 1));
        if (isLog && m_choices.below(16) == 1)
            bytes = bytes.repeated(20); // more than one block of a read
    }
    require(writeFile(file(isLog ? "flight.txt" : "flight.db"), bytes));
}

Text Session::path()
{
    const int kind = m_choices.below(32);
    const QByteArray folder = m_folder.toUtf8() + '/';
    if (kind < 16)
        return {folder + "flight.txt"};
    if (kind < 24)
        return {folder + "flight.db"};
    switch (kind) {
    case 24:
        return {{}, true};
    case 25:
        return {{}};
    case 26:
        return {m_folder.toUtf8()};
    case 27:
        return {folder + "missing.db"};
    case 28:
        return {folder + QByteArray(m_choices.next() * 16, 'n') + ".txt"};
    default:
        return {folder + m_choices.bytes(m_choices.below(12)).replace('/', '_').replace('\0', '_') + ".txt"};
    }
}

void Session::read()
{
    const Text name = path();
    Options options;
    chooseOptions(m_choices, options, QString::fromUtf8(name.bytes));
    Error error(m_choices);
    Slot &slot = this->slot();
    release(slot);
    slot.flight = ostravel_read(name.get(), options.areGiven ? &options.c : nullptr, error.get());
    error.check();
    checkRead(name, options, error, slot.flight);
    if (slot.flight != nullptr)
        slot.digest = digest(slot.flight);
}

void Session::checkRead(const Text &name, const Options &options, const Error &error, const ostravel_flight *flight)
{
    const bool isBad = name.isNull || !name.isUtf8() || (options.areGiven && !options.areValid);
    const int code = error.error.code;
    if (error.isAsked) {
        require((flight != nullptr) == (code == OSTRAVEL_OK));
        require(!isBad || code == OSTRAVEL_BAD_ARGUMENT);
        require((code == OSTRAVEL_CANCELLED) == options.progress.cancelled);
    }
    require(flight == nullptr || !isBad);
    if (flight == nullptr || !options.progress.shrinks.isEmpty())
        return;
    std::int64_t start = 0;
    const bool hasStart = ostravel_start(flight, &start) == 1;
    if (options.areGiven && options.c.has_start != 0)
        require(hasStart && start == options.c.start_seconds);
    const auto expected = ostravel::readFlight(QString::fromUtf8(name.bytes), options.core);
    require(std::holds_alternative<ostravel::Flight>(expected));
    compare(flight, std::get<ostravel::Flight>(expected));
}

/** The functions that read a flight, with null pointers among the arguments. */
void Session::look()
{
    const ostravel_flight *const flight = slot().flight;
    const int nulls = m_choices.next();
    const int kind = m_choices.next() - 2;
    std::size_t length = 1;
    const double *const values = ostravel_samples(flight, kind, (nulls & 1) != 0 ? nullptr : &length);
    require((nulls & 1) != 0 || (values == nullptr) == (length == 0));
    require(ostravel_period_ms(flight, kind * m_choices.next()) >= 1);
    std::int64_t seconds = 0;
    const int hasStart = ostravel_start(flight, (nulls & 2) != 0 ? nullptr : &seconds);
    require(hasStart == 0 || (flight != nullptr && (nulls & 2) == 0));
    ostravel_origin origin{};
    ostravel_flight_origin(flight, (nulls & 4) != 0 ? nullptr : &origin);
    require(origin.scale >= 0.0 && origin.scale <= 1.0);
    ostravel_track track{};
    const int code = ostravel_flight_track(flight, kind, (nulls & 8) != 0 ? nullptr : &track);
    const bool isGood = flight != nullptr && (nulls & 8) == 0 && (kind == 0 || kind == 1);
    require(code == (isGood ? OSTRAVEL_OK : OSTRAVEL_BAD_ARGUMENT));
    ostravel_report report{};
    ostravel_flight_report(flight, (nulls & 16) != 0 ? nullptr : &report);
}

void Session::channel()
{
    constexpr std::array<int, 4> kOdd{INT_MIN, INT_MAX, -1, 143};
    const int kind = m_choices.next();
    const int channel = kind >= 250 ? kOdd[static_cast<std::size_t>(kind % 4)] : kind % 150;
    ostravel_channel_info info{};
    const bool isGood = channel >= 0 && channel < ostravel_channel_count();
    require(ostravel_channel(channel, &info) == (isGood ? OSTRAVEL_OK : OSTRAVEL_BAD_ARGUMENT));
    require(ostravel_channel(channel, nullptr) == OSTRAVEL_BAD_ARGUMENT);
    if (!isGood)
        return;
    ostravel_channel_info again{};
    require(ostravel_channel(channel, &again) == OSTRAVEL_OK);
    require(info.name == again.name && info.label == again.label && info.unit == again.unit
            && info.group == again.group);
    require(info.name[0] != '\0' && info.label[0] != '\0' && info.group[0] != '\0');
    ostravel_read_defaults(nullptr);
    require(ostravel_interface() == OSTRAVEL_INTERFACE && ostravel_version()[0] != '\0');
}

Text Session::exportPath(const QByteArray &format)
{
    const int kind = m_choices.below(16);
    const QByteArray folder = m_folder.toUtf8() + '/';
    if (kind < 10)
        return {folder + "out." + format};
    switch (kind) {
    case 10:
        return {{}, true};
    case 11:
        return {m_folder.toUtf8() + "/missing/out." + format};
    case 12:
        return {folder + QByteArray(m_choices.next() * 2, 'n')};
    case 13:
        return {folder + "out"};
    default:
        return {folder + "x" + m_choices.bytes(m_choices.below(12)).replace('/', '_').replace('\0', '_')};
    }
}

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

/** Whether an export may make a file of this name: its target and what the header of the format names beside it. */
bool belongsTo(const QString &entry, const QByteArray &format, const QString &path)
{
    const QFileInfo target(path);
    return entry == target.fileName() || (format == "csv" && entry.startsWith(target.completeBaseName()))
        || (format == "xlsx" && entry == target.fileName() + QLatin1String(".old"))
        || (format == "txt" && path.endsWith(QLatin1Char('/')) && entry.endsWith(QLatin1String(".txt")));
}

void checkExport(const ostravel_flight *flight, const QByteArray &format, const QString &path)
{
    requireValidExport(format, path);
    std::int64_t start = 0;
    const QList<QByteArray> rows = fileContent(path).split('\n');
    // A time in the first column exactly when the flight has one.
    if (format == "csv" && rows.size() > 2)
        require(rows[1].startsWith(',') == (ostravel_start(flight, &start) == 0));
}

void Session::exportFlight()
{
    constexpr std::array<const char *, 7> kFormats{"csv", "txt", "xlsx", "kml", "gpx", "geojson", "mat"};
    const int kind = m_choices.below(32);
    Text format{kind < 28 ? QByteArray(kFormats[static_cast<std::size_t>(kind % 7)])
                          : '?' + m_choices.bytes(kind).replace('\0', 'x'),
                kind == 31};
    const bool isKnown = kind < 28;
    const Text target = exportPath(isKnown ? format.bytes : QByteArray("odd"));
    const ostravel_flight *const flight = slot().flight;
    Error error(m_choices);
    const QStringList before = entries(m_folder);
    const QString path = QString::fromUtf8(target.bytes);
    const QByteArray content = target.isNull ? QByteArray() : fileContent(path);
    const int code = ostravel_export(flight, format.get(), target.get(), m_choices.next(), error.get());
    error.check();
    require(!error.isAsked || error.error.code == code);
    const bool isBad = flight == nullptr || format.isNull || target.isNull || !target.isUtf8();
    if (isBad || !isKnown)
        require(code == (isBad ? OSTRAVEL_BAD_ARGUMENT : OSTRAVEL_UNKNOWN_FORMAT));
    else
        require(code == OSTRAVEL_OK || code == OSTRAVEL_CANNOT_WRITE
                || (format.bytes == "mat" && code == OSTRAVEL_UNKNOWN_FORMAT));
    if (code == OSTRAVEL_OK)
        checkExport(flight, format.bytes, path);
    else if (!target.isNull)
        require(fileContent(path) == content);
    for (const QString &entry : entries(m_folder)) {
        require(before.contains(entry) || (code == OSTRAVEL_OK && belongsTo(entry, format.bytes, path)));
    }
}

void Session::tasks()
{
    const auto slot = static_cast<std::size_t>(m_choices.below(kLists));
    ostravel_free_tasks(m_lists[slot]);
    const Text name = path();
    Error error(m_choices);
    m_lists[slot] = ostravel_tasks(name.get(), error.get());
    error.check();
    const ostravel_task_list *const list = m_lists[slot];
    require(!error.isAsked || (list != nullptr) == (error.error.code == OSTRAVEL_OK));
    require(list == nullptr || (!name.isNull && name.isUtf8()));
    ostravel_task_info info{};
    std::size_t count = 0;
    while (ostravel_task(list, count, &info) == OSTRAVEL_OK) {
        require(info.id >= 0 && info.id <= 255);
        require(QString::fromUtf8(info.name).toUtf8() == QByteArray(info.name));
        ++count;
    }
    require(list != nullptr || count == 0);
    require(ostravel_task(list, SIZE_MAX, &info) == OSTRAVEL_BAD_ARGUMENT);
    require(ostravel_task(list, 0, nullptr) == OSTRAVEL_BAD_ARGUMENT);
}

void Session::release(Slot &slot)
{
    // Whatever happened to its file, a flight in memory stays the same.
    require(slot.flight == nullptr || digest(slot.flight) == slot.digest);
    ostravel_free(slot.flight);
    slot = {};
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // A zone with summer time. The times of a flight are those of the aircraft's clock, whatever the zone.
    static const bool isZoneSet = qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    require(isZoneSet);
    static const QTemporaryDir folder;
    const QString work = folder.filePath(QStringLiteral("work"));
    require(QDir().mkpath(work));
    Session(data, size, work).run();
    require(QDir(work).removeRecursively());
    return 0;
}
