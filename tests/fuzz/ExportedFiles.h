#pragma once

#include <QByteArray>
#include <QString>

/**
 * Aborts the program if an exported file is not valid in its format, by readers that share no code with the writers.
 *
 * @param format name of the format, as ostravel_export() takes it
 * @param path the file, or the folder of a format of several files
 */
void requireValidExport(const QByteArray &format, const QString &path);
