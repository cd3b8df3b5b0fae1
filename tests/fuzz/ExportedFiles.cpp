#include "ExportedFiles.h"

#include "FuzzTarget.h"
#include "WorkbookFiles.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

#include <cmath>

namespace
{

bool isXml(const QByteArray &bytes)
{
    QXmlStreamReader xml(bytes);
    while (!xml.atEnd())
        xml.readNext();
    return !xml.hasError();
}

/** Longitude and latitude of each point in range, at any depth of the coordinates. */
bool arePositions(const QJsonArray &list)
{
    if (!list.isEmpty() && list[0].isArray()) {
        for (const QJsonValue &part : list)
            if (!arePositions(part.toArray()))
                return false;
        return true;
    }
    return list.isEmpty()
        || (list.size() >= 2 && std::abs(list[0].toDouble(999.0)) <= 180.0
            && std::abs(list[1].toDouble(999.0)) <= 90.0);
}

void requireGeoJson(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    require(document.isObject() && document[QLatin1String("type")].toString() == QLatin1String("FeatureCollection"));
    for (const QJsonValue &feature : document[QLatin1String("features")].toArray()) {
        const QJsonObject geometry = feature[QLatin1String("geometry")].toObject();
        require(arePositions(geometry[QLatin1String("coordinates")].toArray()));
    }
}

/** Every line must have as many cells as the heading. No name or label contains a comma or a quote. */
void requireTable(const QByteArray &bytes)
{
    require(bytes.endsWith('\n'));
    const QList<QByteArray> lines = bytes.chopped(1).split('\n');
    const int commas = lines[0].count(',');
    for (const QByteArray &line : lines)
        require(line.count(',') == commas);
}

void requireWorkbook(const QString &path)
{
    const QMap<QByteArray, QByteArray> parts = readParts(path);
    require(parts.contains("xl/workbook.xml"));
    for (const QByteArray &part : parts)
        require(isXml(part));
}

} // namespace

void requireValidExport(const QByteArray &format, const QString &path)
{
    if (format == "txt")
        return require(!QDir(path).isEmpty());
    if (format == "xlsx")
        return requireWorkbook(path);
    const QByteArray bytes = fileContent(path);
    if (format == "csv")
        return requireTable(bytes);
    if (format == "geojson")
        return requireGeoJson(bytes);
    if (format == "mat")
        return require(bytes.startsWith("MATLAB 5.0"));
    require(isXml(bytes));
}
