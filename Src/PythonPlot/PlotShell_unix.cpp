#include "PlotShell.h"

#include <QProcessEnvironment>
#include <QRegularExpression>
#include <csignal>
#include <unistd.h>

namespace
{

/**
 * A shell at the head of a process group and a session of its own, so that neither the terminal from which the program
 * was started nor its end reaches a figure. A script leaves the group as soon as it runs.
 */
class Shell : public QProcess
{
public:
    void close() override
    {
        // QProcess would first wait until the shell has taken all that was written, which a hanging one never does.
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
    // Nobody reads the shell's output: in a pipe it would pile up in memory.
    process->setStandardOutputFile(QProcess::nullDevice());

    // A bare "python" is often missing, or is one without matplotlib; the one in this folder finds the right one. A
    // colon parts the folders of the search path, so a path that holds one is written relative to the working folder.
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
