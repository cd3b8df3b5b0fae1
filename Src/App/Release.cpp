#include "Release.h"

#include <QLocale>

// ccache:disable - the compiler's own date goes into the object file

QDateTime buildDateTime()
{
    return parseBuildDateTime(QStringLiteral(__DATE__ __TIME__));
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
