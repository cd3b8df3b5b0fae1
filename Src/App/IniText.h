#pragma once

#include <QByteArray>
#include <QString>

/**
 * The text of an INI file as QSettings reads it: without quotes and line continuations, and with numbered escapes
 * ("\x40", "\100") replaced by their characters.
 *
 * Meant for a search before QSettings opens the file: groups, keys and values stay one text. The escapes of single
 * characters ("\n") become "?". They must not vanish: QSettings writes them as escapes again, so that the words around
 * them stay apart.
 */
QString iniText(const QByteArray &ini);
