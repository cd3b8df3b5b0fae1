// The engine's eight entry points over Qt's web engine. They are a library of their own, because the engine is large
// and most runs of the program never open the map.

#include "WebEngine.h"
#include "WebView.h"
#include "WkeApi.h"

#include <QDir>

#define WKE_EXPORT extern "C" __attribute__((visibility("default")))

WKE_EXPORT void wkeInitializeEx(const WkeSettings *)
{
    WebEngine::instance().start();
}

WKE_EXPORT WkeWebView wkeCreateWebWindow(int, WkeWindow parent, int x, int y, int width, int height)
{
    QWidget *const widget = QWidget::find(reinterpret_cast<WId>(parent));
    if (!widget || !WebEngine::instance().profile())
        return nullptr;
    auto *const view = new WebView(widget);
    view->place(QRect(x, y, width, height));
    view->hide();
    return reinterpret_cast<WkeWebView>(view);
}

WKE_EXPORT void wkeShowWindow(WkeWebView handle, bool show)
{
    if (WebView *const view = WebView::find(handle))
        view->setVisible(show);
}

WKE_EXPORT void wkeLoadURL(WkeWebView handle, const char *url)
{
    WebView *const view = WebView::find(handle);
    if (!view)
        return;
    const QString text = QString::fromUtf8(url);
    view->load(QDir::isAbsolutePath(text) ? QUrl::fromLocalFile(text) : QUrl(text));
}

WKE_EXPORT void wkeResize(WkeWebView handle, int width, int height)
{
    if (WebView *const view = WebView::find(handle))
        view->place(QRect(view->wanted().topLeft(), QSize(width, height)));
}

WKE_EXPORT void wkeMoveWindow(WkeWebView handle, int x, int y, int width, int height)
{
    if (WebView *const view = WebView::find(handle))
        view->place(QRect(x, y, width, height));
}

WKE_EXPORT long long wkeRunJS(WkeWebView handle, const char *script)
{
    if (WebView *const view = WebView::find(handle))
        view->run(QString::fromUtf8(script));
    return 0;
}

WKE_EXPORT void wkeFinalize()
{
    WebEngine::instance().end();
}
