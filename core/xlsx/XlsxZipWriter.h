#pragma once

#include "XlsxZipReader.h"

#include <QIODevice>
#include <QString>

#include <functional>

namespace QXlsx
{

/** Writes a zip archive into a device that can seek, part by part. After a failure every call returns false. */
class XlsxZipWriter
{
public:
    /** The device and its first error: the next seek would clear it. */
    struct Target {
        QIODevice *device;
        QString error;

        bool check(bool done);
    };

    explicit XlsxZipWriter(QIODevice &device);
    ~XlsxZipWriter();
    XlsxZipWriter(const XlsxZipWriter &) = delete;
    XlsxZipWriter &operator=(const XlsxZipWriter &) = delete;

    /** Begins a part. @param large it may reach 4 GiB */
    bool begin(const QByteArray &name, bool large);
    bool write(const char *data, std::size_t size);
    bool end();

    bool add(const QByteArray &name, const QByteArray &bytes);

    /** Copies a part of another archive without unpacking it. */
    bool carry(XlsxZipReader &from, int index, const std::function<bool()> &cancelled);

    /** Writes the directory. */
    bool finish();

    /** The first error of the device; empty when there was none. */
    const QString &errorString() const { return m_target.error; }

private:
    Target m_target;
    void *m_zip;
    bool m_partOpen = false;
};

} // namespace QXlsx
