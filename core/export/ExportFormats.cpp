#include "ExportFormats.h"

#include "TextWriter.h"
#include "WorkbookWriter.h"

#include <QFileInfo>
#include <algorithm>

namespace ostravel
{

const QVector<ExportFormat> &exportFormats()
{
    // clang-format off
    static const QVector<ExportFormat> formats {
        {"text",     "-export", "folder of tab-separated text files, one for each function code", true,  &writeText},
        {"workbook", ".xlsx",   "Excel workbook with a sheet for each function code",             false, &writeWorkbook},
    };
    // clang-format on
    return formats;
}

const ExportFormat *findExportFormat(const QString &name)
{
    const QVector<ExportFormat> &formats = exportFormats();
    const auto found = std::find_if(formats.cbegin(), formats.cend(),
                                    [&name](const ExportFormat &format) { return name == QLatin1String(format.name); });
    return found != formats.cend() ? &*found : nullptr;
}

QString exportPath(const ExportFormat &format, const QString &logPath)
{
    const QFileInfo log(logPath);
    return log.absolutePath() + QLatin1Char('/') + log.baseName() + QLatin1String(format.suffix);
}

} // namespace ostravel
