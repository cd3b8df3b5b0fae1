#pragma once

#include "XlsxZipReader.h"

#include <QIODevice>
#include <QString>

#include <functional>

namespace QXlsx
{

/** Writes a zip archive into a device that can seek, part by part. Every call gives false after a failure. */
class XlsxZipWriter
{
public:
    /** The device, and what it said when it first failed: the next seek makes it forget. */
    struct Target {
        QIODevice *device;
        QString error;

        bool check(bool done);
    };

    explicit XlsxZipWriter(QIODevice &device);
    ~XlsxZipWriter();
    XlsxZipWriter(const XlsxZipWriter &) = delete;
    XlsxZipWriter &operator=(const XlsxZipWriter &) = delete;

    /** Begins a part; large is for one that may reach 4 GiB. */
    bool begin(const QByteArray &name, bool large);
    bool write(const char *data, std::size_t size);
    bool end();

    bool add(const QByteArray &name, const QByteArray &bytes);

    /** Takes a part over from another archive as it is packed there. */
    bool carry(XlsxZipReader &from, int index, const std::function<bool()> &cancelled);

    /** Writes the directory. */
    bool finish();

    /** What the device said when it first failed; empty while it did not. */
    const QString &errorString() const { return m_target.error; }

private:
    Target m_target;
    void *m_zip;
    bool m_partOpen = false;
};

} // namespace QXlsx
