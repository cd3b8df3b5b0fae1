#include "ReadTextLog.h"

#include "RegularFile.h"
#include "TextLog.h"

#include <QFile>

namespace ostravel
{

ReadResult readTextLog(const QString &path, const ReadOptions &options)
{
    QFile file(path);
    if (isOtherThanRegularFile(path))
        return readError(ReadError::Code::CannotOpen, path, QStringLiteral("is no regular file"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return readError(ReadError::Code::CannotOpen, path, QStringLiteral("cannot be opened: ") + file.errorString());

    TextLog log(file);
    FlightBuilder builder(options);
    builder.reserveForLog(log.size());
    ReadProgress progress(options);
    SourceEnd end;
    end.cancelled = !progress.tell(0, log.size());
    if (!end.cancelled) {
        end = log.forEachLine([&](const auto &line) {
            builder.add(line);
            return progress.line([&log] { return log.position(); }, log.size());
        });
    }
    end.cancelled = end.cancelled || !progress.tell(end.done, log.size());
    return finishedFlight(builder, end, path);
}

} // namespace ostravel
