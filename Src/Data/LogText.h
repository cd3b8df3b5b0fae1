#pragma once

#include <QString>

/**
 * A line of a flight as it goes to the log.
 *
 * Whole up to 64 KiB of UTF-8, so that one endless line does not fill the log's history; a longer one is cut and its
 * length added. A control character other than a tab stands as "\x" and two lower-case hexadecimal digits, since the
 * log also goes to a terminal, which may obey it: U+0000 to U+001F, U+007F, and U+0080 to U+009F as "\x80" to "\x9f". A
 * backslash of the line stays as it is. Any thread.
 */
QString forLog(const QString &line);
