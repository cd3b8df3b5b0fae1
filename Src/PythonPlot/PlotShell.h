#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <memory>

/** The shell that runs the plot script: "cmd" on Windows, "sh" elsewhere. */
namespace plotshell
{

/** The program name of the shell; found through PATH. */
QString program();

/**
 * Creates the process of a shell, not yet started and without a parent.
 *
 * Its close() kills the shell immediately. A script that already shows a figure continues until its last window is
 * closed.
 *
 * @param plotDir absolute path of the folder with the scripts
 */
std::unique_ptr<QProcess> makeProcess(const QString &plotDir);

/** Quotes a path for the shell's command line, if necessary. */
QString quoted(const QString &path);

} // namespace plotshell
