#include "Text.h"

#include <array>
#include <charconv>
#include <cstdint>

namespace wmts
{

bool isPlainText(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i++]);
        if (first < 0x80) {
            if (first < 0x20 || first == 0x7f)
                return false;
            continue;
        }
        const int more = first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : 1;
        if (first < 0xc2 || first > 0xf4)
            return false;
        std::uint32_t code = first & (0x3fU >> more);
        for (int k = 0; k < more; ++k) {
            if (i == text.size() || (static_cast<unsigned char>(text[i]) & 0xc0) != 0x80)
                return false;
            code = code << 6 | (static_cast<unsigned char>(text[i++]) & 0x3fU);
        }
        constexpr std::array<std::uint32_t, 4> kLeast{0, 0x80, 0x800, 0x10000};
        const bool surrogate = code >= 0xd800 && code < 0xe000;
        // C1 control characters, and the two characters that XML forbids.
        const bool forbidden = code < 0xa0 || code == 0xfffe || code == 0xffff;
        if (code < kLeast[static_cast<std::size_t>(more)] || code > 0x10ffff || surrogate || forbidden)
            return false;
    }
    return true;
}

std::string jsonText(std::string_view text)
{
    std::string result = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\')
            result += '\\';
        result += character;
    }
    return result + '"';
}

std::string xmlText(std::string_view text)
{
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

std::string urlSegment(std::string_view text)
{
    constexpr std::string_view kSafe = "-._~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    for (const char character : text) {
        if (kSafe.find(character) != std::string_view::npos) {
            result += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        result += '%';
        result += kDigits[byte >> 4];
        result += kDigits[byte & 15];
    }
    return result;
}

std::string decodedUrl(std::string_view text, Plus plus)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view digits = text.substr(i).substr(0, 3).substr(1);
        unsigned char byte = 0;
        if (text[i] == '%' && digits.size() == 2) {
            const auto [end, error] = std::from_chars(digits.data(), digits.data() + 2, byte, 16);
            if (error == std::errc() && end == digits.data() + 2) {
                result += static_cast<char>(byte);
                i += 2;
                continue;
            }
        }
        result += text[i] == '+' && plus == Plus::IsSpace ? ' ' : text[i];
    }
    return result;
}

std::string numberText(double value)
{
    std::array<char, 400> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    return {buffer.data(), result.ptr};
}

} // namespace wmts
