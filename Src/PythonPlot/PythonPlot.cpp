#include "PythonPlot.h"

#include "Logging.h"
#include "PlotShell.h"

#include <QCoreApplication>
#include <QProcessEnvironment>
#include <exception>

namespace
{

constexpr int kStartTimeoutMs = 30000;

} // namespace

struct PythonPlot::Plot {
    const char *argument; // argument of the script
    const char *name; // name in the log
    bool logsReason; // log the reason of a write error
    bool usesLocalCodec; // encode the folder by the local codec, otherwise as UTF-8
};

// Indexed by Kind. The differences between the rows are intended.
// clang-format off
const std::array<PythonPlot::Plot, PythonPlot::KindCount> PythonPlot::kPlots{{
    {"Height", "height", true,  false},
    {"XY",     "xy",     true,  false},
    {"XYZ",    "XYZ",    true,  false},
    {"Attack", "attack", false, false},
    {"Demo1",  "demo",   false, true},
}};
// clang-format on

PythonPlot::PythonPlot(QObject *parent)
    : QObject(parent)
    , m_appDirPath(QCoreApplication::applicationDirPath())
{
}

PythonPlot::~PythonPlot()
{
    for (const Shell &shell : m_shells) {
        if (shell)
            shell->close();
    }
}

bool PythonPlot::init()
{
    return true;
}

void PythonPlot::plotHeightSlot()
{
    plot(Height);
}

void PythonPlot::plotXYSlot()
{
    plot(XY);
}

void PythonPlot::plotXYZSlot()
{
    plot(XYZ);
}

void PythonPlot::plotAttackSlot()
{
    plot(Attack);
}

void PythonPlot::pythonPlotDemo()
{
    plot(Demo);
}

void PythonPlot::plot(Kind kind)
{
    const Plot &row = kPlots[kind];
    Shell &shell = m_shells[kind];
    try {
        if (!shell) {
            start(shell);
            const QString line = changeFolderLine();
            writeLine(*shell, row.usesLocalCodec ? line.toLocal8Bit() : line.toUtf8());
        }
        writeLine(*shell, QByteArrayLiteral("python pythonPlot.py ") + row.argument + '\n');
    } catch (const std::exception &exception) {
        if (row.logsReason)
            logToBoth(error, "pyplot {} error:{}", row.name, exception.what());
        else
            logToBoth(error, "pyplot {} error", row.name);
    }
}

void PythonPlot::writeLine(QProcess &process, const QByteArray &line)
{
    process.write(line);
}

QString PythonPlot::plotDir() const
{
    return m_appDirPath + QStringLiteral("/myPlot");
}

QString PythonPlot::changeFolderLine() const
{
    return QStringLiteral("cd ") + plotshell::quoted(plotDir()) + QLatin1Char('\n');
}

void PythonPlot::start(Shell &shell)
{
    shell = plotshell::makeProcess(plotDir());
    QProcess *const process = shell.get();
    const auto logErrors = [process] {
        logToBoth(error, "{}", "pyplot error:" + QString::fromLocal8Bit(process->readAllStandardError()));
    };
    connect(process, &QProcess::readyReadStandardError, this, logErrors, Qt::DirectConnection);
    if (m_figureArea.isValid()) {
        // The lines written to the shell are fixed, so the area is passed as an environment variable. It is set when
        // the shell of this kind starts, so the dialog's position at the first click is used.
        QProcessEnvironment environment = process->processEnvironment();
        if (environment.isEmpty())
            environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("OSTRAVEL_FIGURE_AREA"),
                           QStringLiteral("%1 %2 %3 %4")
                               .arg(m_figureArea.x())
                               .arg(m_figureArea.y())
                               .arg(m_figureArea.width())
                               .arg(m_figureArea.height()));
        process->setProcessEnvironment(environment);
    }
    process->setProgram(plotshell::program());
    process->start(QIODevice::ReadWrite);
    // A failed start is ignored: later writes then have no effect.
    process->waitForStarted(kStartTimeoutMs);
}
