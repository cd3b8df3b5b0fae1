#include "DemoFlight.h"
#include "DemoRoute.h"
#include "DemoTiles.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <optional>

namespace
{

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;
constexpr int kMaxMinutes = demo::kMaxSamples / 300;

/** What the command line asks for. */
struct Request {
    QString kind;
    QString path;
    demo::DemoOptions flight;
    demo::RouteOptions route;
};

struct Kind {
    const char *name;
    bool (*write)(const Request &request, QString *error);
};

constexpr Kind kKinds[] = {
    {"log",
     [](const Request &request, QString *error) { return demo::writeTextLog(request.path, request.flight, error); }},
    {"db",
     [](const Request &request, QString *error) {
         return demo::writeDatabase(request.path, demo::demoTasks(request.flight), error);
     }},
    {"damaged",
     [](const Request &request, QString *error) { return demo::writeDamagedLog(request.path, request.flight, error); }},
    {"route",
     [](const Request &request, QString *error) { return demo::writeRoute(request.path, request.route, error); }},
    {"tiles", [](const Request &request, QString *error) { return demo::writeTiles(request.path, error); }},
};

constexpr const char *kDescription
    = "Makes a recorded flight for demonstrations: the same options give the same file.\n\n"
      "  log      text log, one hexadecimal frame a line\n"
      "  db       flight database (SQLite) with four tasks; the flight asked for is task 1\n"
      "  damaged  text log with every kind of damage\n"
      "  route    planned route (JSON) for the route converter\n"
      "  tiles    map tiles (MBTiles) of invented ground around the flights; takes no options\n\n"
      "Exit codes: 0 written, 1 could not be written, 2 wrong use.";

void say(std::FILE *stream, const QString &text)
{
    std::fputs(qUtf8Printable(text), stream);
}

const Kind *findKind(const QString &name)
{
    for (const Kind &kind : kKinds) {
        if (name == QLatin1String(kind.name))
            return &kind;
    }
    return nullptr;
}

/** The command line of the program. Its check functions give the reason why it is wrong, or an empty text. */
class CommandLine
{
public:
    CommandLine();

    QString parse(const QStringList &arguments);
    bool asksForHelp() const { return m_parser.isSet(QStringLiteral("help")); }
    QString helpText() const { return m_parser.helpText(); }
    /** To be called after parse(). */
    QString read(Request *request) const;

private:
    template <typename Number>
    QString readNumber(const char *name, quint64 min, quint64 max, Number *value) const;
    QString readFile(Request *request) const;
    QString readLength(demo::DemoOptions *options) const;
    bool isSet(const char *name) const { return m_parser.isSet(QLatin1String(name)); }

    QCommandLineParser m_parser;
};

CommandLine::CommandLine()
{
    m_parser.setApplicationDescription(QLatin1String(kDescription));
    m_parser.addPositionalArgument(QStringLiteral("kind"), QStringLiteral("log, db, damaged, route or tiles"),
                                   QStringLiteral("log|db|damaged|route|tiles"));
    m_parser.addPositionalArgument(QStringLiteral("out"), QStringLiteral("the file to write; an old one is replaced"),
                                   QStringLiteral("OUT"));
    const QString number = QStringLiteral("N");
    m_parser.addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")},
        {QStringLiteral("minutes"), QStringLiteral("Length of the flight, 1 to %1 (20).").arg(kMaxMinutes), number},
        {QStringLiteral("samples"),
         QStringLiteral("Length in samples of 200 ms, 1 to %1, instead of minutes.").arg(demo::kMaxSamples), number},
        {QStringLiteral("seed"), QStringLiteral("Another seed is another flight (1)."), number},
        {QStringLiteral("plane"), QStringLiteral("Plane id, 0 to 255 (1)."), number},
        {QStringLiteral("waypoints"), QStringLiteral("Length of a route, 0 to %1 (60).").arg(demo::kMaxWaypoints),
         number},
        {QStringLiteral("blanks"), QStringLiteral("Put a blank between the bytes of a frame.")},
        {QStringLiteral("backup"), QStringLiteral("Add a 0x52 frame every ten seconds of flight.")},
    });
}

QString CommandLine::parse(const QStringList &arguments)
{
    return m_parser.parse(arguments) ? QString() : m_parser.errorText();
}

QString CommandLine::read(Request *request) const
{
    for (const QString &reason :
         {readFile(request), readLength(&request->flight), readNumber("seed", 0, ~quint64{0}, &request->flight.seed),
          readNumber("plane", 0, 255, &request->flight.planeId),
          readNumber("waypoints", 0, demo::kMaxWaypoints, &request->route.waypoints)}) {
        if (!reason.isEmpty())
            return reason;
    }
    request->route.seed = request->flight.seed;
    request->flight.blanks = isSet("blanks");
    request->flight.backupFrames = isSet("backup");
    return {};
}

/** Reads the option's whole number, which stays as it is without the option. */
template <typename Number>
QString CommandLine::readNumber(const char *name, quint64 min, quint64 max, Number *value) const
{
    if (!isSet(name))
        return {};
    bool isNumber = false;
    const quint64 number = m_parser.value(QLatin1String(name)).toULongLong(&isNumber);
    if (isNumber && number >= min && number <= max) {
        *value = static_cast<Number>(number);
        return {};
    }
    const QString text = QStringLiteral("--%1 takes a whole number from %2").arg(QLatin1String(name)).arg(min);
    return max == ~quint64{0} ? text : text + QStringLiteral(" to %1").arg(max);
}

QString CommandLine::readFile(Request *request) const
{
    const QStringList arguments = m_parser.positionalArguments();
    if (arguments.size() != 2)
        return QStringLiteral("the kind (log, db, damaged, route or tiles) and one file are needed");
    request->kind = arguments.at(0);
    request->path = arguments.at(1);
    if (!findKind(request->kind))
        return QStringLiteral("unknown kind %1: log, db, damaged, route or tiles").arg(request->kind);
    return request->path.isEmpty() ? QStringLiteral("the file has no name") : QString();
}

QString CommandLine::readLength(demo::DemoOptions *options) const
{
    if (isSet("minutes") && isSet("samples"))
        return QStringLiteral("--minutes and --samples are the same thing: give one");
    const QString reason = readNumber("minutes", 1, kMaxMinutes, &options->minutes);
    return reason.isEmpty() ? readNumber("samples", 1, demo::kMaxSamples, &options->samples) : reason;
}

int wrongUse(const QString &reason)
{
    say(stderr, QStringLiteral("ostravel-demo: %1\nTry ostravel-demo --help.\n").arg(reason));
    return kWrongUse;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    CommandLine line;
    if (const QString reason = line.parse(QCoreApplication::arguments()); !reason.isEmpty())
        return wrongUse(reason);
    if (line.asksForHelp()) {
        say(stdout, line.helpText());
        return 0;
    }
    Request request;
    if (const QString reason = line.read(&request); !reason.isEmpty())
        return wrongUse(reason);
    QString error;
    if (findKind(request.kind)->write(request, &error))
        return 0;
    say(stderr, QStringLiteral("ostravel-demo: %1\n").arg(error));
    return kFailed;
}
