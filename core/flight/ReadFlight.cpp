#include "ReadFlight.h"

#include "ReadDatabase.h"
#include "ReadTextLog.h"

#include <QFileInfo>
#include <QStringList>
#include <array>

namespace ostravel
{

namespace
{

// clang-format off
/** All formats of logs; the suffix of a file chooses one. */
constexpr std::array kFormats {
    LogFormat {"txt", "a text log (txt)",          &readTextLog},
    LogFormat {"db",  "a flight database (db)",    &readDatabase},
};
// clang-format on

} // namespace

ReadResult readFlight(const QString &path, const ReadOptions &options)
{
    const QString suffix = QFileInfo(path).suffix();
    QStringList known;
    for (const LogFormat &format : kFormats) {
        if (suffix == QLatin1String(format.suffix))
            return format.read(path, options);
        known.append(QLatin1String(format.description));
    }
    return readError(ReadError::Code::UnknownSuffix, path,
                     QStringLiteral("is neither ") + known.join(QStringLiteral(" nor ")));
}

} // namespace ostravel
