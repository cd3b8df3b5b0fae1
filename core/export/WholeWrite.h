#pragma once

#include <QByteArray>
#include <QFileDevice>

/**
 * @file
 * Writing to a disk that may fill up. It takes the first part of a block without an error; only an attempt to write the
 * rest gives the system's reason, so these functions make that attempt. They return false, with the reason in
 * file.errorString(), when a part could not be written. The files must be open for writing.
 *
 * The workbook library, which knows no other code, does the same in XlsxTarget::commit.
 */

namespace ostravel
{

/** Writes all bytes; the last ones may wait in the buffer of the file. */
[[nodiscard]] bool writeAll(QFileDevice &file, const char *bytes, qint64 size);
/** Writes what waits in the buffer of the file. */
[[nodiscard]] bool flushAll(QFileDevice &file);
/** Writes all bytes and flushes them. */
[[nodiscard]] bool writeWhole(QFileDevice &file, const QByteArray &bytes);

} // namespace ostravel
