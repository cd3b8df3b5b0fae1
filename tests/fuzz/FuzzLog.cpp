// The reading of a text log on whatever bytes: it must not crash, and must leave what a second decode of the same lines
// makes of them, with the plane filter and without.

#include "DataHandler.h"
#include "Fixture.h"
#include "FrameTable.h"
#include "FuzzTarget.h"
#include "ReferenceDecoder.h"
#include "WorkbookFiles.h"

#include <QTextStream>

namespace
{

constexpr int kPlane = 1;

ReferenceDecoder secondDecode(const QString &path, bool filtered)
{
    static const ReferenceDecoder empty; // its tables are texts, which take longer than a small log
    ReferenceDecoder decoder = empty;
    decoder.planeSelected = filtered;
    decoder.plane = kPlane;
    QFile file(path);
    demand(file.open(QIODevice::ReadOnly | QIODevice::Text));
    QTextStream stream(&file);
    while (!stream.atEnd())
        decoder.decodeLine(stream.readLine());
    decoder.evenTail();
    return decoder;
}

void demandCounters(const DataHandler &handler, const ReferenceDecoder &expected)
{
    demand(handler.frameTotal() == expected.lines % 65536);
    demand(handler.frameError() == expected.errors % 65536);
    demand(handler.frameSelectedId() == expected.selected % 65536);
    demand(handler.processed() <= handler.total()); // two digits, or a digit and a line end, make a byte
}

void demandChannels(ReferenceDecoder &expected)
{
    // A frame brings one sample to its group, and at most one from each side to keep in step; the tail is one more.
    const qint64 most = 3 * expected.lines + 1;
    expected.differences();
    expected.speedAngle();
    for (const ChannelGroup &group : channelGroups()) {
        demand(group.code == frame::kBackup || group.length() <= most);
        for (int row = 0; row < group.count; ++row) {
            const QVector<double> &samples = std::as_const(*group.channels[row]).yvalue();
            demand(samples.size() == group.length());
            demand(samples == expected.channels[group.code][row]);
        }
    }
}

void demandTrack(const ReferenceDecoder::Track &expected, const std::vector<double> &x, const std::vector<double> &y,
                 const std::vector<double> &z)
{
    demand(QVector<double>(x.begin(), x.end()) == expected.x);
    demand(QVector<double>(y.begin(), y.end()) == expected.y);
    demand(QVector<double>(z.begin(), z.end()) == expected.z);
}

void demandTracks(ReferenceDecoder &expected)
{
    constexpr int kFromEnd = 10;
    const ReferenceDecoder::Samples &lat = expected.channel("HBS_Lat");
    const ReferenceDecoder::Samples &lng = expected.channel("HBS_Lng");
    if (lat.size() >= kFromEnd) {
        demand(originLat == static_cast<float>(lat[lat.size() - kFromEnd]));
        demand(originLng == static_cast<float>(lng[lng.size() - kFromEnd]));
    }
    demand(longitudeScale > 0.0 && longitudeScale <= 1.0);
    const auto between = [&expected](int from, int to, double jump) {
        return expected.track(from, to, originLng, originLat, longitudeScale, jump);
    };
    const int end = expected.channel("PGS_GPS_Lng").size();
    demandTrack(between(expected.trackStart(), end, 1000.0), trackX, trackY, trackZ);
    const int from = expected.attackStart();
    demandTrack(from < 0 ? ReferenceDecoder::Track() : between(from, expected.attackEnd(), 10000.0), attackTrackX,
                attackTrackY, attackTrackZ);
}

void readAndDemand(const QString &path, bool filtered)
{
    Fixture::resetGlobals();
    Fixture::renewStore();
    selectedPlaneEnabled = filtered;
    selectedPlaneId = kPlane;
    const QDateTime before(QDate(2000, 1, 1), QTime(12, 0));
    startDateTime = before;

    DataHandler handler;
    handler.readDataSlot(path);

    ReferenceDecoder expected = secondDecode(path, filtered);
    demandCounters(handler, expected);
    const QDateTime start = expected.startTime(sampleInterval);
    demand(startDateTime == (start.isValid() ? start : before));
    demandTracks(expected);
    demandChannels(expected);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    AppConfig::getInstance().getDataPath() = folder.filePath(QStringLiteral("data.txt"));
    AppConfig::getInstance().getAttackDataPath() = folder.filePath(QStringLiteral("data_attack.txt"));
    const QString path = folder.filePath(QStringLiteral("flight.txt"));
    demand(writeFile(path, QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size))));
    readAndDemand(path, false);
    readAndDemand(path, true);
    return 0;
}
