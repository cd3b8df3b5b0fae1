#pragma once

#include "ExportFormat.h"
#include "ExportGroup.h"
#include "QXlsx.h"

namespace ostravel
{

/**
 * Writes a flight as an Excel workbook: one sheet for each export group that is not for text only.
 *
 * A workbook that stands at path is written over cell by cell and keeps all else; any other file there is renamed to
 * its name and ".old", with a warning. Either is replaced only when the new workbook is complete.
 */
std::optional<ExportError> writeWorkbook(const Flight &flight, const QString &path, const ExportOptions &options = {});

/** Look of the labels in row 1. */
QXlsx::Format titleFormat();
/** Look of the numbers below them. */
QXlsx::Format numberFormat();
/** The view of new sheets: row 1 stays in sight and columns are as wide as their content. */
QXlsx::Document::SheetView sheetView();

/**
 * Writes a group as columns of a sheet, which is added when it is missing: labels in row 1, values below. A series that
 * is shorter than the first leaves the cells below its end untouched.
 *
 * @param proceed called once for each row with the number of values in it; false ends the sheet before that row
 * @return false, with nothing changed, when the sheet of that name holds no cells, such as a chart
 */
bool writeSheet(QXlsx::Document &document, const ExportGroup &group, const std::function<bool(int values)> &proceed);

/** What saveWorkbook did. */
struct SavedWorkbook {
    bool saved = false; ///< the workbook is on disk; otherwise an old file is as it was
    QStringList warnings; ///< what was left out, cut or renamed, or why nothing was saved
    QStringList errors; ///< files in the way that could not be renamed
};

/** Saves a workbook; a file at path that is no workbook is renamed, with one warning that has both names. */
SavedWorkbook saveWorkbook(QXlsx::Document &document, const QString &path);

} // namespace ostravel
