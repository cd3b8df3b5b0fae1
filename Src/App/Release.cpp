#include "Release.h"

#include "BuildDate.h"

#include <QLocale>

QDateTime buildDateTime()
{
    return parseBuildDateTime(QString::fromLatin1(kBuildDate));
}

QDateTime parseBuildDateTime(QString text)
{
    text.replace(QStringLiteral("  "), QStringLiteral(" 0"));
    return QLocale(QLocale::English).toDateTime(text, QStringLiteral("MMM dd yyyyhh:mm:ss"));
}

QString buildDateText(const QDateTime &built)
{
    return built.toString(QStringLiteral("yyyyMMdd"));
}

QString buildDateTimeText(const QDateTime &built)
{
    return built.toString(QStringLiteral("yyyyMMdd hh:mm:ss"));
}
