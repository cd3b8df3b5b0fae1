#include "WebEngine.h"

#include <QQuickWindow>
#include <unistd.h>

namespace
{

// The engine reads these variables when it starts; programs that we start later must not inherit them.
constexpr const char *kNoSandbox = "QTWEBENGINE_DISABLE_SANDBOX";
constexpr const char *kFlags = "QTWEBENGINE_CHROMIUM_FLAGS";

/** Starts the engine's own processes, with our flags in the environment for that time only. */
WebProfile *makeProfile()
{
    // The engine refuses to run its sandbox for the system's administrator. The sandbox is on for everybody else.
    if (geteuid() == 0)
        qputenv(kNoSandbox, "1");
    else
        qunsetenv(kNoSandbox);
    // All pages are our own and share one process. The user's own flags stay.
    const bool hasFlags = qEnvironmentVariableIsSet(kFlags);
    const QByteArray flags = qgetenv(kFlags);
    qputenv(kFlags, flags + " --renderer-process-limit=1");
    auto *const profile = new WebProfile;
    qunsetenv(kNoSandbox);
    if (hasFlags)
        qputenv(kFlags, flags);
    else
        qunsetenv(kFlags);
    return profile;
}

} // namespace

WebEngine &WebEngine::instance()
{
    static auto *const engine = new WebEngine;
    return *engine;
}

void WebEngine::start()
{
    if (m_users++ > 0)
        return;
    // Software rendering: the application did not ask for shared OpenGL contexts before it was created, and on a screen
    // without OpenGL (remote, virtual) the process would end.
    static const bool chosen = [] {
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
        return true;
    }();
    Q_UNUSED(chosen)
    m_profile = makeProfile();
}

void WebEngine::end()
{
    if (m_users == 0 || --m_users > 0)
        return;
    emit ending();
    delete m_keeper;
    delete m_profile;
    m_profile = nullptr;
}

void WebEngine::keepProcess()
{
    if (m_keeper)
        return;
    m_keeper = new PageKeeper(m_profile);
    connect(m_keeper, &PageKeeper::answered, this, &WebEngine::readyToLoad);
    // The keeper's process has ended with it, so the next page gets a new one.
    connect(m_keeper, &QObject::destroyed, this, &WebEngine::readyToLoad);
}

void WebEngine::checkProcess()
{
    if (m_keeper)
        m_keeper->ask();
}

bool WebEngine::isReadyToLoad() const
{
    return !m_keeper || !m_keeper->isAsked();
}
