#pragma once

#include "XlsxColor.h"

namespace QXlsx
{

/**
 * How a cell looks: font colour and size, borders on all four sides, fill and horizontal alignment.
 *
 * A plain value. Properties that are not set have the workbook's default; a format without any is empty.
 */
class Format
{
public:
    /** AlignHGeneral aligns numbers right and texts left. */
    enum HorizontalAlignment { AlignHGeneral, AlignLeft, AlignHCenter, AlignRight };
    /** The common border styles of workbooks. */
    enum BorderStyle { BorderNone, BorderThin, BorderMedium, BorderDashed, BorderDotted, BorderThick, BorderDouble };
    /** Whether the cell is filled. */
    enum FillPattern { PatternNone, PatternSolid };

    /** Colour of the text; invalid (the default) for the workbook's own. */
    Color fontColor() const { return m_fontColor; }
    /** An invalid colour resets it. */
    void setFontColor(const Color &color);

    /** Size of the text in points, 1 to 409; 0 (the default) for the workbook's own. */
    int fontSize() const { return m_fontSize; }
    /** Clamped to 0 to 409. */
    void setFontSize(int points);

    /** Style of the borders on all four sides, in the automatic colour. */
    BorderStyle borderStyle() const { return static_cast<BorderStyle>(m_borderStyle); }
    /** BorderNone removes them. */
    void setBorderStyle(BorderStyle style);

    /** Colour of a solid fill; invalid (the default) for the automatic one. */
    Color patternBackgroundColor() const { return m_patternColor; }
    /** An invalid colour resets it. */
    void setPatternBackgroundColor(const Color &color);

    /** Fill of the cell. */
    ///@{
    FillPattern fillPattern() const { return static_cast<FillPattern>(m_fillPattern); }
    void setFillPattern(FillPattern pattern);
    ///@}

    /** Horizontal alignment of the content. */
    ///@{
    HorizontalAlignment horizontalAlignment() const { return static_cast<HorizontalAlignment>(m_alignment); }
    void setHorizontalAlignment(HorizontalAlignment alignment);
    ///@}

    /** True while nothing was set. */
    bool isEmpty() const { return *this == Format(); }

    /** Formats are equal when all properties are. */
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
