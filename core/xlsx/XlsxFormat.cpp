#include "XlsxFormat.h"

#include "XlsxLimits.h"

namespace QXlsx
{

void Format::setFontColor(const Color &color)
{
    m_fontColor = color;
}

void Format::setFontSize(int points)
{
    m_fontSize = static_cast<quint16>(qBound(0, points, kMaxFontPoints));
}

void Format::setBorderStyle(BorderStyle style)
{
    m_borderStyle = static_cast<quint8>(style);
}

void Format::setPatternBackgroundColor(const Color &color)
{
    m_patternColor = color;
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
