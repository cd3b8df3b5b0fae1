#include "PlotShell.h"

#include <QProcessEnvironment>
#include <QRegularExpression>
#include <csignal>
#include <unistd.h>

namespace
{

/**
 * A shell in its own session and process group, so that signals of the terminal and the terminal's end do not affect
 * figures. The script leaves the group when it starts.
 */
class Shell : public QProcess
{
public:
    void close() override
    {
        // QProcess::close() waits until the shell has read all input, which a hanging shell never does. Kill it first.
        if (processId() > 0)
            ::kill(-static_cast<pid_t>(processId()), SIGKILL);
        QProcess::close();
    }

protected:
    void setupChildProcess() override { setsid(); }
};

} // namespace

QString plotshell::program()
{
    return QStringLiteral("sh");
}

std::unique_ptr<QProcess> plotshell::makeProcess(const QString &plotDir)
{
    auto process = std::make_unique<Shell>();
    // The output is not read; QProcess would buffer it in memory.
    process->setStandardOutputFile(QProcess::nullDevice());

    // "python" is often missing or has no matplotlib; the "python" in this folder finds a suitable one. PATH is
    // separated by colons, so a folder with a colon in its path is written relative to the working directory.
    const QString folder
        = plotDir.contains(QLatin1Char(':')) ? QStringLiteral("./shell") : plotDir + QStringLiteral("/shell");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString path = environment.value(QStringLiteral("PATH"), QStringLiteral("/usr/local/bin:/usr/bin:/bin"));
    environment.insert(QStringLiteral("PATH"), folder + QLatin1Char(':') + path);
    process->setProcessEnvironment(environment);
    return process;
}

QString plotshell::quoted(const QString &path)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_./-]*\\z"));
    if (plain.match(path).hasMatch())
        return path;
    QString inner = path;
    inner.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + inner + QLatin1Char('\'');
}
