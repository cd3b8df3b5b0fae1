#pragma once

#include "XlsxColor.h"

namespace QXlsx
{

/**
 * How a cell looks: font colour and size, borders on all four sides, fill and horizontal alignment.
 *
 * A plain value. What was not set stays as the workbook's own default; a format of which nothing was set is empty.
 */
class Format
{
public:
    /** AlignHGeneral puts numbers to the right and texts to the left. */
    enum HorizontalAlignment { AlignHGeneral, AlignLeft, AlignHCenter, AlignRight };
    /** The lines that a workbook knows, but for its rarer ones. */
    enum BorderStyle { BorderNone, BorderThin, BorderMedium, BorderDashed, BorderDotted, BorderThick, BorderDouble };
    /** Whether the cell shows a colour of its own. */
    enum FillPattern { PatternNone, PatternSolid };

    /** Colour of the text; an invalid colour (the default) leaves it to the workbook. */
    Color fontColor() const { return m_fontColor; }
    /** An invalid colour takes it back. */
    void setFontColor(const Color &color);

    /** Size of the text in points, 1 to 409; 0 (the default) leaves it to the workbook. */
    int fontSize() const { return m_fontSize; }
    /** What lies outside 0 to 409 is brought into it. */
    void setFontSize(int points);

    /** Style of the lines on all four sides, in the automatic colour. */
    BorderStyle borderStyle() const { return static_cast<BorderStyle>(m_borderStyle); }
    /** BorderNone takes them away. */
    void setBorderStyle(BorderStyle style);

    /** The colour that a solid fill shows; an invalid colour (the default) is the automatic one. */
    Color patternBackgroundColor() const { return m_patternColor; }
    /** An invalid colour takes it back. */
    void setPatternBackgroundColor(const Color &color);

    /** Fill of the cell. */
    ///@{
    FillPattern fillPattern() const { return static_cast<FillPattern>(m_fillPattern); }
    void setFillPattern(FillPattern pattern);
    ///@}

    /** Where the content stands in the cell. */
    ///@{
    HorizontalAlignment horizontalAlignment() const { return static_cast<HorizontalAlignment>(m_alignment); }
    void setHorizontalAlignment(HorizontalAlignment alignment);
    ///@}

    /** True while nothing was set. */
    bool isEmpty() const { return *this == Format(); }

    /** Formats are equal when every part of their look is. */
    ///@{
    bool operator==(const Format &other) const
    {
        return m_fontColor == other.m_fontColor && m_patternColor == other.m_patternColor
            && m_fontSize == other.m_fontSize && m_borderStyle == other.m_borderStyle
            && m_fillPattern == other.m_fillPattern && m_alignment == other.m_alignment;
    }
    bool operator!=(const Format &other) const { return !(*this == other); }
    ///@}

private:
    Color m_fontColor;
    Color m_patternColor;
    quint16 m_fontSize = 0;
    quint8 m_borderStyle = BorderNone;
    quint8 m_fillPattern = PatternNone;
    quint8 m_alignment = AlignHGeneral;
};

} // namespace QXlsx
