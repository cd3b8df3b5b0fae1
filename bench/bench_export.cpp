// The text export of a two-hour flight, compared with QTextStream alone, and a route of 100,000 waypoints, compared
// with a minimal dialog with libxlsxwriter.

#include "Bench.h"
#include "ChannelStore.h"
#include "DataHandler.h"
#include "DecodeRoutes.h"
#include "DemoFlight.h"
#include "DemoRoute.h"
#include "ExportGroups.h"
#include "Geodesy.h"
#include "TxtOperator.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QGridLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdlib>
#include <xlsxwriter.h>

#include <spdlog/spdlog.h>

using namespace ostravel;

namespace
{

constexpr double kTextTarget = 0.5;
constexpr double kRouteTarget = 1.3;
constexpr int kMinutes = 120;
constexpr int kWaypoints = 100000;
/** The minimal dialog repaints its table for every row; the whole route would take a quarter of an hour. */
constexpr int kBareWaypoints = 1000;
constexpr int kColumns = 9;

/** Writes the same text with QTextStream alone. */
void streamNumbers(const QVector<ExportGroup> &groups, const QString &dir)
{
    for (const ExportGroup &group : groups) {
        QFile file(dir + QLatin1Char('/') + group.name + QLatin1String(".txt"));
        if (!file.open(QIODevice::ReadWrite))
            std::exit(1);
        QTextStream stream(&file);
        for (const QString &label : group.labels)
            stream << label << '\t';
        const int rows = group.rows();
        for (int row = 0; row < rows; ++row) {
            stream << '\n';
            for (const QVector<double> &series : group.samples)
                stream << series.at(row) << '\t';
        }
    }
}

bool sameFiles(const QString &one, const QString &other)
{
    const QStringList names = QDir(one).entryList(QDir::Files);
    for (const QString &name : names) {
        QFile first(one + QLatin1Char('/') + name);
        QFile second(other + QLatin1Char('/') + name);
        if (!first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly)
            || first.readAll() != second.readAll())
            return false;
    }
    return names.size() == QDir(other).entryList(QDir::Files).size() && !names.isEmpty();
}

void measureText(const QTemporaryDir &folder)
{
    const QString log = folder.filePath(QStringLiteral("flight.txt"));
    demo::DemoOptions options;
    options.minutes = kMinutes;
    if (!demo::writeTextLog(log, options))
        std::exit(1);
    initData();
    DataHandler().readDataSlot(log);
    const QVector<ExportGroup> groups = exportGroups();

    const QString theirs = folder.filePath(QStringLiteral("stream"));
    QDir().mkdir(theirs);
    const QString target = folder.filePath(QStringLiteral("flight-export.txt"));
    const bench::Figures figures = bench::bestOfSeven([&] { streamNumbers(groups, theirs); },
                                                      [&] {
                                                          TxtOperator txtOperator;
                                                          txtOperator.setGroups(groups);
                                                          txtOperator.writeTxtSlot(target);
                                                      });
    bench::printRow("text export of a 2-hour flight", figures, kTextTarget);
    if (!sameFiles(theirs, folder.filePath(QStringLiteral("flight-export")))) {
        std::printf("text export: the bytes differ\n");
        std::exit(1);
    }
}

/** Does the same work as the route converter, using only our geodesy functions. */
class BareDialog : public QDialog
{
public:
    BareDialog()
    {
        auto *const grid = new QGridLayout(this);
        auto *const buttons = new QHBoxLayout;
        buttons->addWidget(new QPushButton(QStringLiteral("SelectRoute"), this));
        buttons->addWidget(new QPushButton(QStringLiteral("DecodeRoutes"), this));
        grid->addLayout(buttons, 0, 0);
        m_table = new QTableWidget(0, kColumns, this);
        grid->addWidget(m_table, 1, 0);
        m_bar = new QProgressBar(this);
        grid->addWidget(m_bar, 2, 0);
        resize(1168, 865);
    }

    void convert(const QString &path, const QByteArray &workbookPath)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            std::exit(1);
        const QJsonArray route
            = QJsonDocument::fromJson(file.readAll()).object().value(QLatin1String("cartographic")).toArray();
        m_bar->setRange(1, (kWaypoints + 1) * 100); // so that it is repainted as rarely as for the whole route
        while (m_table->rowCount() > 0)
            m_table->removeRow(m_table->rowCount() - 1);
        lxw_workbook *const workbook = workbook_new(workbookPath.constData());
        lxw_worksheet *const sheet = workbook_add_worksheet(workbook, nullptr);
        lxw_format *const format = workbook_add_format(workbook);
        format_set_border(format, LXW_BORDER_THIN);
        format_set_align(format, LXW_ALIGN_CENTER);
        for (int column = 0; column < kColumns; ++column)
            worksheet_write_string(sheet, 0, static_cast<lxw_col_t>(column), "title", format);
        m_bar->setValue(100);
        Location previous{};
        float total = 0;
        for (int i = 0; i < route.size(); ++i) {
            QCoreApplication::processEvents();
            const QJsonObject waypoint = route.at(i).toObject();
            const QString longitude = waypoint.value(QLatin1String("longitude")).toString();
            const QString latitude = waypoint.value(QLatin1String("latitude")).toString();
            const double height = waypoint.value(QLatin1String("height")).toDouble();
            const double radius = waypoint.value(QLatin1String("radius")).toDouble();
            const double speed = waypoint.value(QLatin1String("speed")).toDouble();
            const Location location{truncatedToLocationUnit(double(latitude.toFloat()) * 1e7),
                                    truncatedToLocationUnit(double(longitude.toFloat()) * 1e7)};
            const float distance = i == 0 ? 0 : get_distance(previous, location);
            const float flyTime = i == 0 ? 0 : static_cast<float>(double(distance) / speed);
            total += flyTime;
            previous = location;
            m_table->insertRow(i);
            const double values[] = {double(i + 1), longitude.toDouble(), latitude.toDouble(), height,       radius,
                                     speed,         double(distance),     double(flyTime),     double(total)};
            for (int column = 0; column < kColumns; ++column) {
                const QString text = column == 1 ? longitude : column == 2 ? latitude : QString::number(values[column]);
                m_table->setItem(i, column, new QTableWidgetItem(text));
                worksheet_write_number(sheet, static_cast<lxw_row_t>(i + 1), static_cast<lxw_col_t>(column),
                                       values[column], format);
            }
            m_bar->setValue((i + 2) * 100);
        }
        if (workbook_close(workbook) != LXW_NO_ERROR)
            std::exit(1);
    }

private:
    QTableWidget *m_table;
    QProgressBar *m_bar;
};

/** One run each. The minimal dialog runs on 1 % of the route, and its time is multiplied by 100. */
void measureRoute(const QTemporaryDir &folder)
{
    const QString whole = folder.filePath(QStringLiteral("route.json"));
    const QString part = folder.filePath(QStringLiteral("part.json"));
    demo::RouteOptions options;
    options.waypoints = kWaypoints;
    if (!demo::writeRoute(whole, options))
        std::exit(1);
    options.waypoints = kBareWaypoints;
    if (!demo::writeRoute(part, options))
        std::exit(1);
    bench::Figures figures{};
    figures.floor = bench::milliseconds([&] {
                        BareDialog dialog;
                        dialog.show();
                        dialog.convert(part, QFile::encodeName(folder.filePath(QStringLiteral("bare.xlsx"))));
                    })
        * (kWaypoints / kBareWaypoints);
    figures.measured = bench::milliseconds([&] {
        DecodeRoutes dialog(nullptr);
        dialog.show();
        QFile file(whole);
        if (!file.open(QIODevice::ReadOnly))
            std::exit(1);
        dialog.decodeRoute(file);
    });
    bench::printRow("route of 100,000 waypoints", figures, kRouteTarget);
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    spdlog::set_level(spdlog::level::err);
    const QTemporaryDir folder;
    QDir::setCurrent(folder.path());
    measureText(folder);
    measureRoute(folder);
    return 0;
}
