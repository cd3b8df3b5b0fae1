// Reads a text log with arbitrary bytes. It must not crash and must give the same result as the reference decoder, with
// and without the plane filter.

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

ReferenceDecoder referenceDecode(const QString &path, bool filtered)
{
    static const ReferenceDecoder empty; // parsing its tables takes longer than reading a small log
    ReferenceDecoder decoder = empty;
    decoder.planeSelected = filtered;
    decoder.plane = kPlane;
    QFile file(path);
    require(file.open(QIODevice::ReadOnly | QIODevice::Text));
    QTextStream stream(&file);
    while (!stream.atEnd())
        decoder.decodeLine(stream.readLine());
    decoder.evenTail();
    return decoder;
}

void checkCounters(const DataHandler &handler, const ReferenceDecoder &expected)
{
    require(handler.frameTotal() == expected.lines % 65536);
    require(handler.frameError() == expected.errors % 65536);
    require(handler.frameSelectedId() == expected.selected % 65536);
    require(handler.processed() <= handler.total()); // a byte needs two digits, or a digit and a line break
}

void checkChannels(ReferenceDecoder &expected)
{
    // Each line adds at maxSamples three samples to a group: one from the frame and two from the repair. evenTail()
    // adds one.
    const qint64 maxSamples = 3 * expected.lines + 1;
    expected.differences();
    expected.speedAngle();
    for (const ChannelGroup &group : channelGroups()) {
        require(group.code == frame::kBackup || group.length() <= maxSamples);
        for (int row = 0; row < group.count; ++row) {
            const QVector<double> &samples = std::as_const(*group.channels[row]).yvalue();
            require(samples.size() == group.length());
            require(samples == expected.channels[group.code][row]);
        }
    }
}

void checkTrack(const ReferenceDecoder::Track &expected, const std::vector<double> &x, const std::vector<double> &y,
                const std::vector<double> &z)
{
    require(QVector<double>(x.begin(), x.end()) == expected.x);
    require(QVector<double>(y.begin(), y.end()) == expected.y);
    require(QVector<double>(z.begin(), z.end()) == expected.z);
}

void checkTracks(ReferenceDecoder &expected)
{
    constexpr int kFromEnd = 10;
    const ReferenceDecoder::Samples &lat = expected.channel("HBS_Lat");
    const ReferenceDecoder::Samples &lng = expected.channel("HBS_Lng");
    if (lat.size() >= kFromEnd) {
        require(originLat == static_cast<float>(lat[lat.size() - kFromEnd]));
        require(originLng == static_cast<float>(lng[lng.size() - kFromEnd]));
    }
    require(longitudeScale > 0.0 && longitudeScale <= 1.0);
    const auto between = [&expected](int from, int to, double jump) {
        return expected.track(from, to, originLng, originLat, longitudeScale, jump);
    };
    const int end = expected.channel("PGS_GPS_Lng").size();
    checkTrack(between(expected.trackStart(), end, 1000.0), trackX, trackY, trackZ);
    const int from = expected.attackStart();
    checkTrack(from < 0 ? ReferenceDecoder::Track() : between(from, expected.attackEnd(), 10000.0), attackTrackX,
               attackTrackY, attackTrackZ);
}

void readAndCheck(const QString &path, bool filtered)
{
    Fixture::resetGlobals();
    Fixture::renewStore();
    selectedPlaneEnabled = filtered;
    selectedPlaneId = kPlane;
    const QDateTime before(QDate(2000, 1, 1), QTime(12, 0));
    startDateTime = before;

    DataHandler handler;
    handler.readDataSlot(path);

    ReferenceDecoder expected = referenceDecode(path, filtered);
    checkCounters(handler, expected);
    const QDateTime start = expected.startTime(sampleInterval);
    require(startDateTime == (start.isValid() ? start : before));
    checkTracks(expected);
    checkChannels(expected);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    AppConfig::getInstance().getDataPath() = folder.filePath(QStringLiteral("data.txt"));
    AppConfig::getInstance().getAttackDataPath() = folder.filePath(QStringLiteral("data_attack.txt"));
    const QString path = folder.filePath(QStringLiteral("flight.txt"));
    require(writeFile(path, QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size))));
    readAndCheck(path, false);
    readAndCheck(path, true);
    return 0;
}
