#include "Updater.h"

#include "Logging.h"
#include "Release.h"

#include <QCoreApplication>
#include <QProcess>

namespace
{

constexpr int kStartMilliseconds = 30000;

// Deleting a QProcess kills its program, so a running one is never deleted. This pointer makes it reachable for the
// leak checker; volatile, because the compiler would remove a variable that is never read.
QProcess *volatile runningUpdater = nullptr;

} // namespace

Updater::~Updater()
{
    if (m_process && m_process->state() != QProcess::NotRunning)
        runningUpdater = m_process;
    else
        delete m_process;
}

void Updater::start()
{
    if (!m_process)
        m_process = new QProcess; // no parent: see the destructor
    m_process->start(QStringLiteral("updater.exe"),
                     {QCoreApplication::applicationName(), QString::fromLatin1(kVersion),
                      buildDateText(buildDateTime()), QString::number(kBuildCounter)},
                     QIODevice::ReadWrite);
    if (!m_process->waitForStarted(kStartMilliseconds))
        logToBoth(error, "updater.exe does not start: {}", m_process->errorString());
}
