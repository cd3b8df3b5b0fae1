#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTest>

#include "FrameRows.h"

#include <cmath>

/**
 * Builds the hexadecimal text of one telemetry frame.
 *
 * FrameText(0x03).set("PGS_Roll", 12.34).text() is one line of a text log. Bytes that are not set are zero.
 */
class FrameText
{
public:
    /** A frame with room for its whole field table, or the 6 header bytes for a code without a table. */
    explicit FrameText(int functionCode, int planeId = 1)
        : m_bytes(wholeLength(functionCode), '\0')
        , m_code(functionCode)
    {
        m_bytes[0] = char(0xAA);
        m_bytes[1] = char(0xEC);
        m_bytes[2] = char(planeId);
        m_bytes[3] = char(functionCode);
    }

    /** Length in bytes of a frame with its whole field table, including the header. */
    static int wholeLength(int functionCode)
    {
        switch (functionCode) {
        case 0x01:
            return 18;
        case 0x02:
            return 67;
        case 0x03:
            return 50;
        case 0x04:
            return 78;
        case 0x05:
            return 34;
        case 0x41:
            return 36;
        case 0x52:
            return 12;
        default:
            return 6;
        }
    }

    static int rowCount(int functionCode)
    {
        switch (functionCode) {
        case 0x01:
            return 5;
        case 0x02:
            return 37;
        case 0x03:
            return 18;
        case 0x04:
            return 34;
        case 0x05:
            return 13;
        case 0x41:
            return 14;
        case 0x51:
            return 5;
        case 0x52:
            return 1;
        case 0x53:
            return 16;
        default:
            return 0;
        }
    }

    /** Writes a big-endian integer. Byte numbers start at 1, as in the field tables. */
    FrameText &put(int byteNumber, int width, qint64 raw)
    {
        for (int i = 0; i < width; ++i)
            m_bytes[byteNumber - 1 + i] = char((raw >> (8 * (width - 1 - i))) & 0xFF);
        return *this;
    }

    /** Writes the value of the named channel. An unknown name ends the test program. */
    FrameText &set(const char *channel, double value)
    {
        for (int row = 0; row < rowCount(m_code); ++row) {
            const ostravel::frame::FieldRow &field = ostravel::frame::layoutOf(std::uint8_t(m_code)).rows[row];
            if (qstrcmp(field.name, channel) == 0)
                return put(field.offset, field.width, std::llround(value * field.divisor));
        }
        qFatal("no channel %s in the table of code %d", channel, m_code);
        return *this;
    }

    /** Truncates the frame or pads it with zeros. */
    FrameText &resize(int length)
    {
        const int before = m_bytes.size();
        m_bytes.resize(length);
        for (int i = before; i < length; ++i)
            m_bytes[i] = '\0';
        return *this;
    }

    const QByteArray &bytes() const { return m_bytes; }
    QString text() const { return QString::fromLatin1(m_bytes.toHex()); }
    QString spacedText() const { return QString::fromLatin1(m_bytes.toHex(' ').toUpper()); }

private:
    QByteArray m_bytes;
    int m_code;
};

/**
 * One frame each of the codes 0x03, 0x02, 0x04 and 0x05: one sample of the common time axis. In this order no group
 * leads another by more than one sample, so the decoder repeats no sample.
 */
inline QStringList oneCycle(int planeId = 1)
{
    return {FrameText(0x03, planeId).text(), FrameText(0x02, planeId).text(), FrameText(0x04, planeId).text(),
            FrameText(0x05, planeId).text()};
}

/** Writes a text log. The last line also ends with a line break. */
inline void writeLines(const QString &path, const QStringList &lines)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    for (const QString &line : lines)
        file.write(line.toUtf8() + '\n');
}
