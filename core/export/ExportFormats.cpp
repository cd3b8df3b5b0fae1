#include "ExportFormats.h"

#include "CsvWriter.h"
#include "GeoJsonWriter.h"
#include "GpxWriter.h"
#include "KmlWriter.h"
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
        {"txt",     "-export",  "folder of tab-separated text files, one for each function code", true,  false, &writeText},
        {"xlsx",    ".xlsx",    "Excel workbook with a sheet for each function code",             false, false, &writeWorkbook},
        {"csv",     ".csv",     "table with time columns and all channels, in full precision",    false, true,  &writeCsv},
        {"kml",     ".kml",     "flown track with times, for Google Earth",                       false, false, &writeKml},
        {"gpx",     ".gpx",     "flown track with times, for navigation programs",                false, false, &writeGpx},
        {"geojson", ".geojson", "flown track with times, for web maps and GIS",                   false, false, &writeGeoJson},
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
