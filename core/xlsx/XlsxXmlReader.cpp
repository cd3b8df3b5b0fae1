#include "XlsxXmlReader.h"

#include <utility>

namespace QXlsx
{

namespace
{

constexpr int kMaxDepth = 200;
constexpr int kTokensBetweenAsking = 500;

QStringRef withoutPrefix(const QStringRef &name)
{
    return name.mid(name.indexOf(QLatin1Char(':')) + 1);
}

} // namespace

XlsxXmlReader::XlsxXmlReader(QIODevice *device)
    : QXmlStreamReader(device)
{
    setNamespaceProcessing(false);
}

XlsxXmlReader::XlsxXmlReader(const QByteArray &bytes, std::function<bool()> cancelled)
    : QXmlStreamReader(bytes)
    , m_cancelled(std::move(cancelled))
{
    setNamespaceProcessing(false);
}

bool XlsxXmlReader::next()
{
    if (m_cancelled && --m_untilAsked < 0) {
        m_untilAsked = kTokensBetweenAsking;
        if (m_cancelled()) {
            raiseError(QStringLiteral("cancelled"));
            return false;
        }
    }
    switch (readNext()) {
    case StartElement:
        if (++m_depth > kMaxDepth) {
            raiseError(QStringLiteral("nested too deep"));
            return false;
        }
        return true;
    case EndElement:
        --m_depth;
        return true;
    case DTD:
        raiseError(QStringLiteral("a document type declaration"));
        return false;
    case EndDocument:
    case Invalid:
    case NoToken:
        return false;
    default:
        return true;
    }
}

QStringRef XlsxXmlReader::localName() const
{
    return withoutPrefix(qualifiedName());
}

QString XlsxXmlReader::attribute(QLatin1String name) const
{
    const QXmlStreamAttributes all = attributes();
    for (const QXmlStreamAttribute &one : all)
        if (one.qualifiedName() == name)
            return one.value().isNull() ? QStringLiteral("") : one.value().toString();
    for (const QXmlStreamAttribute &one : all)
        if (withoutPrefix(one.qualifiedName()) == name && !one.qualifiedName().startsWith(QLatin1String("xmlns")))
            return one.value().toString();
    return {};
}

bool XlsxXmlReader::skipElement()
{
    const int outside = m_depth - 1;
    while (m_depth > outside)
        if (!next())
            return false;
    return true;
}

QString XlsxXmlReader::text()
{
    QString result;
    const int outside = m_depth - 1;
    while (m_depth > outside && next())
        if (isCharacters())
            result += QXmlStreamReader::text();
    return result;
}

} // namespace QXlsx
