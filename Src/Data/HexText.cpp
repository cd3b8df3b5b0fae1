#include "HexText.h"

#include <algorithm>
#include <array>

namespace
{

constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDigitValues()
{
    std::array<std::uint8_t, 256> values {};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = kNoDigit;
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

inline std::uint8_t digitValue(QChar character)
{
    // Latin-1 has no place for the others and turns them into a question mark, which is no digit.
    const ushort code = character.unicode();
    return code < kDigitValues.size() ? kDigitValues[code] : kNoDigit;
}

/** The plain case, digits alone and an even number of them: gives false as soon as it is not that. */
bool decodePlain(const QChar *text, qint64 size, std::uint8_t *bytes, int capacity)
{
    if (size % 2 != 0 || size / 2 > capacity)
        return false;
    for (qint64 i = 0; i < size; i += 2) {
        const std::uint8_t high = digitValue(text[i]);
        const std::uint8_t low = digitValue(text[i + 1]);
        if ((high | low) == kNoDigit)
            return false;
        *bytes++ = static_cast<std::uint8_t>(high << 4U | low);
    }
    return true;
}

/** Any text; stops behind the digits that fill the room. */
void decodeMixed(const QChar *text, qint64 size, bool oddDigits, std::uint8_t *bytes, int capacity)
{
    const std::uint8_t *const end = bytes + capacity;
    bool haveHigh = oddDigits; // pairing from the end leaves the first digit alone
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

} // namespace

qint64 decodeHex(const QString &text, std::uint8_t *bytes, int capacity)
{
    const QChar *const begin = text.constData();
    const qint64 size = text.size();
    qint64 length = size / 2;
    if (!decodePlain(begin, size, bytes, capacity)) {
        const qint64 digits = std::count_if(begin, begin + size, [](QChar c) { return digitValue(c) != kNoDigit; });
        length = (digits + 1) / 2;
        decodeMixed(begin, size, digits % 2 != 0, bytes, capacity);
    }
    if (length < capacity)
        std::fill(bytes + length, bytes + capacity, std::uint8_t {0});
    return length;
}
