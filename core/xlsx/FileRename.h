#pragma once

#include <QString>

namespace QXlsx
{

/**
 * Gives a file or folder another name on its file system; a file of that name is replaced in one step. QFile would not
 * replace, and would copy what it cannot rename.
 *
 * @return an empty text, or what the system says. Does not throw. Any thread
 */
QString renamed(const QString &from, const QString &to);

} // namespace QXlsx
