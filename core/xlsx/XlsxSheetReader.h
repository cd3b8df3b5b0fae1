#pragma once

#include "XlsxCells.h"
#include "XlsxZipReader.h"

#include <QVector>

namespace QXlsx
{

/** Reads the texts that the sheets of a workbook share; what comes before damage is kept. */
QVector<QString> readSharedTexts(XlsxZipReader::Part &part);

/**
 * Reads the values of a sheet's cells, without their looks; what comes before damage is kept.
 *
 * Numbers and the errors #DIV/0! (infinity) and #NUM! (not-a-number) become numbers, other errors texts; a formula is
 * its last result, or a text "=..." when the sheet holds none.
 */
void readSheet(XlsxZipReader::Part &part, const QVector<QString> &sharedTexts, XlsxCells &cells);

} // namespace QXlsx
