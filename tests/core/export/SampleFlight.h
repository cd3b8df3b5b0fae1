#pragma once

#include "Flight.h"

#include <QFile>

/** Sample of a channel in makeFlight: no two channels have an equal one. */
inline double sampleValue(std::uint8_t code, int row, int sample)
{
    return (ostravel::frame::firstRowOf(code) + row) * 1000.0 + sample + 0.25;
}

/** The parts of a flight with so many samples in each of the 143 channels. */
inline ostravel::Flight::Parts flightParts(int samples)
{
    ostravel::Flight::Parts parts;
    for (const ostravel::frame::Layout &layout : ostravel::frame::kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row) {
            ostravel::Series &series = parts.series[std::size_t(ostravel::frame::firstRowOf(layout.code) + row)];
            for (int i = 0; i < samples; ++i)
                series.append(sampleValue(layout.code, row, i));
        }
    }
    return parts;
}

/** A flight with so many samples in each of the 143 channels. */
inline ostravel::Flight makeFlight(int samples)
{
    return ostravel::Flight(flightParts(samples));
}

/** The bytes of a file. */
inline QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/** Makes or replaces a file. */
inline void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}
