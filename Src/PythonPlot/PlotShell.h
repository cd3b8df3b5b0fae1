#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <memory>

/** The shell in which a plot script runs: "cmd" on Windows, "sh" elsewhere. */
namespace plotshell
{

/** The name by which the shell is started; it is looked up in the search path. */
QString program();

/**
 * Makes the process of a shell, not started and without a parent.
 *
 * Its close() stops the shell at once. A script that draws by then runs on, and ends with its last window.
 *
 * @param plotDir absolute path of the folder that holds the scripts
 */
std::unique_ptr<QProcess> makeProcess(const QString &plotDir);

/** A path as the shell's command line needs it: quoted where the shell would take it for more than one word. */
QString quoted(const QString &path);

} // namespace plotshell
