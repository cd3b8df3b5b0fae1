#pragma once

#include "FieldTables.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QMap>
#include <QString>
#include <QTime>
#include <QVector>

#include <cmath>

/**
 * An independent, simple decoder to compare the program's decoder with. Each channel is a plain vector; it uses no
 * code of the program.
 */
class ReferenceDecoder
{
public:
    using Samples = QVector<double>;

    ReferenceDecoder()
    {
        for (const ExpectedField &field : expectedFields()) {
            fields[field.code].append(field);
            channels[field.code].append(Samples());
        }
    }

    QMap<int, QVector<ExpectedField>> fields;
    QMap<int, QVector<Samples>> channels;

    bool planeSelected = false;
    int plane = 0;
    qint64 lines = 0;
    qint64 errors = 0;
    qint64 selected = 0;

    Samples &channel(const char *name) { return find(name); }
    double at(const char *name, int index) { return find(name)[index]; }
    int length(int code) const { return channels[code][0].size(); }

    bool decodeLine(const QString &line)
    {
        const QByteArray frame = QByteArray::fromHex(line.toLatin1());
        ++lines;
        if (frame.size() < 4 || byteOf(frame, 1) != 0xAA || byteOf(frame, 2) != 0xEC) {
            ++errors;
            return false;
        }
        if (planeSelected) {
            if (byteOf(frame, 3) != plane)
                return false;
            ++selected;
        }
        const int code = byteOf(frame, 4);
        static const QMap<int, int> gates{{0x01, 16}, {0x02, 65}, {0x03, 48}, {0x04, 77},
                                          {0x05, 33}, {0x41, 34}, {0x52, -1}};
        if (gates.contains(code)) {
            const bool whole = frame.size() > gates[code];
            if (code == 0x02) {
                if (!whole)
                    extend(0x53);
                for (int bit = 0; whole && bit < 16; ++bit)
                    channels[0x53][bit].append(byteOf(frame, bit < 8 ? 8 : 7) >> (bit % 8) & 1 ? 1.0 : 0.0);
            }
            if (!whole)
                extend(code);
            for (int row = 0; whole && row < fields[code].size(); ++row)
                channels[code][row].append(valueOf(frame, fields[code][row]));
        }
        repair();
        return true;
    }

    void evenTail()
    {
        if (length(0x03) > length(0x02)) {
            extend(0x02);
            extend(0x53);
        }
        if (length(0x02) > length(0x04))
            extend(0x04);
        if (length(0x04) > length(0x05))
            extend(0x05);
    }

    // Derivations, in the order of a read.

    QDateTime startTime(int interval)
    {
        const int count = channel("FSS_Year").size();
        for (int i = 0; i < count; ++i) {
            if (at("FSS_Month", i) > 12 || at("FSS_Date", i) > 31 || at("FSS_Hours", i) > 24
                || at("FSS_Minutes", i) > 60 || at("FSS_Seconds", i) > 60)
                continue;
            if (at("FSS_Month", i) != at("FSS_Month", count / 2))
                continue;
            const QTime time(int(at("FSS_Hours", i)), int(at("FSS_Minutes", i)), int(at("FSS_Seconds", i)));
            const QDate date(2023, int(at("FSS_Month", i)), int(at("FSS_Date", i)));
            if (!time.isValid())
                return {}; // QDateTime would replace it with midnight
            return QDateTime(date, time.addMSecs(-i * interval), Qt::LocalTime);
        }
        return {};
    }

    struct Track {
        Samples x, y, z;
    };

    /** @param scale the east-west factor, @param jump maximum lateral step in metres; a longer step is an error */
    Track track(int from, int to, float lng0, float lat0, double scale, double jump)
    {
        constexpr double kMetres = 0.011131884530186653;
        Track result;
        for (int i = from; i < to; ++i) {
            double x = double(float((at("PGS_GPS_Lng", i) - double(lng0)) * 10000000.0 * kMetres * scale));
            double y = double(float((at("PGS_GPS_Lat", i) - double(lat0)) * 10000000.0 * kMetres));
            double z = at("PGS_GPS_Relative_Height", i);
            if (result.x.isEmpty()) {
                if (z > 1000.0)
                    z = 1000.0;
            } else {
                if (std::fabs(x - result.x.last()) > jump)
                    x = result.x.last();
                if (std::fabs(y - result.y.last()) > jump)
                    y = result.y.last();
                if (std::fabs(z - result.z.last()) > 100.0 || std::fabs(z) > 1000.0)
                    z = result.z.last();
            }
            result.x.append(x);
            result.y.append(y);
            result.z.append(z);
        }
        return result;
    }

    /** Index of the first sample with more than ten satellites; 0 if there is none. */
    int trackStart()
    {
        const Samples &count = channel("PGS_GPS_SatelliteCount");
        for (int i = 0; i < count.size(); ++i) {
            if (count[i] > 10.0)
                return i;
        }
        return 0;
    }

    /** Start of the last run of sub-mode 26; 0 if there is no run; -1 if the run is empty. */
    int attackStart()
    {
        const Samples &mode = channel("FSS_SubFlightMode");
        const int count = attackEnd();
        for (int i = count; i >= 1; --i) {
            if (i < mode.size() && mode[i] == 26.0 && mode[i - 1] != 26.0)
                return i == count ? -1 : i;
        }
        return 0;
    }

    int attackEnd() { return std::min(channel("PGS_GPS_Lng").size(), channel("FSS_FlightMode").size()); }

    void differences()
    {
        const char *const triads[][3] = {
            {"DF_PitchDiff", "PGS_Pitch", "FTP_TargetPitch"},
            {"DF_RollDiff", "PGS_Roll", "FTP_TargetRoll"},
            {"DF_YawDiff", "PGS_Yaw", "FTP_TargetYaw"},
            {"DF_SpeedDiff", "PGS_IndicateAirSpeed", "FTP_TargetSpeed"},
            {"DF_HeightDiff", "PGS_GPS_Relative_Height", "FTP_TargetPoint_Height"},
        };
        for (const auto &triad : triads) {
            Samples result = channel(triad[1]);
            for (int i = 0; i < std::min(length(0x05), length(0x03)); ++i)
                result[i] -= channel(triad[2])[i];
            channel(triad[0]) = result;
        }
    }

    void speedAngle()
    {
        double angle = 0.0;
        for (int i = 0; i < channel("PGS_GroundSpeed").size(); ++i) {
            const double speed = at("PGS_GroundSpeed", i);
            if (speed != 0.0)
                angle = std::atan(at("PGS_UpSkySpeed", i) / speed) * 57.29577951308232;
            channel("BU_SpeedAngle").append(angle);
        }
    }

private:
    /** @param number 1-based; a byte after the end is zero */
    static int byteOf(const QByteArray &frame, int number)
    {
        return number <= frame.size() ? int(quint8(frame[number - 1])) : 0;
    }

    static double valueOf(const QByteArray &frame, const ExpectedField &field)
    {
        double raw = 0.0;
        for (int i = 0; i < field.width; ++i)
            raw = raw * 256.0 + byteOf(frame, field.byte + i);
        if (field.isSigned && byteOf(frame, field.byte) >= 128)
            raw -= std::pow(256.0, field.width);
        return raw / field.divisor;
    }

    void extend(int code)
    {
        for (Samples &samples : channels[code])
            samples.append(samples.isEmpty() ? 0.0 : double(samples.last()));
    }

    void repair()
    {
        int lead = length(0x04) - length(0x05);
        if (lead < 0)
            extend(0x04);
        if (lead > 1)
            extend(0x05);
        lead = length(0x02) - length(0x04);
        if (lead < 0) {
            extend(0x02);
            extend(0x53);
        }
        if (lead >= 2)
            extend(0x04);
        lead = length(0x03) - length(0x02);
        if (lead < 0)
            extend(0x03);
        if (lead > 1)
            extend(0x02);
    }

    Samples &find(const char *name)
    {
        for (const QVector<ExpectedField> &rows : std::as_const(fields)) {
            for (const ExpectedField &field : rows) {
                if (field.name == QLatin1String(name))
                    return channels[field.code][field.number - 1];
            }
        }
        qFatal("no channel %s", name);
        return channels[0][0];
    }
};
