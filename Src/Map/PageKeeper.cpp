#include "PageKeeper.h"

#include <QUrl>
#include <QVariant>

namespace
{

constexpr int kPatience = 2000; // milliseconds

} // namespace

PageKeeper::PageKeeper(QWebEngineProfile *profile)
    : QWebEnginePage(profile)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatience);
    connect(&m_patience, &QTimer::timeout, this, &QObject::deleteLater);
    connect(this, &QWebEnginePage::renderProcessTerminated, this, &QObject::deleteLater);
    load(QUrl(QStringLiteral("about:blank")));
}

void PageKeeper::ask()
{
    m_isAsked = true;
    m_patience.start();
    runJavaScript(QStringLiteral("0"), [this](const QVariant &answer) {
        // When this page is destroyed, the callback runs too, with an invalid value.
        if (!answer.isValid())
            return;
        m_isAsked = false;
        m_patience.stop();
        emit answered();
    });
}
