#pragma once

#include <QString>

namespace ostravel
{

/**
 * Whether a path exists and is not a regular file. Opening a pipe may block, and reading a device may never end.
 *
 * Follows symbolic links. Returns false for a path that does not exist: the caller's open() then reports or creates it.
 * Safe from any thread.
 */
bool isOtherThanRegularFile(const QString &path);

} // namespace ostravel
