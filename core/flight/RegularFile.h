#pragma once

#include <QString>

namespace ostravel
{

/**
 * Whether a path leads to something that must not be opened as a file: a pipe blocks whoever opens it, a device may
 * never end, a folder has no bytes.
 *
 * A link counts as what it leads to. What does not exist is no such thing: the caller's own open() reports it, or makes
 * it. Any thread.
 */
bool isOtherThanRegularFile(const QString &path);

} // namespace ostravel
