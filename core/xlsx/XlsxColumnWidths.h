#pragma once

#include "XlsxCells.h"
#include "XlsxFormat.h"

#include <functional>

namespace QXlsx
{

/**
 * Widths that fit the cells of a sheet, in the unit of the file format: digits of the standard font.
 *
 * An estimate, since the fonts belong to the program that shows the sheet: a Chinese character counts as two others,
 * and a number is as long as programs show it, at most eleven digits.
 *
 * @param formats formats of the cells, by number
 * @param cancelled called every 1000 rows; may be empty. Returning true ends the function with useless widths
 * @return one width for each column; index 0 is unused, and a column without cells has 0
 *
 * O(cells), some nanoseconds each. Any thread.
 */
QVector<int> columnWidths(const XlsxCells &cells, const QVector<Format> &formats,
                          const std::function<bool()> &cancelled);

} // namespace QXlsx
