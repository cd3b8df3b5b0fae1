#pragma once

#include "XlsxCells.h"
#include "XlsxFormat.h"

#include <functional>

namespace QXlsx
{

/**
 * Widths by which the cells of a sheet can be read, in the unit of the format: digits of the standard font.
 *
 * An estimate, since fonts are the reader's: a Chinese character is as wide as two others, and a number takes what a
 * reader shows of it, that is at most eleven digits. Index 0 is unused; a column without cells has 0.
 *
 * O(cells), some nanoseconds each.
 *
 * @param formats  of the cells, by number
 * @param cancelled  asked now and then; after a yes the widths are of no use. May be empty
 */
QVector<int> columnWidths(const XlsxCells &cells, const QVector<Format> &formats,
                          const std::function<bool()> &cancelled);

} // namespace QXlsx
