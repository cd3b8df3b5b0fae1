#pragma once

#include "ExportFormat.h"
#include "ExportGroup.h"

namespace ostravel
{

/**
 * Writes a flight as text: a folder with one file for each export group.
 *
 * Files that exist are written over in place, see writeTextFile; the folder is not cleared. A file that cannot be
 * written does not stop the others. When cancelled, the current file ends where it is.
 *
 * @param path folder; it is made when only its last level is missing
 * @return the first error
 */
std::optional<ExportError> writeText(const Flight &flight, const QString &path, const ExportOptions &options = {});

/** Makes the folder of a text export, one level, when it is missing. */
std::optional<ExportError> makeTextFolder(const QString &path);

/** Path of a group's file in the folder of a text export. */
QString textFilePath(const QString &folder, const ExportGroup &group);

/**
 * Writes one group as columns: a line of labels, then one line for each row. Every field is followed by a tab; lines
 * are separated by a line feed on every platform, with none at the end. Labels are in the codec of the locale; numbers
 * are as appendNumber writes them.
 *
 * An existing file is written over from its start and not truncated, so a longer one keeps its tail. A series that is
 * shorter than the first leaves its fields empty.
 *
 * @param proceed called once for each row with the number of values in it; false ends the file before that row
 * @return why the file was not written completely; being stopped by proceed is no error
 */
std::optional<ExportError> writeTextFile(const ExportGroup &group, const QString &path,
                                         const std::function<bool(int values)> &proceed);

} // namespace ostravel
