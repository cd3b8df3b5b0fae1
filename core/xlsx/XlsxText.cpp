#include "XlsxText.h"

#include "XlsxLimits.h"

namespace QXlsx
{

namespace
{

constexpr int kEscapeLength = 7; // _xHHHH_

int hexDigit(QChar character)
{
    const ushort code = character.unicode();
    if (code >= '0' && code <= '9')
        return code - '0';
    if (code >= 'a' && code <= 'f')
        return code - 'a' + 10;
    if (code >= 'A' && code <= 'F')
        return code - 'A' + 10;
    return -1;
}

bool isXmlCharacter(const QString &text, int place)
{
    const QChar character = text.at(place);
    if (character.isHighSurrogate())
        return place + 1 < text.size() && text.at(place + 1).isLowSurrogate();
    if (character.isLowSurrogate())
        return place > 0 && text.at(place - 1).isHighSurrogate();
    const ushort code = character.unicode();
    return code == '\t' || code == '\n' || (code >= 0x20 && code < 0xfffe);
}

/** The character code of an _xHHHH at a position, whatever follows it; -1 when there is none. */
int escapeAt(const QString &text, int place)
{
    if (place + kEscapeLength > text.size() || text.at(place) != QLatin1Char('_')
        || text.at(place + 1) != QLatin1Char('x'))
        return -1;
    int code = 0;
    for (int i = place + 2; i < place + kEscapeLength - 1; ++i) {
        const int digit = hexDigit(text.at(i));
        if (digit < 0)
            return -1;
        code = code * 16 + digit;
    }
    return code;
}

bool isEscapeAt(const QString &text, int place)
{
    return escapeAt(text, place) >= 0 && text.at(place + kEscapeLength - 1) == QLatin1Char('_');
}

/** Whether a text at a position is an escape, or becomes one with the underscore of an escape that follows. */
bool needsGuard(const QString &text, int place)
{
    const int last = place + kEscapeLength - 1;
    return escapeAt(text, place) >= 0 && (text.at(last) == QLatin1Char('_') || !isXmlCharacter(text, last));
}

bool isAsciiLetter(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z');
}

bool isAsciiDigit(QChar character)
{
    return character.unicode() >= '0' && character.unicode() <= '9';
}

bool isNamePart(QChar character)
{
    return character.isLetterOrNumber() || character == QLatin1Char('_') || character == QLatin1Char('.')
        || character == QLatin1Char('\\') || character == QLatin1Char('?');
}

/** One part of a reference: a column in letters, a row in digits, or both, each with or without $. */
struct Reference {
    int column = 0; // 0: a whole row
    int row = 0; // 0: a whole column
    bool fixedColumn = false;
    bool fixedRow = false;
    int end = 0;
};

bool parseReference(const QString &text, int place, Reference &reference)
{
    reference = Reference();
    const auto at = [&text](int i) { return i < text.size() ? text.at(i) : QChar(); };
    int i = place;
    bool dollar = at(i) == QLatin1Char('$');
    const int letters = i + (dollar ? 1 : 0);
    int end = letters;
    for (; end < letters + 4 && isAsciiLetter(at(end)); ++end)
        reference.column = reference.column * 26 + (at(end).toUpper().unicode() - 'A' + 1);
    if (reference.column > kMaxColumn)
        return false;
    if (reference.column > 0) {
        reference.fixedColumn = dollar;
        i = end;
        dollar = at(i) == QLatin1Char('$');
    }
    const int digits = i + (dollar ? 1 : 0);
    end = digits;
    for (; end < digits + 8 && isAsciiDigit(at(end)); ++end)
        reference.row = reference.row * 10 + (at(end).unicode() - '0');
    if (end > digits) {
        if (!isRow(reference.row))
            return false;
        reference.fixedRow = dollar;
        i = end;
    }
    reference.end = i;
    return reference.column > 0 || reference.row > 0;
}

QString referenceText(const Reference &reference, int rows, int columns)
{
    QString result;
    if (reference.column > 0) {
        const int column = reference.column + (reference.fixedColumn ? 0 : columns);
        if (!isColumn(column))
            return {};
        result += QLatin1String(reference.fixedColumn ? "$" : "") + QString::fromLatin1(columnName(column));
    }
    if (reference.row > 0) {
        const int row = reference.row + (reference.fixedRow ? 0 : rows);
        if (!isRow(row))
            return {};
        result += QLatin1String(reference.fixedRow ? "$" : "") + QString::number(row);
    }
    return result;
}

/** The position after a part in single quotes, double quotes or brackets that begins at place. */
int quotedEnd(const QString &text, int place)
{
    const QChar opening = text.at(place);
    if (opening != QLatin1Char('[')) {
        for (int i = place + 1; i < text.size(); ++i) {
            if (text.at(i) != opening)
                continue;
            if (i + 1 < text.size() && text.at(i + 1) == opening)
                ++i; // a doubled quote stands for one quote
            else
                return i + 1;
        }
        return text.size();
    }
    int depth = 0;
    for (int i = place; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('['))
            ++depth;
        else if (text.at(i) == QLatin1Char(']') && --depth == 0)
            return i + 1;
    }
    return text.size();
}

} // namespace

QByteArray columnName(int column)
{
    QByteArray name;
    for (; column > 0; column = (column - 1) / 26)
        name.prepend(static_cast<char>('A' + (column - 1) % 26));
    return name;
}

QByteArray cellName(int row, int column)
{
    return columnName(column) + QByteArray::number(row);
}

bool parseCellName(const QString &name, int &row, int &column)
{
    Reference reference;
    if (!parseReference(name, 0, reference) || reference.end != name.size() || reference.row == 0
        || reference.column == 0)
        return false;
    row = reference.row;
    column = reference.column;
    return true;
}

QString escapeCharacters(const QString &text)
{
    QString result;
    int copied = 0;
    for (int i = 0; i < text.size(); ++i) {
        ushort code = text.at(i).unicode();
        if (code == '_') {
            if (!needsGuard(text, i))
                continue;
        } else if (isXmlCharacter(text, i)) {
            continue;
        }
        result += text.midRef(copied, i - copied);
        result += QStringLiteral("_x%1_")
                      .arg(static_cast<uint>(code), 4, 16, QLatin1Char('0'))
                      .toUpper()
                      .replace(1, 1, QLatin1Char('x'));
        copied = i + 1;
    }
    if (copied == 0)
        return text;
    return result + text.midRef(copied);
}

QString unescapeCharacters(const QString &text)
{
    QString result;
    int copied = 0;
    for (int i = text.indexOf(QLatin1String("_x")); i >= 0; i = text.indexOf(QLatin1String("_x"), i)) {
        if (!isEscapeAt(text, i)) {
            ++i;
            continue;
        }
        result += text.midRef(copied, i - copied);
        result += QChar(static_cast<ushort>(escapeAt(text, i)));
        i += kEscapeLength;
        copied = i;
    }
    if (copied == 0)
        return text;
    return result + text.midRef(copied);
}

QByteArray escapeMarkup(const QString &text, bool attribute)
{
    const QByteArray utf8 = text.toUtf8();
    QByteArray result;
    result.reserve(utf8.size());
    for (const char character : utf8) {
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
        case '\r':
            result += "&#13;";
            break;
        case '"':
            attribute ? result += "&quot;" : result += character;
            break;
        case '\n':
            attribute ? result += "&#10;" : result += character;
            break;
        case '\t':
            attribute ? result += "&#9;" : result += character;
            break;
        default:
            result += character;
        }
    }
    return result;
}

QString safeSheetName(const QString &name)
{
    QString result = name;
    for (QChar &character : result)
        if (QStringLiteral(":\\/?*[]").contains(character) || character.unicode() < 0x20)
            character = QLatin1Char(' ');
    if (result.size() > kMaxSheetName) {
        result.truncate(kMaxSheetName);
        if (result.at(result.size() - 1).isHighSurrogate())
            result.chop(1);
    }
    // Formulas quote sheet names with apostrophes, so a name must not begin or end with one.
    if (result.startsWith(QLatin1Char('\'')))
        result[0] = QLatin1Char(' ');
    if (result.endsWith(QLatin1Char('\'')))
        result[result.size() - 1] = QLatin1Char(' ');
    return result;
}

QString movedFormula(const QString &formula, int rows, int columns)
{
    QString result;
    for (int i = 0; i < formula.size();) {
        const QChar character = formula.at(i);
        if (character == QLatin1Char('"') || character == QLatin1Char('\'') || character == QLatin1Char('[')) {
            const int end = quotedEnd(formula, i);
            result += formula.midRef(i, end - i);
            i = end;
            continue;
        }
        if (!isNamePart(character) && character != QLatin1Char('$')) {
            result += character;
            ++i;
            continue;
        }
        int end = i;
        while (end < formula.size() && (isNamePart(formula.at(end)) || formula.at(end) == QLatin1Char('$')))
            ++end;
        const QString word = formula.mid(i, end - i);
        const QChar after = end < formula.size() ? formula.at(end) : QChar();
        Reference reference;
        const bool whole = parseReference(word, 0, reference) && reference.end == word.size();
        // A column or row alone is a reference only beside a colon: in A:C and 1:3, but not in the name ABC.
        const bool beside = after == QLatin1Char(':') || (i > 0 && formula.at(i - 1) == QLatin1Char(':'));
        const bool isReference = whole && after != QLatin1Char('(') && after != QLatin1Char('!')
            && ((reference.row > 0 && reference.column > 0) || beside);
        if (isReference) {
            const QString moved = referenceText(reference, rows, columns);
            result += moved.isEmpty() ? QStringLiteral("#REF!") : moved;
        } else {
            result += word;
        }
        i = end;
    }
    return result;
}

} // namespace QXlsx
