#include "PythonPlot.h"

#include "Logging.h"
#include "PlotShell.h"

#include <QCoreApplication>
#include <QProcessEnvironment>
#include <exception>

namespace
{

constexpr int kStartPatience = 30000; // ms

} // namespace

PythonPlot::PythonPlot(QObject *parent)
    : QObject(parent)
    , m_appDirPath(QCoreApplication::applicationDirPath())
{
}

PythonPlot::~PythonPlot()
{
    for (const Shell *shell : {&m_heightShell, &m_xyShell, &m_xyzShell, &m_attackShell, &m_demoShell}) {
        if (*shell)
            (*shell)->close();
    }
}

bool PythonPlot::init()
{
    return true;
}

void PythonPlot::plotHeightSlot()
{
    try {
        run(m_heightShell, changeFolderLine().toUtf8(), "python pythonPlot.py Height\n");
    } catch (const std::exception &exception) {
        logToBoth(error, "pyplot height error:{}", exception.what());
    }
}

void PythonPlot::plotXYSlot()
{
    try {
        run(m_xyShell, changeFolderLine().toUtf8(), "python pythonPlot.py XY\n");
    } catch (const std::exception &exception) {
        logToBoth(error, "pyplot xy error:{}", exception.what());
    }
}

void PythonPlot::plotXYZSlot()
{
    try {
        run(m_xyzShell, changeFolderLine().toUtf8(), "python pythonPlot.py XYZ\n");
    } catch (const std::exception &exception) {
        logToBoth(error, "pyplot XYZ error:{}", exception.what());
    }
}

void PythonPlot::plotAttackSlot()
{
    try {
        run(m_attackShell, changeFolderLine().toUtf8(), "python pythonPlot.py Attack\n");
    } catch (const std::exception &) {
        logToBoth(error, "pyplot attack error");
    }
}

void PythonPlot::pythonPlotDemo()
{
    try {
        // The one line that goes out in the local 8-bit code.
        run(m_demoShell, changeFolderLine().toLocal8Bit(), "python pythonPlot.py Demo1\n");
    } catch (const std::exception &) {
        logToBoth(error, "pyplot demo error");
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

void PythonPlot::run(Shell &shell, const QByteArray &changeFolder, const char *command)
{
    if (!shell) {
        start(shell);
        writeLine(*shell, changeFolder);
    }
    writeLine(*shell, command);
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
        // The lines that are written to the shell are fixed, so the script learns of it by its environment.
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
    // A shell that does not start goes unnoticed: what is written to it goes nowhere.
    process->waitForStarted(kStartPatience);
}
