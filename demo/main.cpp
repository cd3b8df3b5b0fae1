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

void say(std::FILE *stream, const QString &text)
{
    std::fputs(qUtf8Printable(text), stream);
}

int wrongUse(const QString &message)
{
    say(stderr, QStringLiteral("ostravel-demo: %1\nTry ostravel-demo --help.\n").arg(message));
    return kWrongUse;
}

/** The option's whole number, or nothing when it is none or out of range. */
std::optional<quint64> number(const QCommandLineParser &parser, const QString &option, quint64 least, quint64 most)
{
    bool good = false;
    const quint64 value = parser.value(option).toULongLong(&good);
    if (!good || value < least || value > most)
        return std::nullopt;
    return value;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Makes a recorded flight for demonstrations: the same options give the same file.\n\n"
                       "  log      text log, one hexadecimal frame a line\n"
                       "  db       flight database (SQLite) with four tasks; the flight asked for is task 1\n"
                       "  damaged  text log with every kind of damage\n"
                       "  route    planned route (JSON) for the route converter\n"
                       "  tiles    map tiles (MBTiles) of invented ground around the flights; takes no options\n\n"
                       "Exit codes: 0 written, 1 could not be written, 2 wrong use."));
    parser.addPositionalArgument(QStringLiteral("kind"), QStringLiteral("log, db, damaged, route or tiles"),
                                 QStringLiteral("log|db|damaged|route|tiles"));
    parser.addPositionalArgument(QStringLiteral("out"), QStringLiteral("the file to write; an old one is replaced"),
                                 QStringLiteral("OUT"));
    const int mostMinutes = demo::kMostSamples / 300;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QString minutes = QStringLiteral("minutes");
    const QString samples = QStringLiteral("samples");
    const QString seed = QStringLiteral("seed");
    const QString plane = QStringLiteral("plane");
    const QString waypoints = QStringLiteral("waypoints");
    const QCommandLineOption blanks(QStringLiteral("blanks"),
                                    QStringLiteral("Put a blank between the bytes of a frame."));
    const QCommandLineOption backup(QStringLiteral("backup"),
                                    QStringLiteral("Add a 0x52 frame every ten seconds of flight."));
    parser.addOptions(
        {help,
         {minutes, QStringLiteral("Length of the flight, 1 to %1 (20).").arg(mostMinutes), QStringLiteral("N")},
         {samples, QStringLiteral("Length in samples of 200 ms, 1 to %1, instead of minutes.").arg(demo::kMostSamples),
          QStringLiteral("N")},
         {seed, QStringLiteral("Another seed is another flight (1)."), QStringLiteral("N")},
         {plane, QStringLiteral("Plane id, 0 to 255 (1)."), QStringLiteral("N")},
         {waypoints, QStringLiteral("Length of a route, 0 to %1 (60).").arg(demo::kMostWaypoints), QStringLiteral("N")},
         blanks,
         backup});
    if (!parser.parse(QCoreApplication::arguments()))
        return wrongUse(parser.errorText());
    if (parser.isSet(help)) {
        say(stdout, parser.helpText());
        return 0;
    }

    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return wrongUse(QStringLiteral("the kind (log, db, damaged, route or tiles) and one file are needed"));
    const QString &kind = arguments.at(0);
    const QString &path = arguments.at(1);
    if (!QStringList{QStringLiteral("log"), QStringLiteral("db"), QStringLiteral("damaged"), QStringLiteral("route"),
                     QStringLiteral("tiles")}
             .contains(kind))
        return wrongUse(QStringLiteral("unknown kind %1: log, db, damaged, route or tiles").arg(kind));
    if (path.isEmpty())
        return wrongUse(QStringLiteral("the file has no name"));

    demo::DemoOptions options;
    if (parser.isSet(minutes) && parser.isSet(samples))
        return wrongUse(QStringLiteral("--minutes and --samples are the same thing: give one"));
    if (parser.isSet(minutes)) {
        const auto value = number(parser, minutes, 1, static_cast<quint64>(mostMinutes));
        if (!value)
            return wrongUse(QStringLiteral("--minutes takes a whole number from 1 to %1").arg(mostMinutes));
        options.minutes = static_cast<int>(*value);
    }
    if (parser.isSet(samples)) {
        const auto value = number(parser, samples, 1, demo::kMostSamples);
        if (!value)
            return wrongUse(QStringLiteral("--samples takes a whole number from 1 to %1").arg(demo::kMostSamples));
        options.samples = static_cast<int>(*value);
    }
    if (parser.isSet(seed)) {
        const auto value = number(parser, seed, 0, ~quint64{0});
        if (!value)
            return wrongUse(QStringLiteral("--seed takes a whole number from 0"));
        options.seed = *value;
    }
    if (parser.isSet(plane)) {
        const auto value = number(parser, plane, 0, 255);
        if (!value)
            return wrongUse(QStringLiteral("--plane takes a whole number from 0 to 255"));
        options.planeId = static_cast<quint8>(*value);
    }
    demo::RouteOptions route;
    route.seed = options.seed;
    if (parser.isSet(waypoints)) {
        const auto value = number(parser, waypoints, 0, demo::kMostWaypoints);
        if (!value)
            return wrongUse(QStringLiteral("--waypoints takes a whole number from 0 to %1").arg(demo::kMostWaypoints));
        route.waypoints = static_cast<int>(*value);
    }
    options.blanks = parser.isSet(blanks);
    options.backupFrames = parser.isSet(backup);

    QString error;
    const bool written = kind == QLatin1String("log") ? demo::writeTextLog(path, options, &error)
        : kind == QLatin1String("db")                 ? demo::writeDatabase(path, demo::demoTasks(options), &error)
        : kind == QLatin1String("route")              ? demo::writeRoute(path, route, &error)
        : kind == QLatin1String("tiles")              ? demo::writeTiles(path, &error)
                                                      : demo::writeDamagedLog(path, options, &error);
    if (!written) {
        say(stderr, QStringLiteral("ostravel-demo: %1\n").arg(error));
        return kFailed;
    }
    return 0;
}
