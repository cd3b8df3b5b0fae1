// From the click on the track button to the text that the web engine is given, for a flight of ten hours.

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "FrameTable.h"
#include "MapWidget.h"
#include "WkeApi.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPushButton>
#include <cstring>

#include <spdlog/spdlog.h>

namespace
{

constexpr int kSamples = 180000;
constexpr double kTarget = 1.3;

std::size_t handedOver = 0;

QVector<double> &samples(const char *name)
{
    return attitudeGraphs[frame::rowOf(frame::kAttitude, name)]->yvalue();
}

/** Array, text and one trip through UTF-16, which the page calls need. */
void floorWork()
{
    const QVector<double> &lat = samples("PGS_GPS_Lat");
    const QVector<double> &lng = samples("PGS_GPS_Lng");
    QJsonArray points;
    for (int i = 0; i < lng.size(); ++i) {
        points.append(QJsonValue(lat[i]));
        points.append(QJsonValue(lng[i]));
    }
    const QString text = QString::fromUtf8(QJsonDocument(points).toJson());
    handedOver = std::size_t(text.toUtf8().size());
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    // The table is on the standard output too.
    spdlog::set_level(spdlog::level::off);
    initData();
    for (int i = 0; i < kSamples; ++i) {
        samples("PGS_GPS_Lat").append((339470712 + i * 13 % 70001) / 1e7);
        samples("PGS_GPS_Lng").append((1139137801 + i * 17 % 90001) / 1e7);
    }

    auto *const map = new MapWidget(nullptr); // no engine lies beside this program
    wke.wkeRunJS = [](WkeWebView, const char *script) {
        handedOver = std::strlen(script);
        return 0LL;
    };
    auto *const button = map->findChild<QPushButton *>(QStringLiteral("pushButton"));
    bench::printRow("track of 180,000 samples, click to the handed-over text",
                    bench::bestOfSeven(floorWork, [button] { button->click(); }), kTarget);
    delete map;
    clearData();
    return handedOver > kSamples ? 0 : 1;
}
