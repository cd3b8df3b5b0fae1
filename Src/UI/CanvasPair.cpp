#include "CanvasPair.h"

#include "AlignedMargins.h"
#include "CanvasKeys.h"
#include "CanvasPicture.h"
#include "ChannelStore.h"
#include "Logging.h"
#include "MyCustomPlot.h"
#include "SettingDialog.h"
#include "SettingDialog_2.h"
#include "ViewHistory.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QWidget>

CanvasPair::CanvasPair(MyCustomPlot *upper, MyCustomPlot *lower, QWidget *window)
    : QObject(window)
    , m_upper(upper)
    , m_lower(lower)
    , m_window(window)
{
    AlignedMargins::join(upper->plot(), lower->plot());
    for (MyCustomPlot *each : {upper, lower})
        each->setCanvasOf([this](const MyGraph *graph) { return controllerOf(graph); });
    connect(upper, &MyCustomPlot::doSwapPosSignal, lower, [lower](MyGraph *graph) { lower->myAddGraph(graph, true); });
    connect(lower, &MyCustomPlot::doSwapPosSignal, upper, [upper](MyGraph *graph) { upper->myAddGraph(graph, true); });
    setUpKeys();
}

MyCustomPlot *CanvasPair::controllerOf(const MyGraph *graph) const
{
    return graph->position() == MyGraph::SecondCanvas ? m_lower : m_upper;
}

void CanvasPair::showChannel(const QString &graphName, quint8 functionCode, bool flag)
{
    // The texts are in the catalogue's MainWindow context.
    if (!dataRead) {
        emit statusShowSignal(QCoreApplication::translate("MainWindow", "The data has not been read"));
        logToBoth(warn, "show {} ,but has not read data", graphName);
        return;
    }
    MyGraph *graph = findGraphByCode(graphName, functionCode);
    if (!graph) {
        emit statusShowSignal(QCoreApplication::translate("MainWindow", "%1 Curve not found").arg(graphName));
        return;
    }
    controllerOf(graph)->myAddGraph(graph, flag);
}

void CanvasPair::askForPen()
{
    SettingDialog dialog(m_window);
    for (const MyCustomPlot *each : {m_upper, m_lower})
        connect(&dialog, &SettingDialog::resetGraphSignal, each, &MyCustomPlot::resetGraphSlot);
    dialog.exec();
}

void CanvasPair::askForFont()
{
    SettingDialog_2 dialog(m_window);
    for (const MyCustomPlot *each : {m_upper, m_lower})
        connect(&dialog, &SettingDialog_2::resetAxisSizeSignal, each, &MyCustomPlot::resetAxisSizeSlot);
    dialog.exec();
}

void CanvasPair::setUpKeys()
{
    const QVector<QCustomPlot *> canvases{m_upper->plot(), m_lower->plot()};
    m_history = new ViewHistory(canvases, this);
    auto *picture = new CanvasPicture(canvases, m_window);
    connect(picture, &CanvasPicture::statusShowSignal, this, &CanvasPair::statusShowSignal);
    for (MyCustomPlot *each : {m_upper, m_lower}) {
        const auto *keys = new CanvasKeys(each);
        connect(keys, &CanvasKeys::backRequested, m_history, &ViewHistory::goBack);
        connect(keys, &CanvasKeys::forwardRequested, m_history, &ViewHistory::goForward);
        connect(keys, &CanvasKeys::copyRequested, picture, &CanvasPicture::copy);
        connect(keys, &CanvasKeys::saveRequested, picture, [this, picture] { picture->saveAs(picturePath()); });
    }
}

void CanvasPair::forgetViews()
{
    m_history->clear();
}

QString CanvasPair::picturePath() const
{
    const QString logPath = m_logPath ? m_logPath() : QString();
    if (logPath.isEmpty())
        return QStringLiteral("canvas.png");
    const QFileInfo log(logPath);
    return log.absolutePath() + QLatin1Char('/') + log.baseName() + QStringLiteral(".png");
}
