#pragma once

#include <QString>
#include <QtGlobal>
#include <type_traits>
#include <utility>

namespace QXlsx
{

/**
 * An opaque colour, or none. A plain value.
 *
 * Made from any class with isValid() and rgb(), such as QColor, and from Qt::GlobalColor, without QtGui.
 */
class Color
{
public:
    /** No colour. */
    constexpr Color() = default;
    /** @param rgb 0xRRGGBB; the bits above are ignored */
    constexpr explicit Color(quint32 rgb)
        : m_rgb(rgb & kOpaqueBits)
        , m_valid(true)
    {
    }
    /** A named colour. Qt::transparent is no colour, since cells have no transparency. */
    Color(Qt::GlobalColor name);
    /** A colour of another class; an invalid one is none. */
    template <typename Other, typename = decltype(std::declval<const Other &>().isValid()),
              typename = decltype(std::declval<const Other &>().rgb()),
              typename = std::enable_if_t<!std::is_same_v<Other, Color>>>
    Color(const Other &color)
        : m_rgb(color.isValid() ? static_cast<quint32>(color.rgb()) & kOpaqueBits : 0)
        , m_valid(color.isValid())
    {
    }

    /** False for no colour. */
    constexpr bool isValid() const { return m_valid; }
    /** 0xRRGGBB; 0 for no colour. */
    constexpr quint32 rgb() const { return m_rgb; }
    /** "#rrggbb"; "#000000" for no colour. */
    QString name() const;

    /** Equal colours, or both none. */
    ///@{
    friend constexpr bool operator==(const Color &a, const Color &b)
    {
        return a.m_rgb == b.m_rgb && a.m_valid == b.m_valid;
    }
    friend constexpr bool operator!=(const Color &a, const Color &b) { return !(a == b); }
    ///@}

private:
    static constexpr quint32 kOpaqueBits = 0xFFFFFF;

    quint32 m_rgb = 0;
    bool m_valid = false;
};

} // namespace QXlsx
