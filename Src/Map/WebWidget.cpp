#include "WebWidget.h"

#include <QCoreApplication>
#include <QFile>
#include <QMessageBox>

namespace
{

QString addressOf(const QString &url)
{
    return url.isEmpty() ? QStringLiteral("https://www.bing.com/") : url;
}

} // namespace

WebWidget::WebWidget(const QString &url, QWidget *parent)
    : QWidget(parent)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): Qt returns the native handle as a number
    m_webView = wke.wkeCreateWebWindow(kWkeWindowTypeControl, reinterpret_cast<WkeWindow>(parent->winId()), 0, 0,
                                       width(), height());
    wke.wkeShowWindow(m_webView, true);
    wke.wkeLoadURL(m_webView, addressOf(url).toUtf8().constData());
}

void WebWidget::runJs(const QString &name, const QString &argument)
{
    // A track has several megabytes: allocate the text once, with its full length.
    QString script;
    script.reserve(name.size() + argument.size() + 3);
    script.append(name).append(QLatin1Char('(')).append(argument).append(QLatin1String(");"));
    wke.wkeRunJS(m_webView, script.toUtf8().constData());
}

void WebWidget::runJs2(const QString &name, const QString &first, const QString &second)
{
    const QString script = name + QLatin1Char('(') + first + QLatin1Char(',') + second + QLatin1Char(')');
    wke.wkeRunJS(m_webView, script.toUtf8().constData());
}

void WebWidget::load(const QString &url)
{
    wke.wkeLoadURL(m_webView, addressOf(url).toLocal8Bit().constData());
}

void WebWidget::moveToGlobal()
{
    const QPoint global = mapToGlobal(QPoint(0, 0));
    wke.wkeMoveWindow(m_webView, global.x(), global.y(), width(), height());
}

void WebWidget::startWmts()
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/wmts.exe");
    if (!QFile::exists(path)) {
        QMessageBox::critical(this, QStringLiteral("error"), QStringLiteral("wmts doesnot exists"), QMessageBox::Ok);
        return;
    }
    if (m_wmtsProcess)
        return;
    // Without a parent, and not deleted while it runs: the destructor of QProcess would kill the service.
    m_wmtsProcess = new QProcess;
    m_wmtsProcess->setProgram(path);
    m_wmtsProcess->start(QIODevice::ReadWrite);
    connect(m_wmtsProcess, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &WebWidget::slotProcessQuit);
    connect(m_wmtsProcess, &QProcess::readyReadStandardError, this, &WebWidget::statusFeedbackSlot);
    connect(m_wmtsProcess, &QProcess::readyReadStandardOutput, this, &WebWidget::statusFeedbackSlot);
}

void WebWidget::slotProcessQuit(int, QProcess::ExitStatus)
{
    if (!m_wmtsProcess)
        return;
    disconnect(m_wmtsProcess, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
               &WebWidget::slotProcessQuit);
    disconnect(m_wmtsProcess, &QProcess::readyReadStandardError, this, &WebWidget::statusFeedbackSlot);
    disconnect(m_wmtsProcess, &QProcess::readyReadStandardOutput, this, &WebWidget::statusFeedbackSlot);
    m_wmtsProcess->deleteLater();
    m_wmtsProcess = nullptr;
}

void WebWidget::statusFeedbackSlot() { }

void WebWidget::resizeEvent(QResizeEvent *)
{
    wke.wkeResize(m_webView, width(), height());
    // The window stays at the origin of its parent. Its size is increased by this widget's global position, so that it
    // covers the map area of a maximised dialog.
    const QPoint global = mapToGlobal(QPoint(0, 0));
    wke.wkeMoveWindow(m_webView, 0, 0, width() + global.x(), height() + global.y() / 2);
}
