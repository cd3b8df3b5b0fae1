#include "WkeStandIn.h"

#include <QLabel>
#include <QSet>
#include <QWidget>

namespace
{

QString &reasonText()
{
    static QString reason = QStringLiteral("尚未加载网页引擎。");
    return reason;
}

/** All labels that exist. Calls for any other view are ignored. */
QSet<QObject *> &labels()
{
    static QSet<QObject *> set;
    return set;
}

QLabel *labelOf(WkeWebView view)
{
    auto *const object = reinterpret_cast<QObject *>(view);
    return labels().contains(object) ? qobject_cast<QLabel *>(object) : nullptr;
}

void initialize(const WkeSettings *) { }

WkeWebView createWebWindow(int, WkeWindow parent, int x, int y, int width, int height)
{
    QWidget *const widget = QWidget::find(reinterpret_cast<WId>(parent));
    if (!widget)
        return nullptr;
    auto *const label = new QLabel(
        QStringLiteral("无法显示地图：%1\n\n仍可点击“在浏览器中打开”在系统浏览器中查看地图。").arg(reasonText()),
        widget);
    label->setObjectName(QStringLiteral("label_noWebEngine"));
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setGeometry(x, y, width, height);
    label->hide();
    labels().insert(label);
    QObject::connect(label, &QObject::destroyed, label, [](QObject *gone) { labels().remove(gone); });
    return reinterpret_cast<WkeWebView>(static_cast<QObject *>(label));
}

void showWindow(WkeWebView view, bool show)
{
    if (QLabel *const label = labelOf(view))
        label->setVisible(show);
}

void loadUrl(WkeWebView, const char *) { }

void resize(WkeWebView view, int width, int height)
{
    if (QLabel *const label = labelOf(view))
        label->resize(width, height);
}

void moveWindow(WkeWebView view, int x, int y, int width, int height)
{
    if (QLabel *const label = labelOf(view))
        label->setGeometry(x, y, width, height);
}

long long runJs(WkeWebView, const char *)
{
    return 0;
}

void finalize() { }

} // namespace

WkeApi wkestandin::table()
{
    return {initialize, createWebWindow, showWindow, loadUrl, resize, moveWindow, runJs, finalize};
}

void wkestandin::setReason(const QString &reason)
{
    reasonText() = reason;
}
