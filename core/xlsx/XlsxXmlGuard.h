#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>

namespace QXlsx
{

/**
 * Filters the bytes of an XML part before an XML reader sees them, and ends the part at what no workbook contains.
 *
 * QXmlStreamReader compares each attribute of an element with all others, in one call that cannot be interrupted: a few
 * hundred kilobytes of attributes take minutes. Document type declarations are the other risk. The guard follows the
 * markup only, and accepts only encodings that use the bytes of markup for nothing else.
 */
class XlsxXmlGuard
{
public:
    /** Most attributes of one element. Known programs write fewer than 40. */
    static constexpr int kMaxAttributes = 1000;

    /** Takes the next bytes of the part. @return how many of them may be read; fewer than size ends the part */
    std::size_t accept(const char *data, std::size_t size);

    /** Why the part belongs to no workbook; empty while it may, and for a document type declaration. */
    const QString &refusal() const { return m_refusal; }

private:
    enum class State {
        Text,
        Opened, // after <
        Tag,
        DoubleQuoted,
        SingleQuoted,
        Bang, // after <!
        Dash, // after <!-
        Comment,
        CharacterData,
        Instruction,
    };

    void detect(const char *data, std::size_t size);
    bool take(int unit);
    void takeOpened(int unit);
    bool takeInTag(int unit);
    bool endsAt(int unit, int mark);
    bool takesDeclaration();

    State m_state = State::Text;
    bool m_detected = false;
    bool m_wide = false; // UTF-16
    bool m_bigEndian = false;
    bool m_hasHalf = false;
    int m_half = 0;
    bool m_stopped = false;
    bool m_isFirst = true; // only whitespace so far
    bool m_inDeclaration = false;
    int m_attributes = 0;
    int m_marks = 0; // characters so far of the mark that ends a comment, character data or an instruction
    QByteArray m_declaration;
    QString m_refusal;
};

} // namespace QXlsx
