#pragma once

#include <QByteArray>
#include <QString>

namespace QXlsx
{

/** "A" for column 1, "XFD" for 16384. */
QByteArray columnName(int column);

/** "B3" for row 3, column 2. */
QByteArray cellName(int row, int column);

/** Takes "B3", "$B$3" or "b3" apart; false, with both untouched, when it is no cell of a sheet. */
bool parseCellName(const QString &name, int &row, int &column);

/**
 * Replaces what XML cannot carry by _xHHHH_ and guards a text that looks so already by _x005F_.
 *
 * A carriage return counts among it, since XML readers turn it into a line feed.
 */
QString escapeCharacters(const QString &text);

/** The inverse of escapeCharacters. */
QString unescapeCharacters(const QString &text);

/** Escapes markup in a text or an attribute in double quotes; blanks other than the space as references. */
QByteArray escapeMarkup(const QString &text, bool attribute);

/** A name that a sheet may have, nearest to the one wanted; empty for an empty one. */
QString safeSheetName(const QString &name);

/**
 * Moves the relative references of a formula as copying its cell by so many rows and columns does.
 *
 * Names, texts, quoted sheet names and functions stay; a reference that leaves the sheet becomes #REF!.
 */
QString movedFormula(const QString &formula, int rows, int columns);

} // namespace QXlsx
