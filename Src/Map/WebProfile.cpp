#include "WebProfile.h"

#include "WkeFileDialogs.h"

#include <QWebEngineDownloadItem>
#include <QWebEnginePage>
#include <QWebEngineSettings>

WebProfile::WebProfile()
    : m_filter(this)
{
    setUrlRequestInterceptor(&m_filter);
    QWebEngineSettings *const settings = this->settings();
    for (QWebEngineSettings::WebAttribute attribute :
         {QWebEngineSettings::PluginsEnabled, QWebEngineSettings::JavascriptCanOpenWindows,
          QWebEngineSettings::JavascriptCanAccessClipboard, QWebEngineSettings::LocalStorageEnabled,
          QWebEngineSettings::HyperlinkAuditingEnabled, QWebEngineSettings::ScreenCaptureEnabled,
          QWebEngineSettings::WebGLEnabled, QWebEngineSettings::PdfViewerEnabled,
          QWebEngineSettings::DnsPrefetchEnabled, QWebEngineSettings::FullScreenSupportEnabled})
        settings->setAttribute(attribute, false);
    // The page is a file and gets the list of layers from the tile service.
    settings->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true);
    connect(this, &QWebEngineProfile::downloadRequested, this, [](QWebEngineDownloadItem *item) {
        // Only data that our own page made; the engine cancels a download that is not accepted.
        if (item->url().scheme() == QLatin1String("blob") && item->page())
            WkeFileDialogs::saveDownload(item->page()->view(), item);
    });
}
