#include "LogFormat.h"

namespace ostravel
{

ReadError readError(ReadError::Code code, const QString &path, const QString &what)
{
    // Joined, since a path may hold place markers of its own.
    return {code, QStringLiteral("The flight ") + path + QLatin1Char(' ') + what + QLatin1Char('.')};
}

ReadError readCancelled(const QString &path)
{
    return readError(ReadError::Code::Cancelled, path, QStringLiteral("was not read to its end, as was asked for"));
}

ReadResult finishedFlight(FlightBuilder &builder, const SourceEnd &end, const QString &path)
{
    if (end.cancelled)
        return readCancelled(path);
    if (end.reason.isEmpty())
        return builder.finish();
    return builder.finish(
        readError(ReadError::Code::BrokenOff, path,
                  QStringLiteral("broke off at %1 of %2: ").arg(end.done).arg(end.total) + end.reason));
}

} // namespace ostravel
