#include "Arguments.h"

#include "ExportFormats.h"
#include "GroupPeriods.h"
#include "MatWriter.h"

#include <CLI/CLI.hpp>
#include <QThread>
#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <vector>

using namespace ostravel;

namespace
{

constexpr int kMaxJobs = 256;
constexpr std::size_t kHelpColumn = 28; // where the words of an option begin

constexpr char kDescription[] = R"(Converts recorded flights: text logs of hexadecimal frames (.txt) and flight
databases (.db). Folders are searched for both, the folders in them as well.
)";

constexpr char kFormatHelp[] = R"(csv, xlsx, txt, mat, kml, gpx, geojson, or more
than one with commas (csv). The text export (txt)
has the bytes of the program's own: its file
0x52-Backup.txt holds the first equipment
channel, as readers of that file expect. In all
other formats 0x52 is the backup channel.)";

constexpr char kFooter[] = R"(Outputs have the log's name with the suffix of the format, and lie beside the
log or in the FOLDER of -o; what is found in a searched folder keeps its place
below it there. An output takes its name when it is complete, and one that
exists is left alone without --overwrite.

Groups: heartbeat (0x01), control (0x02), attitude (0x03), sensor (0x04),
target (0x05), payload (0x41), difference (0x51), backup (0x52), equipment
(0x53). A group with a period of its own gets a csv table of its own:
flight.0x01.csv beside flight.csv.

Exit status: 0 done, 1 something could not be read or written, or the run was
interrupted; 2 wrong use. The keys of --json are in the manual page.)";

/** What the command line says, before anything is made of it. */
struct Words {
    bool list = false;
    bool check = false;
    std::vector<std::string> formats;
    std::string output;
    std::string jobs;
    std::string plane;
    std::vector<std::string> tasks;
    std::string start;
    std::vector<std::string> periods;
    std::vector<std::string> channels;
    std::vector<std::string> paths;
};

QString textOf(const std::string &text)
{
    return QString::fromStdString(text);
}

/** The parts between commas of all texts. */
QStringList parts(const std::vector<std::string> &texts)
{
    QStringList all;
    for (const std::string &text : texts)
        all += textOf(text).split(QLatin1Char(','));
    return all;
}

/** A whole number, decimal or hexadecimal after 0x, in a range. */
std::optional<int> number(const QString &text, int least, int most)
{
    const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool good = false;
    const int value = hex ? text.mid(2).toInt(&good, 16) : text.toInt(&good, 10);
    return good && value >= least && value <= most ? std::optional(value) : std::nullopt;
}

/** Each reads one option into the arguments. @return why it makes no sense, or an empty text */
///@{
QString takeFormats(const Words &words, Arguments &arguments)
{
    const QVector<const ExportFormat *> known = convertFormats();
    const QStringList names = words.formats.empty() ? QStringList{QStringLiteral("csv")} : parts(words.formats);
    for (const QString &name : names) {
        const auto found = std::find_if(known.cbegin(), known.cend(), [&name](const ExportFormat *format) {
            return name == QLatin1String(format->name);
        });
        if (found == known.cend())
            return QStringLiteral("there is no format \"%1\": csv, xlsx, txt, mat, kml, gpx or geojson").arg(name);
        if (!arguments.formats.contains(*found))
            arguments.formats.append(*found);
    }
    return {};
}

QString takeNumbers(const Words &words, Arguments &arguments)
{
    constexpr int kMaxByte = std::numeric_limits<std::uint8_t>::max();
    if (!words.jobs.empty()) {
        const auto jobs = number(textOf(words.jobs), 1, kMaxJobs);
        if (!jobs)
            return QStringLiteral("--jobs takes a whole number from 1 to %1").arg(kMaxJobs);
        arguments.jobs = *jobs;
    }
    if (!words.plane.empty()) {
        const auto plane = number(textOf(words.plane), 0, kMaxByte);
        if (!plane)
            return QStringLiteral("--plane takes a whole number from 0 to 255");
        arguments.read.planeId = static_cast<std::uint8_t>(*plane);
    }
    const QStringList tasks = parts(words.tasks);
    if (tasks == QStringList{QStringLiteral("all")})
        return {};
    for (const QString &text : tasks) {
        const auto task = number(text, 0, kMaxByte);
        if (!task)
            return QStringLiteral("--tasks takes whole numbers from 0 to 255 with commas, or all");
        arguments.read.tasks.append(static_cast<std::uint8_t>(*task));
    }
    return {};
}

QString takeTimes(const Words &words, Arguments &arguments)
{
    if (!words.start.empty()) {
        const QDateTime start = QDateTime::fromString(textOf(words.start).replace(QLatin1Char('T'), QLatin1Char(' ')),
                                                      QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        if (!start.isValid())
            return QStringLiteral("--start takes a local time such as \"2023-07-18 09:00:00\"");
        arguments.read.startTime = start;
    }
    for (const QString &text : parts(words.periods)) {
        const int sign = text.indexOf(QLatin1Char('='));
        const auto code = frame::findGroup(text.left(sign));
        const auto period = number(text.mid(sign + 1), 1, kMaxPeriodMs);
        if (sign < 0 || !code || !period)
            return QStringLiteral("--period takes a group and milliseconds from 1 to %1, such as 0x01=1000")
                .arg(kMaxPeriodMs);
        if (!setGroupPeriod(arguments.read.periodsMs, *code, *period))
            return QStringLiteral("%1 has no period of its own: 0x51 and 0x53 follow 0x02, 0x52 keeps %2 ms")
                .arg(frame::codeText(*code))
                .arg(kDefaultPeriodMs);
    }
    return {};
}

QString unknownChannel(const QString &name)
{
    const QStringList near = frame::channelsLike(name);
    return QStringLiteral("there is no channel \"%1\"").arg(name)
        + (near.isEmpty() ? QStringLiteral("; --list shows them")
                          : QStringLiteral("; did you mean ") + near.join(QStringLiteral(", ")) + QLatin1Char('?'));
}

QString takeChannels(const Words &words, Arguments &arguments)
{
    for (const QString &name : parts(words.channels)) {
        QVector<frame::ChannelId> chosen;
        if (name.startsWith(QLatin1Char('@'))) {
            const auto code = frame::findGroup(name.mid(1));
            if (!code)
                return QStringLiteral("there is no group \"%1\"; --list shows them").arg(name);
            for (const frame::ChannelId &channel : frame::allChannels()) {
                if (channel.code == *code)
                    chosen.append(channel);
            }
        } else if (const auto channel = frame::findChannel(name)) {
            chosen.append(*channel);
        } else {
            return unknownChannel(name);
        }
        for (const frame::ChannelId &channel : qAsConst(chosen)) {
            if (!arguments.channels.contains(channel))
                arguments.channels.append(channel);
        }
    }
    return {};
}
///@}

/** What makes no sense together. */
QString findContradiction(const Words &words, Arguments &arguments)
{
    const bool converts = !words.list && !words.check;
    if (words.list && words.check)
        return QStringLiteral("--list and --check are two things: give one");
    if (!converts
        && (!words.formats.empty() || !words.output.empty() || arguments.overwrite || arguments.labels
            || !words.channels.empty()))
        return QStringLiteral("--list and --check write nothing: -f, -o, --overwrite, --channels and --labels have "
                              "no meaning there");
    if (words.paths.empty() && !words.list)
        return QStringLiteral("no log is given");
    const auto takesChannels = [](const ExportFormat *format) { return format->takesChannels; };
    if (!words.channels.empty() && std::none_of(arguments.formats.begin(), arguments.formats.end(), takesChannels))
        return QStringLiteral("--channels is for csv and mat: the other formats have all channels, or the track");
    const auto isCsv = [](const ExportFormat *format) { return qstrcmp(format->name, "csv") == 0; };
    if (arguments.labels && std::none_of(arguments.formats.begin(), arguments.formats.end(), isCsv))
        return QStringLiteral("--labels is for csv");
    return {};
}

/** Adds an option that may be given more than once and takes one word each time. */
void addList(CLI::App &app, const char *name, std::vector<std::string> &target, const char *text, const char *help)
{
    app.add_option(name, target, help)->option_text(text)->allow_extra_args(false);
}

void addOptions(CLI::App &app, Words &words, Arguments &arguments)
{
    app.set_help_flag("-h,--help", "Show this help and exit.");
    app.set_version_flag("--version", "ostravel-convert " OSTRAVEL_VERSION, "Show the version and exit.");
    app.add_option("LOG", words.paths, "Logs, flight databases, and folders of them.")->option_text("...");
    app.add_flag("--list", words.list,
                 "Show groups and channels with names, labels\nand units, and the tasks of databases.");
    app.add_flag("--check", words.check, "Read and report, write nothing.");
    app.add_flag("--json", arguments.json, "Report as JSON, one object a line.");
    addList(app, "-f,--format", words.formats, "NAME,...", kFormatHelp);
    app.add_option("-o,--output", words.output, "Write below this folder, which is made.")->option_text("FOLDER");
    app.add_flag("--overwrite", arguments.overwrite, "Replace outputs that exist.");
    app.add_option("-j,--jobs", words.jobs,
                   "Flights at a time (one a processor). Each is\nheld in memory, some 40 MB for two hours.")
        ->option_text("N");
    app.add_option("--plane", words.plane, "Frames of this plane only, 0 to 255.")->option_text("ID");
    addList(app, "--tasks", words.tasks, "N,...|all",
            "Of a database: these tasks as one flight, in\nthis order (all).");
    app.add_option("--start", words.start,
                   "Time of the first sample, such as\n\"2023-07-18 09:00:00\", instead of the\naircraft's clock.")
        ->option_text("TIME");
    addList(app, "--period", words.periods, "0xNN=MS,...",
            "Milliseconds between the samples of a group\n(200). 0x51 and 0x53 follow 0x02; 0x52 keeps\n200.");
    addList(app, "--channels", words.channels, "NAME|@GROUP,...",
            "Of csv and mat: only these, by name, label or\ngroup, such as PGS_Roll,横滚,@target.");
    app.add_flag("--labels", arguments.labels, "Of csv: the Chinese labels as heads.");
    app.footer(kFooter);
    app.get_formatter()->column_width(kHelpColumn);
    app.allow_windows_style_options(false);
}

/** Makes arguments of the words. @return why they make no sense, or an empty text */
QString take(const Words &words, Arguments &arguments)
{
    arguments.action = words.list ? Arguments::Action::List
        : words.check             ? Arguments::Action::Check
                                  : Arguments::Action::Convert;
    arguments.outputFolder = textOf(words.output);
    for (const std::string &path : words.paths)
        arguments.paths.append(textOf(path));
    for (const auto takeSome : {&takeFormats, &takeNumbers, &takeTimes, &takeChannels, &findContradiction}) {
        QString reason = takeSome(words, arguments);
        if (!reason.isEmpty())
            return reason;
    }
    return {};
}

EarlyEnd wrongUse(const QString &reason)
{
    return {status::kWrongUse, QStringLiteral("ostravel-convert: %1\nTry ostravel-convert --help.\n").arg(reason)};
}

} // namespace

QVector<const ExportFormat *> convertFormats()
{
    QVector<const ExportFormat *> formats;
    for (const char *name : {"csv", "xlsx", "txt"})
        formats.append(findExportFormat(QLatin1String(name)));
    formats.append(&matFormat());
    for (const char *name : {"kml", "gpx", "geojson"})
        formats.append(findExportFormat(QLatin1String(name)));
    return formats;
}

std::variant<Arguments, EarlyEnd> parseArguments(const QStringList &arguments)
{
    Arguments result;
    result.jobs = std::max(1, std::min(QThread::idealThreadCount(), kMaxJobs));
    Words words;
    CLI::App app(kDescription, "ostravel-convert");
    try {
        addOptions(app, words, result);
        std::vector<std::string> reversed; // as the library takes them from a caller
        for (const QString &argument : arguments)
            reversed.insert(reversed.begin(), argument.toStdString());
        app.parse(reversed);
    } catch (const CLI::CallForHelp &) {
        return EarlyEnd{status::kDone, textOf(app.help())};
    } catch (const CLI::CallForVersion &version) {
        return EarlyEnd{status::kDone, textOf(version.what()) + QLatin1Char('\n')};
    } catch (const CLI::Error &error) {
        return wrongUse(textOf(error.what()));
    }
    const QString reason = take(words, result);
    if (!reason.isEmpty())
        return wrongUse(reason);
    return result;
}
