#include "XlsxFormat.h"

namespace QXlsx
{

namespace
{

constexpr int kLargestFont = 409; // points, the format's own bound

} // namespace

void Format::setFontColor(const QColor &color)
{
    m_hasFontColor = color.isValid();
    m_fontColor = m_hasFontColor ? color.rgb() : 0;
}

void Format::setFontSize(int points)
{
    m_fontSize = static_cast<quint16>(qBound(0, points, kLargestFont));
}

void Format::setBorderStyle(BorderStyle style)
{
    m_borderStyle = static_cast<quint8>(style);
}

void Format::setPatternBackgroundColor(const QColor &color)
{
    m_hasPatternColor = color.isValid();
    m_patternColor = m_hasPatternColor ? color.rgb() : 0;
}

void Format::setFillPattern(FillPattern pattern)
{
    m_fillPattern = static_cast<quint8>(pattern);
}

void Format::setHorizontalAlignment(HorizontalAlignment alignment)
{
    m_alignment = static_cast<quint8>(alignment);
}

} // namespace QXlsx
