#include "WkeApi.h"
#include "WkeFileDialogs.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLoggingCategory>
#include <QPointer>
#include <QQuickWindow>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <QWebEngineDownloadItem>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>
#include <QWidget>
#include <unistd.h>

// The engine's eight entry points over Qt's web engine: a library of its own, since the engine is large. It shows
// nothing but the program's own page and what loopback gives it: Debian's engine has no security support.

namespace
{

Q_LOGGING_CATEGORY(lcPage, "ostravel.page", QtFatalMsg)

// What the engine reads at its start, and no program that is started later.
constexpr const char *kNoSandbox = "QTWEBENGINE_DISABLE_SANDBOX";
constexpr const char *kFlags = "QTWEBENGINE_CHROMIUM_FLAGS";

/** A file of the map's folder, links followed, so that none leads out of it. */
bool isOwnFile(const QUrl &url)
{
    if (!url.isLocalFile() || !url.host().isEmpty())
        return false;
    const QString folder
        = QFileInfo(QCoreApplication::applicationDirPath() + QStringLiteral("/Leaflet")).canonicalFilePath();
    const QString file = QFileInfo(url.toLocalFile()).canonicalFilePath();
    return !folder.isEmpty() && file.startsWith(folder + QLatin1Char('/'));
}

bool isLoopback(const QUrl &url)
{
    return url.scheme() == QLatin1String("http") && url.host() == QLatin1String("127.0.0.1");
}

class Interceptor : public QWebEngineUrlRequestInterceptor
{
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo &info) override
    {
        const QUrl url = info.requestUrl();
        const bool isPage = info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeMainFrame;
        const bool isInline = url.scheme() == QLatin1String("data") && !isPage;
        if (!isOwnFile(url) && !isInline && (isPage || !isLoopback(url)))
            info.block(true);
    }
};

/** Nothing of it is kept on disk. */
class Profile : public QWebEngineProfile
{
public:
    Profile()
        : m_interceptor(this)
    {
        setUrlRequestInterceptor(&m_interceptor);
        QWebEngineSettings *const settings = this->settings();
        for (QWebEngineSettings::WebAttribute attribute :
             {QWebEngineSettings::PluginsEnabled, QWebEngineSettings::JavascriptCanOpenWindows,
              QWebEngineSettings::JavascriptCanAccessClipboard, QWebEngineSettings::LocalStorageEnabled,
              QWebEngineSettings::HyperlinkAuditingEnabled, QWebEngineSettings::ScreenCaptureEnabled,
              QWebEngineSettings::WebGLEnabled, QWebEngineSettings::PdfViewerEnabled,
              QWebEngineSettings::DnsPrefetchEnabled, QWebEngineSettings::FullScreenSupportEnabled})
            settings->setAttribute(attribute, false);
        // The list of layers comes from the tile service, the page from a file.
        settings->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true);
        connect(this, &QWebEngineProfile::downloadRequested, this, [](QWebEngineDownloadItem *item) {
            // What our own page has made; an item that is not accepted is cancelled.
            if (item->url().scheme() == QLatin1String("blob") && item->page())
                WkeFileDialogs::saveDownload(item->page()->view(), item);
        });
    }

private:
    Interceptor m_interceptor;
};

class Page : public QWebEnginePage
{
public:
    using QWebEnginePage::QWebEnginePage;

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType, bool isMainFrame) override
    {
        return isMainFrame && isOwnFile(url);
    }
    QWebEnginePage *createWindow(WebWindowType) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode mode, const QStringList &, const QStringList &) override
    {
        // A whole folder is nothing that the page asks for.
        if (mode != FileSelectOpen && mode != FileSelectOpenMultiple)
            return {};
        return WkeFileDialogs::chooseFiles(view(), mode == FileSelectOpenMultiple);
    }
    void javaScriptAlert(const QUrl &, const QString &) override { }
    bool javaScriptConfirm(const QUrl &, const QString &) override { return false; }
    bool javaScriptPrompt(const QUrl &, const QString &, const QString &, QString *) override { return false; }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &message, int line,
                                  const QString &source) override
    {
        qCDebug(lcPage) << source << line << message;
    }
};

void loadDuePages();

/**
 * An empty page in the process that all pages share. It keeps that process while no dialog is open: the start of one
 * is nearly half of an opening.
 *
 * A page may leave the process with endless work. So the keeper asks it at each page's end, and the next page waits for
 * the answer or, when there is none, for the end of keeper and process.
 */
class Keeper : public QWebEnginePage
{
public:
    explicit Keeper(QWebEngineProfile *profile)
        : QWebEnginePage(profile)
    {
        m_patience.setSingleShot(true);
        m_patience.setInterval(kPatience);
        connect(&m_patience, &QTimer::timeout, this, &QObject::deleteLater);
        connect(this, &QWebEnginePage::renderProcessTerminated, this, &QObject::deleteLater);
        // By then the page is gone, and its process is no longer the next page's.
        connect(this, &QObject::destroyed, [] { loadDuePages(); });
        load(QUrl(QStringLiteral("about:blank")));
    }

    void ask()
    {
        m_isAsked = true;
        m_patience.start();
        runJavaScript(QStringLiteral("0"), [this](const QVariant &answer) {
            // The page's own end answers too, with nothing.
            if (!answer.isValid())
                return;
            m_isAsked = false;
            m_patience.stop();
            loadDuePages();
        });
    }
    bool isAsked() const { return m_isAsked; }

private:
    static constexpr int kPatience = 2000; // milliseconds

    QTimer m_patience;
    bool m_isAsked = false;
};

class View;

struct Engine {
    int users = 0;
    Profile *profile = nullptr;
    QPointer<Keeper> keeper;
    QSet<View *> views;
};

/** Never destroyed: what is left of it at the end of the process, the system takes. */
Engine &engine()
{
    static auto *const engine = new Engine;
    return *engine;
}

/**
 * One engine window. The page lives while the window that holds it is open: a closed map dialog stays in memory, and a
 * page costs much of it.
 */
class View : public QWidget
{
public:
    explicit View(QWidget *parent)
        : QWidget(parent)
    {
        engine().views.insert(this);
        window()->installEventFilter(this);
    }

    ~View() override
    {
        dropPage();
        engine().views.remove(this);
    }

    /** Takes this place, but for what lies outside the parent and what the widgets above it, on its right, need. */
    void place(const QRect &wanted)
    {
        m_wanted = wanted;
        keepClear();
        // The layout that moved the map area moves its neighbours next.
        QMetaObject::invokeMethod(this, &View::keepClear, Qt::QueuedConnection);
    }
    const QRect &wanted() const { return m_wanted; }

    void load(const QUrl &url)
    {
        m_url = url;
        m_loaded = false;
        m_isDue = true;
        loadDue();
    }

    void loadDue()
    {
        if (!m_isDue || (engine().keeper && engine().keeper->isAsked()))
            return;
        m_isDue = false;
        if (!m_view)
            makePage();
        m_view->load(m_url);
    }

    void run(const QString &script)
    {
        if (!m_view && !m_isDue)
            return;
        // A page that is still loading has none of its functions yet.
        if (m_loaded)
            m_view->page()->runJavaScript(script, QWebEngineScript::MainWorld);
        else
            m_waiting.append(script);
    }

    void dropPage()
    {
        forgetPage();
        // One that waits for its deletion is among them: its page has to go before the profile.
        qDeleteAll(findChildren<QWebEngineView *>(QString(), Qt::FindDirectChildrenOnly));
    }

    /** For calls from the page itself: a failed load, or whatever closes the dialog. */
    void dropPageLater()
    {
        forgetPage();
        if (m_view) {
            m_view->hide();
            m_view->deleteLater();
            m_view = nullptr;
        }
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // A minimised window is hidden by the system, a closed one by the program.
        if (watched == window() && !event->spontaneous()) {
            if (event->type() == QEvent::Hide)
                dropPageLater();
            else if (event->type() == QEvent::Resize)
                QMetaObject::invokeMethod(this, &View::keepClear, Qt::QueuedConnection);
            else if (event->type() == QEvent::Show && !m_view && !m_url.isEmpty())
                load(m_url);
        }
        return QWidget::eventFilter(watched, event);
    }

protected:
    // The page hands back the keys that it has no use for, and the dialog would take Return for its first button.
    void keyPressEvent(QKeyEvent *) override { }
    void keyReleaseEvent(QKeyEvent *) override { }

    void resizeEvent(QResizeEvent *) override
    {
        if (m_view)
            m_view->resize(size());
        if (m_notice)
            m_notice->resize(size());
    }

private:
    void forgetPage()
    {
        m_waiting.clear();
        m_loaded = false;
        m_isDue = false;
        if (engine().keeper)
            engine().keeper->ask();
    }

    // The window that is asked for reaches over the buttons beside the map and out of the dialog wherever that does
    // not begin at the screen's corner; what the page has at its edges would be out of sight.
    void keepClear()
    {
        QRect rect = m_wanted.intersected(parentWidget()->rect());
        bool above = false;
        for (QObject *const child : parentWidget()->children()) {
            const auto *const sibling = qobject_cast<QWidget *>(child);
            if (sibling == this)
                above = true;
            else if (above && sibling && !sibling->isWindow() && sibling->isVisible() && sibling->x() > rect.x()
                     && rect.intersects(sibling->geometry()))
                rect.setRight(sibling->x() - 1);
        }
        setGeometry(rect);
    }

    void makePage()
    {
        delete m_notice;
        m_view = new QWebEngineView(this);
        // Deleted with the view; the profile lives longer.
        m_view->setPage(new Page(engine().profile, m_view));
        announce(m_view->page());
        m_view->setContextMenuPolicy(Qt::NoContextMenu);
        m_view->setAcceptDrops(false);
        m_view->page()->setBackgroundColor(palette().color(QPalette::Window));
        connect(m_view, &QWebEngineView::loadFinished, this, [this](bool ok) { loadFinished(ok); });
        connect(m_view, &QWebEngineView::renderProcessTerminated, this,
                [this](QWebEnginePage::RenderProcessTerminationStatus status) {
                    if (status != QWebEnginePage::NormalTerminationStatus)
                        showNotice(QStringLiteral("地图页面已意外终止，请关闭本窗口后重新打开。"));
                });
        m_view->resize(size());
        m_view->show();
    }

    /** What the page cannot find out: that a download is saved here, and the program's theme. */
    void announce(QWebEnginePage *page) const
    {
        const bool isNight = palette().color(QPalette::Window).lightness() < 128;
        QWebEngineScript script;
        script.setInjectionPoint(QWebEngineScript::DocumentCreation);
        script.setWorldId(QWebEngineScript::MainWorld);
        script.setSourceCode(QStringLiteral("window.ostravelHost = { saves: true, night: %1 };")
                                 .arg(isNight ? QLatin1String("true") : QLatin1String("false")));
        page->scripts().insert(script);
    }

    void loadFinished(bool ok)
    {
        if (!ok) {
            m_waiting.clear();
            showNotice(
                m_url.isLocalFile() && !QFileInfo::exists(m_url.toLocalFile())
                    ? QStringLiteral("无法显示地图：缺少页面文件 %1").arg(QDir::toNativeSeparators(m_url.toLocalFile()))
                    : QStringLiteral("无法显示地图：页面加载失败或被拒绝。"));
            return;
        }
        m_loaded = true;
        if (!engine().keeper)
            engine().keeper = new Keeper(engine().profile);
        for (const QString &script : qAsConst(m_waiting))
            run(script);
        m_waiting.clear();
    }

    void showNotice(const QString &text)
    {
        if (!m_notice) {
            m_notice = new QLabel(this);
            m_notice->setObjectName(QStringLiteral("label_pageNotice"));
            m_notice->setAlignment(Qt::AlignCenter);
            m_notice->setWordWrap(true);
            m_notice->setTextFormat(Qt::PlainText);
            m_notice->resize(size());
        }
        m_notice->setText(text);
        m_notice->show();
        dropPageLater();
    }

    QRect m_wanted;
    QPointer<QWebEngineView> m_view;
    QPointer<QLabel> m_notice;
    QUrl m_url;
    QStringList m_waiting;
    bool m_isDue = false; // a load that waits for the shared process
    bool m_loaded = false;
};

void loadDuePages()
{
    const QSet<View *> views = engine().views;
    for (View *const view : views)
        view->loadDue();
}

/** The view behind a handle, or null when it went with its dialog. */
View *viewOf(WkeWebView handle)
{
    auto *const view = reinterpret_cast<View *>(handle);
    return engine().views.contains(view) ? view : nullptr;
}

} // namespace

#define WKE_EXPORT extern "C" __attribute__((visibility("default")))

WKE_EXPORT void wkeInitializeEx(const WkeSettings *)
{
    if (engine().users++ > 0)
        return;
    // Drawn by software: nothing has asked for shared OpenGL contexts before the application object was made, and a
    // screen without OpenGL (a remote one, a virtual one) would end the process.
    static const bool chosen = [] {
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
        return true;
    }();
    Q_UNUSED(chosen)
    // The engine refuses to run its sandbox as the system's administrator, and for nobody else is it switched off.
    if (geteuid() == 0)
        qputenv(kNoSandbox, "1");
    else
        qunsetenv(kNoSandbox);
    // All pages are our own and share one process; what a user gives the engine stays.
    const bool hasFlags = qEnvironmentVariableIsSet(kFlags);
    const QByteArray flags = qgetenv(kFlags);
    qputenv(kFlags, flags + " --renderer-process-limit=1");
    if (!engine().profile)
        engine().profile = new Profile;
    qunsetenv(kNoSandbox);
    if (hasFlags)
        qputenv(kFlags, flags);
    else
        qunsetenv(kFlags);
}

WKE_EXPORT WkeWebView wkeCreateWebWindow(int, WkeWindow parent, int x, int y, int width, int height)
{
    QWidget *const widget = QWidget::find(reinterpret_cast<WId>(parent));
    if (!widget || !engine().profile)
        return nullptr;
    auto *const view = new View(widget);
    view->place(QRect(x, y, width, height));
    view->hide();
    return reinterpret_cast<WkeWebView>(view);
}

WKE_EXPORT void wkeShowWindow(WkeWebView handle, bool show)
{
    if (View *const view = viewOf(handle))
        view->setVisible(show);
}

WKE_EXPORT void wkeLoadURL(WkeWebView handle, const char *url)
{
    View *const view = viewOf(handle);
    if (!view)
        return;
    const QString text = QString::fromUtf8(url);
    view->load(QDir::isAbsolutePath(text) ? QUrl::fromLocalFile(text) : QUrl(text));
}

WKE_EXPORT void wkeResize(WkeWebView handle, int width, int height)
{
    if (View *const view = viewOf(handle))
        view->place(QRect(view->wanted().topLeft(), QSize(width, height)));
}

WKE_EXPORT void wkeMoveWindow(WkeWebView handle, int x, int y, int width, int height)
{
    if (View *const view = viewOf(handle))
        view->place(QRect(x, y, width, height));
}

WKE_EXPORT long long wkeRunJS(WkeWebView handle, const char *script)
{
    if (View *const view = viewOf(handle))
        view->run(QString::fromUtf8(script));
    return 0;
}

WKE_EXPORT void wkeFinalize()
{
    // Each dialog starts the engine and ends it; another may still be under the window.
    if (engine().users == 0 || --engine().users > 0)
        return;
    const QSet<View *> views = engine().views;
    for (View *const view : views)
        view->dropPage();
    delete engine().keeper;
    delete engine().profile;
    engine().profile = nullptr;
}
