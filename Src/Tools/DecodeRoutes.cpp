#include "DecodeRoutes.h"

#include "ExcelOperator.h"
#include "Geodesy.h"
#include "RegularFile.h"
#include "ScreenFit.h"
#include "ui_DecodeRoutes.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QPointer>
#include <limits>

using namespace ostravel;

namespace
{

constexpr int kColumns = 9;
/** Minimum interval between two repaints of the table. */
constexpr int kFrameMs = 16;
/** Progress per waypoint, and of the work before the first waypoint. */
constexpr int kStep = 100;

QJsonArray waypoints(QFile &file)
{
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    file.close();
    return document.object().value(QLatin1String("cartographic")).toArray();
}

QString workbookPath(const QFile &routeFile)
{
    const QFileInfo info(routeFile);
    return info.absolutePath() + QLatin1Char('/') + info.baseName() + QLatin1String(".xlsx");
}

QList<QVariant> titles()
{
    // Not translated.
    QList<QVariant> result;
    for (const char *const title :
         {"id", "longitude", "latitude", "height", "radius", "speed", "distance", "flyTime", "totalTime"})
        result.append(QLatin1String(title));
    return result;
}

std::int32_t coordinate(const QString &degrees)
{
    // Parsed with float precision on purpose; the distances depend on it.
    return truncatedToLocationUnit(static_cast<double>(degrees.toFloat()) * kLocationUnitsPerDegree);
}

/** Shortens a text to the limit of a workbook cell. Painting a text of megabytes in the table would take minutes. */
QString shown(const QString &text)
{
    return QXlsx::Document::cellText(text);
}

QString shown(double number)
{
    return QString::number(number);
}

/**
 * Processes events but repaints the table at most once per frame, because a repaint takes a thousand times as long as
 * adding a row. The rows are always complete when events are processed.
 */
class ThrottledEvents
{
public:
    explicit ThrottledEvents(QTableWidget *table)
        : m_table(table)
    {
    }
    ~ThrottledEvents() { hold(false); }
    ThrottledEvents(const ThrottledEvents &) = delete;
    ThrottledEvents &operator=(const ThrottledEvents &) = delete;

    void run()
    {
        const bool isDue = !m_sinceFrame.isValid() || m_sinceFrame.elapsed() >= kFrameMs;
        hold(!isDue);
        QCoreApplication::processEvents();
        if (isDue)
            m_sinceFrame.start();
    }

private:
    void hold(bool held)
    {
        if (m_table && m_table->updatesEnabled() == held)
            m_table->setUpdatesEnabled(!held);
    }

    QPointer<QTableWidget> m_table;
    QElapsedTimer m_sinceFrame;
};

/** Value of the progress bar, limited to the range of int. */
int progress(qint64 steps)
{
    return static_cast<int>(qMin<qint64>(steps * kStep, std::numeric_limits<int>::max()));
}

} // namespace

DecodeRoutes::DecodeRoutes(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DecodeRoutes>())
{
    m_ui->setupUi(this);
    keepOnScreen(this);
    setWindowTitle(tr("Routes"));
    m_ui->progressBar->setValue(0);
    m_ui->tableWidget->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
}

DecodeRoutes::~DecodeRoutes() = default;

void DecodeRoutes::on_btn_selectFile_clicked()
{
    m_routeFile
        = QFileDialog::getOpenFileName(this, tr("Select route file"), QStringLiteral("./"), QStringLiteral("*.json"));
    // A conversion sets the minimum to 1.
    m_ui->progressBar->setMinimum(0);
    m_ui->progressBar->setValue(0);
}

void DecodeRoutes::on_btn_writeExcel_clicked()
{
    const auto inform = [this](const QString &text) {
        QMessageBox::information(this, QStringLiteral("info"), text, QMessageBox::Ok);
    };
    if (m_routeFile.isEmpty()) {
        inform(QStringLiteral("route file is empty"));
        return;
    }
    QFile file(m_routeFile);
    if (!file.exists()) {
        inform(QStringLiteral("route file not exists"));
        return;
    }
    if (ostravel::isOtherThanRegularFile(m_routeFile) || !file.open(QIODevice::ReadOnly)) {
        inform(QStringLiteral("route file open failed"));
        return;
    }
    decodeRoute(file);
}

void DecodeRoutes::decodeRoute(QFile &file)
{
    const QJsonArray route = waypoints(file);
    const int count = route.size();
    QTableWidget *const table = m_ui->tableWidget;
    QProgressBar *const bar = m_ui->progressBar;
    bar->setRange(1, progress(qint64{count} + 1));
    table->setRowCount(0);
    bar->setValue(10);
    bar->setValue(20);
    ExcelOperator excelOperator(nullptr);
    bar->setValue(50);
    excelOperator.writeTitleRow(1, kColumns, titles());
    bar->setValue(kStep);

    ThrottledEvents events(table);
    const QPointer<DecodeRoutes> self(this);
    Location previous{};
    float totalTime = 0.0F;
    for (int i = 0; i < count; ++i) {
        events.run();
        // The dialog may be deleted while events are processed.
        if (self.isNull())
            return;
        const QJsonObject waypoint = route.at(i).toObject();
        const QString longitude = waypoint.value(QLatin1String("longitude")).toString();
        const QString latitude = waypoint.value(QLatin1String("latitude")).toString();
        const double height = waypoint.value(QLatin1String("height")).toDouble();
        const double radius = waypoint.value(QLatin1String("radius")).toDouble();
        const double speed = waypoint.value(QLatin1String("speed")).toDouble();
        const Location location{coordinate(latitude), coordinate(longitude)};
        float distance = 0.0F;
        float flyTime = 0.0F;
        if (i > 0) {
            distance = get_distance(previous, location);
            flyTime = static_cast<float>(static_cast<double>(distance) / speed);
            totalTime += flyTime;
        }
        previous = location;

        const int id = i + 1;
        // A nested conversion may have left a shorter table.
        if (i <= table->rowCount()) {
            table->insertRow(i);
            int column = 0;
            for (const QString &text : {QString::number(id), shown(longitude), shown(latitude), shown(height),
                                        shown(radius), shown(speed), shown(distance), shown(flyTime), shown(totalTime)})
                table->setItem(i, column++, new QTableWidgetItem(text));
        }
        excelOperator.writeNumberRow(
            id + 1, kColumns,
            {id, longitude.toDouble(), latitude.toDouble(), height, radius, speed, distance, flyTime, totalTime});
        bar->setValue(progress(qint64{i} + 2));
    }
    excelOperator.save(workbookPath(file));
}
