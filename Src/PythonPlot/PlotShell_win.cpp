#include "PlotShell.h"

QString plotshell::program()
{
    return QStringLiteral("cmd");
}

std::unique_ptr<QProcess> plotshell::makeProcess(const QString &)
{
    auto process = std::make_unique<QProcess>();
    // Nobody reads the shell's output: in a pipe it would pile up in memory.
    process->setStandardOutputFile(QProcess::nullDevice());
    return process;
}

QString plotshell::quoted(const QString &path)
{
    // The "cd" of cmd takes the whole rest of the line as the path, blanks included.
    return path;
}
