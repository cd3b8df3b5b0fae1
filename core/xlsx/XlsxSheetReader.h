#pragma once

#include "XlsxCells.h"
#include "XlsxZipReader.h"

#include <QVector>

namespace QXlsx
{

/** Reads the shared texts of a workbook; of a damaged part, those before the damage. */
QVector<QString> readSharedTexts(XlsxZipReader::Part &part);

/**
 * Reads the values of a sheet's cells, without formats; of a damaged sheet, those before the damage.
 *
 * Numbers and the errors #DIV/0! (infinity) and #NUM! (NaN) become numbers, other errors texts; a formula becomes its
 * stored result, or a text "=..." when the sheet has none.
 */
void readSheet(XlsxZipReader::Part &part, const QVector<QString> &sharedTexts, XlsxCells &cells);

} // namespace QXlsx
