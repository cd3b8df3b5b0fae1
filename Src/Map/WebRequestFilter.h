#pragma once

#include <QUrl>
#include <QWebEngineUrlRequestInterceptor>

/**
 * Lets pages load files of the map's folder, inline data and tiles from loopback, and blocks all other requests.
 *
 * Debian's web engine gets no security support, so it must not meet foreign content.
 */
class WebRequestFilter : public QWebEngineUrlRequestInterceptor
{
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    /** Whether the URL is a file in the folder Leaflet beside the program; a link that leads out of it is not. */
    static bool isOwnFile(const QUrl &url);

    void interceptRequest(QWebEngineUrlRequestInfo &info) override;
};
