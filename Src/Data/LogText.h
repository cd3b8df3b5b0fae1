#pragma once

#include <QString>

/**
 * Prepares a line of a flight for the log.
 *
 * Lines over 64 KiB of UTF-8 are truncated and their length is appended, so that one huge line does not replace the
 * log's history. Control characters other than tabs (U+0000 to U+001F, U+007F to U+009F) are written as "\x" and two
 * lower-case hexadecimal digits, because a terminal that shows the log could execute them. Backslashes are not escaped.
 * Safe from any thread.
 */
QString forLog(const QString &line);
