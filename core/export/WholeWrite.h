#pragma once

#include <QByteArray>
#include <QFileDevice>

namespace ostravel
{

/**
 * Writes all bytes; some may still be in the file's buffer.
 *
 * A disk that fills up takes the first part of a block without an error. Only an attempt to write the rest gives the
 * system's reason, so this makes that attempt.
 *
 * @param file open for writing
 * @return false, with the system's reason in file.errorString(), when a part could not be written
 */
[[nodiscard]] bool writeAll(QFileDevice &file, const char *data, qint64 size);

/** The same, and flushes the file. */
[[nodiscard]] bool writeWhole(QFileDevice &file, const QByteArray &bytes);

} // namespace ostravel
