#include "XlsxZipReader.h"

#include <QFileInfo>

#include <limits>
#include <minizip/unzip.h>

namespace QXlsx
{

namespace
{

constexpr uLong kEncrypted = 1;
constexpr uLong kUtf8Name = 1U << 11;
constexpr qint64 kLongestPiece = 32 * 1024 * 1024;
constexpr uLong kLongestName = 1024;

voidpf openFile(voidpf opaque, const void *, int)
{
    return opaque;
}

uLong readFile(voidpf, voidpf stream, void *data, uLong size)
{
    const qint64 read = static_cast<QFile *>(stream)->read(static_cast<char *>(data), static_cast<qint64>(size));
    return read < 0 ? 0 : static_cast<uLong>(read);
}

uLong writeFile(voidpf, voidpf, const void *, uLong)
{
    return 0;
}

ZPOS64_T tellFile(voidpf, voidpf stream)
{
    return static_cast<ZPOS64_T>(static_cast<QFile *>(stream)->pos());
}

long seekFile(voidpf, voidpf stream, ZPOS64_T offset, int origin)
{
    auto *const file = static_cast<QFile *>(stream);
    const qint64 start = origin == ZLIB_FILEFUNC_SEEK_SET ? 0
        : origin == ZLIB_FILEFUNC_SEEK_CUR                ? file->pos()
                                                          : file->size();
    // An unsigned sum: a damaged directory may contain any offset.
    const quint64 place = static_cast<quint64>(start) + offset;
    return place <= static_cast<quint64>(file->size()) && file->seek(static_cast<qint64>(place)) ? 0 : -1;
}

int closeFile(voidpf, voidpf)
{
    return 0; // the reader owns its file and closes it
}

int fileError(voidpf, voidpf stream)
{
    return static_cast<QFile *>(stream)->error() == QFileDevice::NoError ? 0 : 1;
}

} // namespace

XlsxZipReader::XlsxZipReader() = default;

XlsxZipReader::~XlsxZipReader()
{
    close();
}

bool XlsxZipReader::open(const QString &path)
{
    close();
    m_refusal.clear();
    m_file.setFileName(path);
    if (!QFileInfo(path).isFile())
        m_refusal = QStringLiteral("it is no regular file"); // opening a pipe would wait for its writer
    else if (!m_file.open(QIODevice::ReadOnly))
        m_refusal = QStringLiteral("it cannot be opened: %1").arg(m_file.errorString());
    else
        m_refusal = readDirectory();
    if (!m_refusal.isEmpty())
        close();
    return m_refusal.isEmpty();
}

/** Reads the list of parts. @return why the archive is no workbook; or empty */
QString XlsxZipReader::readDirectory()
{
    const bool isCompound = m_file.peek(8) == "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1";
    zlib_filefunc64_def functions{openFile, readFile, writeFile, tellFile, seekFile, closeFile, fileError, &m_file};
    m_zip = unzOpen2_64("", &functions);
    if (isCompound)
        return QStringLiteral("it is protected by a password or of an older format");
    if (!m_zip)
        return QStringLiteral("it is no zip archive of parts");
    for (int state = unzGoToFirstFile(m_zip); state != UNZ_END_OF_LIST_OF_FILE; state = unzGoToNextFile(m_zip)) {
        unz_file_info64 info;
        unz64_file_pos place;
        QByteArray name(kLongestName, '\0');
        if (isCancelled())
            return QStringLiteral("cancelled");
        if (state != UNZ_OK
            || unzGetCurrentFileInfo64(m_zip, &info, name.data(), kLongestName, nullptr, 0, nullptr, 0) != UNZ_OK
            || unzGetFilePos64(m_zip, &place) != UNZ_OK)
            return QStringLiteral("its directory of parts is damaged");
        if (info.size_filename >= kLongestName)
            return QStringLiteral("the name of a part is longer than %1 bytes").arg(kLongestName - 1);
        if (info.flag & kEncrypted)
            return QStringLiteral("it is encrypted");
        if (info.compression_method != 0 && info.compression_method != Z_DEFLATED)
            return QStringLiteral("it is packed in a way that workbooks do not have");
        name.truncate(static_cast<int>(info.size_filename));
        const QByteArray key = name.toLower();
        if (m_index.contains(key))
            continue; // like most programs: the first of two equal names counts
        Entry entry;
        entry.name = name;
        entry.packed = info.compressed_size;
        entry.unpacked = info.uncompressed_size;
        entry.crc = static_cast<quint32>(info.crc);
        entry.time = static_cast<quint32>(info.dosDate);
        entry.attributes = static_cast<quint32>(info.external_fa);
        entry.method = static_cast<quint16>(info.compression_method);
        entry.utf8Name = (info.flag & kUtf8Name) != 0;
        entry.directoryPlace = place.pos_in_zip_directory;
        entry.directoryNumber = place.num_of_file;
        m_index.insert(key, static_cast<int>(m_entries.size()));
        m_entries.push_back(entry);
    }
    return {};
}

void XlsxZipReader::close()
{
    closeEntry();
    if (m_zip)
        unzClose(m_zip);
    m_zip = nullptr;
    m_file.close();
    m_entries.clear();
    m_index.clear();
}

bool XlsxZipReader::isOpen() const
{
    return m_zip != nullptr;
}

quint64 XlsxZipReader::unpackedSize() const
{
    quint64 sum = 0;
    for (const Entry &entry : m_entries)
        sum = sum + entry.unpacked < sum ? std::numeric_limits<quint64>::max() : sum + entry.unpacked;
    return sum;
}

int XlsxZipReader::indexOf(const QByteArray &name) const
{
    return m_index.value(name.toLower(), -1);
}

std::unique_ptr<XlsxZipReader::Part> XlsxZipReader::openPart(int index)
{
    if (!goTo(index) || unzOpenCurrentFile(m_zip) != UNZ_OK)
        return nullptr;
    m_entryOpen = true;
    std::unique_ptr<Part> part(new Part(*this, m_entries[static_cast<std::size_t>(index)].unpacked));
    part->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    return part;
}

bool XlsxZipReader::readPart(int index, quint64 limit, QByteArray &bytes)
{
    bytes.clear();
    if (index < 0 || static_cast<std::size_t>(index) >= m_entries.size()
        || m_entries[static_cast<std::size_t>(index)].unpacked > limit)
        return false;
    const std::unique_ptr<Part> part = openPart(index);
    if (!part)
        return false;
    // Read in pieces: the size that the directory states may be any number.
    QByteArray piece(64 * 1024, Qt::Uninitialized);
    qint64 count = 0;
    while ((count = part->read(piece.data(), piece.size())) > 0) {
        bytes.append(piece.constData(), static_cast<int>(count));
        part->pieceDone();
    }
    return !part->isDamaged();
}

bool XlsxZipReader::openRaw(int index)
{
    int method = 0;
    int level = 0;
    if (!goTo(index) || unzOpenCurrentFile2(m_zip, &method, &level, 1) != UNZ_OK) {
        m_damaged = true;
        return false;
    }
    m_entryOpen = true;
    m_rawLeft = m_entries[static_cast<std::size_t>(index)].packed;
    return true;
}

int XlsxZipReader::readRaw(char *data, unsigned size)
{
    const int count = unzReadCurrentFile(m_zip, data, size);
    m_rawLeft -= static_cast<quint64>(qMax(count, 0));
    if (count <= 0 && m_rawLeft != 0) {
        m_damaged = true;
        return -1;
    }
    return count;
}

bool XlsxZipReader::goTo(int index)
{
    closeEntry();
    if (!m_zip || index < 0 || static_cast<std::size_t>(index) >= m_entries.size())
        return false;
    const Entry &entry = m_entries[static_cast<std::size_t>(index)];
    unz64_file_pos place;
    place.pos_in_zip_directory = entry.directoryPlace;
    place.num_of_file = entry.directoryNumber;
    return unzGoToFilePos64(m_zip, &place) == UNZ_OK;
}

void XlsxZipReader::closeEntry()
{
    if (m_entryOpen)
        unzCloseCurrentFile(m_zip);
    m_entryOpen = false;
}

qint64 XlsxZipReader::Part::readData(char *data, qint64 size)
{
    if (m_damaged)
        return -1;
    if (m_left == 0) {
        // The checksum is verified only at the end.
        m_damaged = !m_checked && unzCloseCurrentFile(m_reader.m_zip) != UNZ_OK;
        m_checked = true;
        return -1;
    }
    const auto wanted
        = static_cast<unsigned>(qMin<quint64>(m_left, static_cast<quint64>(qBound<qint64>(0, size, 1 << 20))));
    const int count = m_reader.isCancelled() ? -1 : unzReadCurrentFile(m_reader.m_zip, data, wanted);
    m_pieceSize += count;
    if (count <= 0 || m_pieceSize > kLongestPiece) {
        m_damaged = true;
        return -1;
    }
    m_left -= static_cast<quint64>(count);
    const auto accepted = static_cast<qint64>(m_guard.accept(data, static_cast<std::size_t>(count)));
    if (accepted < count) {
        m_damaged = true;
        if (m_reader.m_refusal.isEmpty())
            m_reader.m_refusal = m_guard.refusal();
    }
    return accepted;
}

} // namespace QXlsx
