#pragma once

#include <QByteArray>
#include <QString>

namespace QXlsx
{

/** "A" for column 1, "XFD" for 16384. */
QByteArray columnName(int column);

/** "B3" for row 3, column 2. */
QByteArray cellName(int row, int column);

/** Parses "B3", "$B$3" or "b3"; false, with both unchanged, when it is no cell of a sheet. */
bool parseCellName(const QString &name, int &row, int &column);

/**
 * Replaces characters that XML cannot contain by _xHHHH_, and the underscore of a text that looks like one by _x005F_.
 *
 * A carriage return is replaced, too, since XML readers turn it into a line feed.
 */
QString escapeCharacters(const QString &text);

/** The inverse of escapeCharacters. */
QString unescapeCharacters(const QString &text);

/** Escapes markup in a text, or in an attribute in double quotes, where tabs and line ends become references. */
QByteArray escapeMarkup(const QString &text, bool attribute);

/** The valid sheet name closest to name; empty for an empty one. */
QString safeSheetName(const QString &name);

/**
 * Moves the relative references of a formula, as copying its cell by so many rows and columns does.
 *
 * Names, texts, quoted sheet names and functions are unchanged; a reference outside the sheet becomes #REF!.
 */
QString movedFormula(const QString &formula, int rows, int columns);

} // namespace QXlsx
