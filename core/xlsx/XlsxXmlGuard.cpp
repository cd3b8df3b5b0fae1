#include "XlsxXmlGuard.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

namespace QXlsx
{

namespace
{

constexpr int kMaxDeclaration = 1000; // characters of <?xml ...?>

/**
 * Whether an encoding writes markup as ASCII does and uses these bytes for nothing else. Chinese encodings are not
 * among them: the second byte of a character may be that of a bracket.
 */
bool isLikeAscii(const QByteArray &name)
{
    const auto names = {"utf-8", "utf8", "us-ascii", "ascii"};
    return name.startsWith("iso-8859-") || name.startsWith("windows-125")
        || std::any_of(names.begin(), names.end(), [&name](const char *one) { return name == one; });
}

/** The value of encoding="..." in a declaration, in lower case; empty when there is none. */
QByteArray encodingIn(const QByteArray &declaration)
{
    int place = declaration.indexOf("encoding");
    if (place < 0)
        return {};
    while (place < declaration.size() && declaration.at(place) != '"' && declaration.at(place) != '\'')
        ++place;
    if (place == declaration.size())
        return "none";
    const int end = declaration.indexOf(declaration.at(place), place + 1);
    return declaration.mid(place + 1, end - place - 1).toLower();
}

} // namespace

std::size_t XlsxXmlGuard::accept(const char *data, std::size_t size)
{
    if (!m_detected)
        detect(data, size);
    for (std::size_t i = 0; i < size && !m_stopped; ++i) {
        int unit = static_cast<uchar>(data[i]);
        if (m_wide) {
            m_hasHalf = !m_hasHalf;
            if (m_hasHalf) {
                m_half = unit;
                continue;
            }
            unit = m_bigEndian ? m_half << 8 | unit : unit << 8 | m_half;
        } else if (m_state == State::Text && !m_isFirst) {
            const void *const next = std::memchr(data + i, '<', size - i);
            if (!next)
                return size;
            i = static_cast<std::size_t>(static_cast<const char *>(next) - data);
            unit = '<';
        }
        if (!take(unit)) {
            m_stopped = true;
            return i;
        }
    }
    return m_stopped ? 0 : size;
}

/** Detects the encoding from the first bytes, as the reader does. */
void XlsxXmlGuard::detect(const char *data, std::size_t size)
{
    m_detected = true;
    if (size < 4)
        return; // too short for a document
    const auto begins = [data](std::initializer_list<unsigned char> mark) {
        return std::equal(mark.begin(), mark.end(), reinterpret_cast<const unsigned char *>(data));
    };
    if (begins({0, 0}) || begins({0xff, 0xfe, 0, 0}) || begins({'<', 0, 0, 0})) {
        m_stopped = true;
        m_refusal = QStringLiteral("a part of it is in UTF-32");
        return;
    }
    m_bigEndian = begins({0xfe, 0xff}) || begins({0, '<'});
    m_wide = m_bigEndian || begins({0xff, 0xfe}) || begins({'<', 0});
}

/** Takes one character. @return false when the part must end before it */
bool XlsxXmlGuard::take(int unit)
{
    if (m_inDeclaration && m_declaration.size() < kMaxDeclaration)
        m_declaration.append(unit < 0x80 ? static_cast<char>(unit) : '?');
    switch (m_state) {
    case State::Text:
        if (unit == '<')
            m_state = State::Opened;
        else if (unit > ' ' && unit < 0x80)
            m_isFirst = false;
        break;
    case State::Opened:
        takeOpened(unit);
        break;
    case State::Tag:
        return takeInTag(unit);
    case State::DoubleQuoted:
        if (unit == '"')
            m_state = State::Tag;
        break;
    case State::SingleQuoted:
        if (unit == '\'')
            m_state = State::Tag;
        break;
    case State::Bang:
        if (unit != '-' && unit != '[')
            return false; // a document type
        m_state = unit == '-' ? State::Dash : State::CharacterData;
        break;
    case State::Dash:
        m_state = State::Comment;
        break;
    case State::Comment:
        if (endsAt(unit, '-'))
            m_state = State::Text;
        break;
    case State::CharacterData:
        if (endsAt(unit, ']'))
            m_state = State::Text;
        break;
    case State::Instruction:
        if (unit == '>' && m_marks > 0) {
            m_state = State::Text;
            if (!takesDeclaration())
                return false;
        }
        m_marks = unit == '?' ? 1 : 0;
        break;
    }
    return true;
}

void XlsxXmlGuard::takeOpened(int unit)
{
    m_attributes = 0;
    m_marks = 0;
    m_inDeclaration = m_isFirst && unit == '?';
    m_isFirst = false;
    m_state = unit == '!' ? State::Bang : unit == '?' ? State::Instruction : State::Tag;
    if (unit == '>')
        m_state = State::Text;
}

bool XlsxXmlGuard::takeInTag(int unit)
{
    if (unit == '>')
        m_state = State::Text;
    else if (unit == '"')
        m_state = State::DoubleQuoted;
    else if (unit == '\'')
        m_state = State::SingleQuoted;
    else if (unit == '=' && ++m_attributes > kMaxAttributes) {
        m_refusal = QStringLiteral("an element of it has more than %1 attributes").arg(kMaxAttributes);
        return false;
    }
    return true;
}

/** Whether a closing mark is complete: two marks and a >, as in --> and ]]>. */
bool XlsxXmlGuard::endsAt(int unit, int mark)
{
    const bool ends = unit == '>' && m_marks >= 2;
    m_marks = unit == mark ? m_marks + 1 : 0;
    return ends;
}

/** At the end of a processing instruction. @return false for an XML declaration whose encoding does not fit the bytes
 */
bool XlsxXmlGuard::takesDeclaration()
{
    if (!m_inDeclaration)
        return true;
    m_inDeclaration = false;
    if (!m_declaration.startsWith("xml"))
        return true;
    const QByteArray encoding = encodingIn(m_declaration);
    const bool fits = m_declaration.size() < kMaxDeclaration
        && (encoding.isEmpty() || (m_wide ? encoding.startsWith("utf-16") : isLikeAscii(encoding)));
    if (!fits)
        m_refusal = QStringLiteral("a part of it is in an encoding that workbooks do not have");
    return fits;
}

} // namespace QXlsx
