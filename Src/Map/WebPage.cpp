#include "WebPage.h"

#include "WebRequestFilter.h"
#include "WkeFileDialogs.h"

#include <QLoggingCategory>

namespace
{

Q_LOGGING_CATEGORY(lcPage, "ostravel.page", QtFatalMsg)

} // namespace

bool WebPage::acceptNavigationRequest(const QUrl &url, NavigationType, bool isMainFrame)
{
    return isMainFrame && WebRequestFilter::isOwnFile(url);
}

QWebEnginePage *WebPage::createWindow(WebWindowType)
{
    return nullptr;
}

QStringList WebPage::chooseFiles(FileSelectionMode mode, const QStringList &, const QStringList &)
{
    // The page never asks for a whole folder.
    if (mode != FileSelectOpen && mode != FileSelectOpenMultiple)
        return {};
    return WkeFileDialogs::chooseFiles(view(), mode == FileSelectOpenMultiple);
}

void WebPage::javaScriptAlert(const QUrl &, const QString &) { }

bool WebPage::javaScriptConfirm(const QUrl &, const QString &)
{
    return false;
}

bool WebPage::javaScriptPrompt(const QUrl &, const QString &, const QString &, QString *)
{
    return false;
}

void WebPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &message, int line,
                                       const QString &source)
{
    qCDebug(lcPage) << source << line << message;
}
