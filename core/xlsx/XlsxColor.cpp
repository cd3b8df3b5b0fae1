#include "XlsxColor.h"

#include <array>

namespace QXlsx
{

namespace
{

// clang-format off
/** By the numbers of Qt::GlobalColor, without the last, which is transparent. */
constexpr std::array<quint32, 19> kNamed {
    0xFFFFFF, // color0
    0x000000, // color1
    0x000000, // black
    0xFFFFFF, // white
    0x808080, // darkGray
    0xA0A0A4, // gray
    0xC0C0C0, // lightGray
    0xFF0000, // red
    0x00FF00, // green
    0x0000FF, // blue
    0x00FFFF, // cyan
    0xFF00FF, // magenta
    0xFFFF00, // yellow
    0x800000, // darkRed
    0x008000, // darkGreen
    0x000080, // darkBlue
    0x008080, // darkCyan
    0x800080, // darkMagenta
    0x808000, // darkYellow
};
// clang-format on

static_assert(Qt::darkYellow == kNamed.size() - 1 && Qt::transparent == kNamed.size());

} // namespace

Color::Color(Qt::GlobalColor name)
{
    const auto index = static_cast<std::size_t>(name);
    if (index < kNamed.size())
        *this = Color(kNamed[index]);
}

QString Color::name() const
{
    constexpr int kDigits = 6;
    constexpr int kHex = 16;
    return QStringLiteral("#%1").arg(m_rgb, kDigits, kHex, QLatin1Char('0'));
}

} // namespace QXlsx
