#include "PlotShell.h"

QString plotshell::program()
{
    return QStringLiteral("cmd");
}

std::unique_ptr<QProcess> plotshell::makeProcess(const QString &)
{
    auto process = std::make_unique<QProcess>();
    // The output is not read; QProcess would buffer it in memory.
    process->setStandardOutputFile(QProcess::nullDevice());
    return process;
}

QString plotshell::quoted(const QString &path)
{
    // The "cd" command of cmd uses the rest of the line as the path, including spaces.
    return path;
}
