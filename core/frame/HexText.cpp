#include "HexText.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace ostravel
{

namespace
{

constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDigitValues()
{
    std::array<std::uint8_t, 256> values{};
    for (std::uint8_t &value : values)
        value = kNoDigit;
    for (std::uint8_t i = 0; i < 10; ++i)
        values['0' + i] = i;
    for (std::uint8_t i = 0; i < 6; ++i) {
        const auto value = static_cast<std::uint8_t>(10 + i);
        values['a' + i] = value;
        values['A' + i] = value;
    }
    return values;
}

constexpr std::array<std::uint8_t, 256> kDigitValues = makeDigitValues();

/** Characters are UTF-16 units or bytes of Latin-1. */
template <typename Character>
inline std::uint8_t digitValue(Character character)
{
    // Other characters become a question mark in toLatin1(), which is not a digit.
    return character < kDigitValues.size() ? kDigitValues[character] : kNoDigit;
}

/**
 * Fast path for text that is an even number of hexadecimal digits and nothing else.
 *
 * Written without branches and tables, so that the compiler vectorizes both loops.
 * @return false when the text has another form or does not fit
 */
template <typename Character>
bool decodePlain(const Character *text, qint64 size, std::uint8_t *bytes, int capacity)
{
    if (size % 2 != 0 || size / 2 > capacity)
        return false;
    // Signed and as wide as a character, so the first loop uses the full width of a vector register.
    using Signed = std::make_signed_t<Character>;
    const int characters = static_cast<int>(size);
    Signed others = 0;
    for (int i = 0; i < characters; ++i) {
        const auto decimal = static_cast<Signed>(text[i] - '0');
        const auto letter = static_cast<Signed>((text[i] | 0x20) - 'a');
        const auto notDecimal = static_cast<Signed>(static_cast<int>(decimal < 0) | static_cast<int>(decimal > 9));
        const auto notLetter = static_cast<Signed>(static_cast<int>(letter < 0) | static_cast<int>(letter > 5));
        others = static_cast<Signed>(others | (notDecimal & notLetter));
    }
    if (others != 0)
        return false;
    // The low four bits of a digit are its value, those of a letter its value minus nine. Only letters have bit 6 set.
    for (int i = 0; i < characters / 2; ++i) {
        const unsigned high = (text[2 * i] & 0xFU) + 9U * (static_cast<unsigned>(text[2 * i]) >> 6U);
        const unsigned low = (text[2 * i + 1] & 0xFU) + 9U * (static_cast<unsigned>(text[2 * i + 1]) >> 6U);
        bytes[i] = static_cast<std::uint8_t>(high << 4U | low);
    }
    return true;
}

/** Decodes any text; stops when the bytes are full. */
template <typename Character>
void decodeMixed(const Character *text, qint64 size, bool oddDigits, std::uint8_t *bytes, int capacity)
{
    const std::uint8_t *const end = bytes + capacity;
    bool haveHigh = oddDigits; // digits are paired from the end, so an odd first digit is a byte of its own
    std::uint8_t high = 0;
    for (qint64 i = 0; i < size && bytes != end; ++i) {
        const std::uint8_t value = digitValue(text[i]);
        if (value == kNoDigit)
            continue;
        if (haveHigh)
            *bytes++ = static_cast<std::uint8_t>(high << 4U | value);
        high = value;
        haveHigh = !haveHigh;
    }
}

template <typename Character>
qint64 decode(const Character *text, qint64 size, std::uint8_t *bytes, int capacity)
{
    qint64 length = size / 2;
    if (!decodePlain(text, size, bytes, capacity)) {
        const qint64 digits = std::count_if(text, text + size, [](Character c) { return digitValue(c) != kNoDigit; });
        length = (digits + 1) / 2;
        decodeMixed(text, size, digits % 2 != 0, bytes, capacity);
    }
    if (length < capacity)
        std::fill(bytes + length, bytes + capacity, std::uint8_t{0});
    return length;
}

} // namespace

qint64 decodeHex(const QString &text, std::uint8_t *bytes, int capacity)
{
    // A QChar has the layout of a ushort. utf16() would first ensure a terminating zero, which is not needed here.
    return decode(reinterpret_cast<const ushort *>(text.constData()), text.size(), bytes, capacity);
}

qint64 decodeHex(QLatin1String text, std::uint8_t *bytes, int capacity)
{
    return decode(reinterpret_cast<const uchar *>(text.data()), text.size(), bytes, capacity);
}

} // namespace ostravel
