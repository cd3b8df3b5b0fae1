#include "WebView.h"

#include "WebEngine.h"
#include "WebPage.h"

#include <QBackingStore>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QLabel>
#include <QSet>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineView>
#include <algorithm>

namespace
{

/** All views that exist. */
QSet<WebView *> &views()
{
    static QSet<WebView *> set;
    return set;
}

} // namespace

WebView::WebView(QWidget *parent)
    : QWidget(parent)
{
    views().insert(this);
    window()->installEventFilter(this);
    connect(&WebEngine::instance(), &WebEngine::readyToLoad, this, &WebView::loadIfDue);
    connect(&WebEngine::instance(), &WebEngine::ending, this, &WebView::dropPage);
}

WebView::~WebView()
{
    dropPage();
    views().remove(this);
}

WebView *WebView::find(const void *address)
{
    const auto &all = views();
    const auto found = std::find(all.cbegin(), all.cend(), address);
    return found == all.cend() ? nullptr : *found;
}

void WebView::place(const QRect &wanted)
{
    m_wanted = wanted;
    keepClear();
    // The layout that moved the map area moves its neighbours next.
    QMetaObject::invokeMethod(this, &WebView::keepClear, Qt::QueuedConnection);
}

void WebView::load(const QUrl &url)
{
    m_url = url;
    m_isLoaded = false;
    m_isLoadDue = true;
    loadIfDue();
}

void WebView::loadIfDue()
{
    if (!m_isLoadDue || !WebEngine::instance().isReadyToLoad())
        return;
    m_isLoadDue = false;
    if (!m_view)
        makePage();
    m_view->load(m_url);
}

void WebView::run(const QString &script)
{
    if (!m_view && !m_isLoadDue)
        return;
    // The functions of a page exist only after it has loaded.
    if (m_isLoaded)
        m_view->page()->runJavaScript(script, QWebEngineScript::MainWorld);
    else
        m_waitingScripts.append(script);
}

void WebView::dropPage()
{
    forgetPage();
    // Also deletes a view that waits for its deleteLater(): its page must go before the profile.
    qDeleteAll(findChildren<QWebEngineView *>(QString(), Qt::FindDirectChildrenOnly));
}

/** For calls that may come from the page itself: after a failed load, or when the dialog closes. */
void WebView::dropPageLater()
{
    forgetPage();
    if (m_view) {
        m_view->hide();
        m_view->deleteLater();
        m_view = nullptr;
    }
}

/**
 * Releases the picture of the closed dialog, eight megabytes for a full screen. When the dialog is shown again, Qt
 * makes it anew because its size differs.
 */
void WebView::dropPixels()
{
    if (QBackingStore *const store = window()->backingStore())
        store->resize(QSize(1, 1));
}

void WebView::forgetPage()
{
    m_waitingScripts.clear();
    m_isLoaded = false;
    m_isLoadDue = false;
    WebEngine::instance().checkProcess();
}

bool WebView::eventFilter(QObject *watched, QEvent *event)
{
    // The system hides a minimised window (a spontaneous event), the program hides a closed one.
    if (watched == window() && !event->spontaneous()) {
        if (event->type() == QEvent::Hide) {
            dropPageLater();
            dropPixels();
        } else if (event->type() == QEvent::Resize) {
            QMetaObject::invokeMethod(this, &WebView::keepClear, Qt::QueuedConnection);
        } else if (event->type() == QEvent::Show && !m_view && !m_url.isEmpty()) {
            load(m_url);
        }
    }
    return QWidget::eventFilter(watched, event);
}

void WebView::resizeEvent(QResizeEvent *)
{
    if (m_view)
        m_view->resize(size());
    if (m_notice)
        m_notice->resize(size());
}

// The wanted rectangle covers the buttons beside the map, and reaches out of a dialog that is not in the corner of the
// screen. Controls at the edges of the page would be hidden there.
void WebView::keepClear()
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

void WebView::makePage()
{
    delete m_notice;
    m_view = new QWebEngineView(this);
    // The view deletes the page, and the profile lives longer than both.
    m_view->setPage(new WebPage(WebEngine::instance().profile(), m_view));
    announce(m_view->page());
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    m_view->setAcceptDrops(false);
    m_view->page()->setBackgroundColor(palette().color(QPalette::Window));
    connect(m_view, &QWebEngineView::loadFinished, this, &WebView::loadFinished);
    connect(m_view, &QWebEngineView::renderProcessTerminated, this,
            [this](QWebEnginePage::RenderProcessTerminationStatus status) {
                if (status != QWebEnginePage::NormalTerminationStatus)
                    showNotice(QStringLiteral("地图页面已意外终止，请关闭本窗口后重新打开。"));
            });
    m_view->resize(size());
    m_view->show();
}

/** Tells the page what it cannot find out: that this program saves its downloads, and the theme. */
void WebView::announce(QWebEnginePage *page) const
{
    const bool isNight = palette().color(QPalette::Window).lightness() < 128;
    QWebEngineScript script;
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::MainWorld);
    script.setSourceCode(QStringLiteral("window.ostravelHost = { saves: true, night: %1 };")
                             .arg(isNight ? QLatin1String("true") : QLatin1String("false")));
    page->scripts().insert(script);
}

void WebView::loadFinished(bool ok)
{
    if (!ok) {
        m_waitingScripts.clear();
        showNotice(
            m_url.isLocalFile() && !QFileInfo::exists(m_url.toLocalFile())
                ? QStringLiteral("无法显示地图：缺少页面文件 %1").arg(QDir::toNativeSeparators(m_url.toLocalFile()))
                : QStringLiteral("无法显示地图：页面加载失败或被拒绝。"));
        return;
    }
    m_isLoaded = true;
    WebEngine::instance().keepProcess();
    for (const QString &script : qAsConst(m_waitingScripts))
        run(script);
    m_waitingScripts.clear();
}

void WebView::showNotice(const QString &text)
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
