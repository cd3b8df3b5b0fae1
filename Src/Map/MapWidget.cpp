#include "MapWidget.h"

#include "ChannelStore.h"
#include "FrameTable.h"
#include "WebWidget.h"
#include "WkeApi.h"
#include "ui_MapWidget.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QJsonArray>
#include <QJsonDocument>
#include <QResizeEvent>
#include <QUrl>
#include <QtNumeric>

namespace
{

QString pagePath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/Leaflet/demo.html");
}

const QVector<double> &attitude(int row)
{
    return std::as_const(*attitudeGraphs[row]).yvalue();
}

constexpr int kLat = frame::rowOf(frame::kAttitude, "PGS_GPS_Lat");
constexpr int kLng = frame::rowOf(frame::kAttitude, "PGS_GPS_Lng");

} // namespace

MapWidget::MapWidget(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::MapWidget>())
{
    m_ui->setupUi(this);
    // exec() makes the dialog modal only after showMaximized() has shown it.
    setModal(true);

    wkeDllPath = L"node.dll";
    loadWkeApi(nullptr);

    showMaximized();

    m_webWidget = new WebWidget(pagePath(), this);
    m_ui->verticalLayout->addWidget(m_webWidget);
    // The engine's window covers the buttons where the dialog is not in the corner of the screen.
    m_ui->groupBox->raise();
}

MapWidget::~MapWidget()
{
    wke.wkeFinalize();
}

void MapWidget::runJs(const QString &name, const QString &argument)
{
    m_webWidget->runJs(name, argument);
}

void MapWidget::addOnePoint(const double &first, const double &second)
{
    m_webWidget->runJs2(QStringLiteral("addOnePoint"), QString::number(second, 'g', 6), QString::number(first, 'g', 6));
}

void MapWidget::onWebSocketClosed() { }

void MapWidget::on_btn_callWmts_clicked()
{
    m_webWidget->startWmts();
}

void MapWidget::on_pushButton_clicked()
{
    const QVector<double> &lat = attitude(kLat);
    const QVector<double> &lng = attitude(kLng);
    QJsonArray points;
    for (int i = 0; i < lng.size(); ++i) {
        // An edit may have shortened one of the two series. JSON has no NaN: the page gets null.
        points.append(QJsonValue(lat.value(i, qQNaN())));
        points.append(QJsonValue(lng[i]));
    }
    m_webWidget->runJs(QStringLiteral("addRoutes"), QString::fromUtf8(QJsonDocument(points).toJson()));
}

void MapWidget::on_btn_enableRoutes_clicked()
{
    switchMode(QStringLiteral("enableDrawLines"), &m_drawRoutesEnabled, &m_measureEnabled);
}

void MapWidget::on_btn_measureDis_clicked()
{
    switchMode(QStringLiteral("enableMeasureDis"), &m_measureEnabled, &m_drawRoutesEnabled);
}

/** Tells the page the new state of one mode. The page itself leaves the other mode then. */
void MapWidget::switchMode(const QString &function, bool *enabled, bool *otherEnabled)
{
    *enabled = !*enabled;
    m_webWidget->runJs(function, *enabled ? QStringLiteral("1") : QStringLiteral("0"));
    if (*enabled)
        *otherEnabled = false;
}

void MapWidget::on_btn_clear_clicked()
{
    m_webWidget->runJs(QStringLiteral("clearAllLine"), {});
}

void MapWidget::on_btn_browser_clicked()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(pagePath()));
}

void MapWidget::mousePressEvent(QMouseEvent *) { }

void MapWidget::mouseDoubleClickEvent(QMouseEvent *)
{
    showMaximized();
}

void MapWidget::resizeEvent(QResizeEvent *event)
{
    event->ignore();
}
