#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>

namespace QXlsx
{

/**
 * Looks at the bytes of an XML part before an XML reader does, and stops them at what no workbook has.
 *
 * The reader compares each attribute of an element with all others of it, within one call that cannot be interrupted:
 * a few hundred kilobytes would keep it busy for minutes. Its other weak point is the document type declaration. The
 * guard follows the markup alone, and lets through only encodings in which markup has no other bytes.
 */
class XlsxXmlGuard
{
public:
    /** Attributes of one element. Known programs write fewer than 40. */
    static constexpr int kMaxAttributes = 1000;

    /** Takes the next bytes of the part; gives how many of them may be read, fewer than size once it stops them. */
    std::size_t accept(const char *data, std::size_t size);

    /** Why no workbook has such a part; empty while it may be one, and for a document type declaration. */
    const QString &refusal() const { return m_refusal; }

private:
    enum class State {
        Text,
        Opened, // behind <
        Tag,
        DoubleQuoted,
        SingleQuoted,
        Bang, // behind <!
        Dash, // behind <!-
        Comment,
        CharacterData,
        Instruction,
    };

    void detect(const char *data, std::size_t size);
    bool take(int unit);
    bool endsAt(int unit, int mark);
    bool takesDeclaration();

    State m_state = State::Text;
    bool m_detected = false;
    bool m_wide = false; // UTF-16
    bool m_bigEndian = false;
    bool m_hasHalf = false;
    int m_half = 0;
    bool m_stopped = false;
    bool m_isFirst = true; // nothing but blanks was met
    bool m_inDeclaration = false;
    int m_attributes = 0;
    int m_marks = 0; // of those that announce the end of a comment, of character data or of an instruction
    QByteArray m_declaration;
    QString m_refusal;
};

} // namespace QXlsx
