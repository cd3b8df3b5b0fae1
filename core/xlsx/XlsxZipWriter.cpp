#include "XlsxZipWriter.h"

#include <QFileDevice>

#include <minizip/zip.h>

namespace QXlsx
{

namespace
{

// Measured on a sheet of a two-hour flight: level 6 takes three times as long for a file smaller by a fifth.
constexpr int kLevel = 1;

// 1 January 1980, the first date of the format, so that equal cells give equal bytes.
constexpr uLong kNoTime = (1U << 21) | (1U << 16);
constexpr uLong kUtf8Name = 1U << 11;
constexpr int kMadeBy = 20;
constexpr quint64 kLarge = 0xf0000000;

using Target = XlsxZipWriter::Target;

voidpf openDevice(voidpf opaque, const void *, int)
{
    return opaque;
}

uLong readDevice(voidpf, voidpf stream, void *data, uLong size)
{
    auto *const target = static_cast<Target *>(stream);
    const qint64 read = target->device->read(static_cast<char *>(data), static_cast<qint64>(size));
    target->check(read >= 0);
    return read < 0 ? 0 : static_cast<uLong>(read);
}

uLong writeDevice(voidpf, voidpf stream, const void *data, uLong size)
{
    auto *const target = static_cast<Target *>(stream);
    const char *const bytes = static_cast<const char *>(data);
    const auto wanted = static_cast<qint64>(size);
    // A disk that becomes full accepts the beginning of a block; only writing the rest fails with a reason.
    for (qint64 done = 0; done < wanted;) {
        const qint64 written = target->device->write(bytes + done, wanted - done);
        if (!target->check(written > 0))
            return static_cast<uLong>(done);
        done += written;
    }
    return size;
}

ZPOS64_T tellDevice(voidpf, voidpf stream)
{
    return static_cast<ZPOS64_T>(static_cast<Target *>(stream)->device->pos());
}

long seekDevice(voidpf, voidpf stream, ZPOS64_T offset, int origin)
{
    auto *const target = static_cast<Target *>(stream);
    QIODevice &device = *target->device;
    const qint64 start = origin == ZLIB_FILEFUNC_SEEK_SET ? 0
        : origin == ZLIB_FILEFUNC_SEEK_CUR                ? device.pos()
                                                          : device.size();
    return target->check(device.seek(start + static_cast<qint64>(offset))) ? 0 : -1;
}

int closeDevice(voidpf, voidpf)
{
    return 0; // the device belongs to the caller
}

int deviceError(voidpf, voidpf)
{
    return 0;
}

} // namespace

bool XlsxZipWriter::Target::check(bool done)
{
    if (!done && error.isEmpty()) {
        // The error string is set only when the buffered bytes are written, too.
        if (auto *const file = qobject_cast<QFileDevice *>(device))
            file->flush();
        error = device->errorString();
    }
    return done;
}

XlsxZipWriter::XlsxZipWriter(QIODevice &device)
    : m_target{&device, {}}
{
    zlib_filefunc64_def functions{openDevice, readDevice,  writeDevice, tellDevice,
                                  seekDevice, closeDevice, deviceError, &m_target};
    m_zip = zipOpen2_64("", APPEND_STATUS_CREATE, nullptr, &functions);
}

XlsxZipWriter::~XlsxZipWriter()
{
    if (m_zip)
        zipClose(m_zip, nullptr);
}

bool XlsxZipWriter::begin(const QByteArray &name, bool large)
{
    zip_fileinfo info{};
    info.dosDate = kNoTime;
    m_partOpen = m_zip
        && zipOpenNewFileInZip4_64(m_zip, name.constData(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, kLevel,
                                   0, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY, nullptr, 0, kMadeBy, kUtf8Name, large ? 1 : 0)
            == ZIP_OK;
    return m_partOpen;
}

bool XlsxZipWriter::write(const char *data, std::size_t size)
{
    return m_partOpen && zipWriteInFileInZip(m_zip, data, static_cast<unsigned>(size)) == ZIP_OK;
}

bool XlsxZipWriter::end()
{
    const bool done = m_partOpen && zipCloseFileInZip(m_zip) == ZIP_OK;
    m_partOpen = false;
    return done;
}

bool XlsxZipWriter::add(const QByteArray &name, const QByteArray &bytes)
{
    return begin(name, false) && write(bytes.constData(), static_cast<std::size_t>(bytes.size())) && end();
}

bool XlsxZipWriter::carry(XlsxZipReader &from, int index, const std::function<bool()> &cancelled)
{
    const XlsxZipReader::Entry &entry = from.entries()[static_cast<std::size_t>(index)];
    zip_fileinfo info{};
    info.dosDate = entry.time;
    info.external_fa = entry.attributes;
    const bool large = entry.packed >= kLarge || entry.unpacked >= kLarge;
    if (!m_zip || !from.openRaw(index)
        || zipOpenNewFileInZip4_64(m_zip, entry.name.constData(), &info, nullptr, 0, nullptr, 0, nullptr, entry.method,
                                   kLevel, 1, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY, nullptr, 0, kMadeBy,
                                   entry.utf8Name ? kUtf8Name : 0, large ? 1 : 0)
            != ZIP_OK)
        return false;
    m_partOpen = true;
    QByteArray block(256 * 1024, Qt::Uninitialized);
    int count = 0;
    while ((count = from.readRaw(block.data(), static_cast<unsigned>(block.size()))) > 0) {
        if ((cancelled && cancelled()) || !write(block.constData(), static_cast<std::size_t>(count)))
            return false;
    }
    m_partOpen = false;
    return count == 0 && zipCloseFileInZipRaw64(m_zip, entry.unpacked, entry.crc) == ZIP_OK;
}

bool XlsxZipWriter::finish()
{
    if (!m_zip || m_partOpen)
        return false;
    const bool done = zipClose(m_zip, nullptr) == ZIP_OK;
    m_zip = nullptr;
    return done;
}

} // namespace QXlsx
