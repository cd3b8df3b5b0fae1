#include "WebRequestFilter.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace
{

bool isLoopback(const QUrl &url)
{
    return url.scheme() == QLatin1String("http") && url.host() == QLatin1String("127.0.0.1");
}

} // namespace

bool WebRequestFilter::isOwnFile(const QUrl &url)
{
    if (!url.isLocalFile() || !url.host().isEmpty())
        return false;
    const QString folder
        = QFileInfo(QCoreApplication::applicationDirPath() + QStringLiteral("/Leaflet")).canonicalFilePath();
    const QString file = QFileInfo(url.toLocalFile()).canonicalFilePath();
    return !folder.isEmpty() && file.startsWith(folder + QLatin1Char('/'));
}

void WebRequestFilter::interceptRequest(QWebEngineUrlRequestInfo &info)
{
    const QUrl url = info.requestUrl();
    const bool isPage = info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeMainFrame;
    const bool isInline = url.scheme() == QLatin1String("data") && !isPage;
    if (!isOwnFile(url) && !isInline && (isPage || !isLoopback(url)))
        info.block(true);
}
