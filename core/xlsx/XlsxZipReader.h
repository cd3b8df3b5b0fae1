#pragma once

#include "XlsxXmlGuard.h"

#include <QByteArray>
#include <QFile>
#include <QHash>

#include <functional>
#include <memory>
#include <vector>

namespace QXlsx
{

/**
 * Reads the zip archive of a workbook: its list of parts, and one part at a time as a device.
 *
 * Does not trust the archive: a part never gives more bytes than its entry states.
 */
class XlsxZipReader
{
public:
    struct Entry {
        QByteArray name;
        quint64 packed = 0;
        quint64 unpacked = 0;
        quint32 crc = 0;
        quint32 time = 0;
        quint32 attributes = 0;
        quint16 method = 0;
        bool utf8Name = false;
        quint64 directoryPlace = 0;
        quint64 directoryNumber = 0;
    };

    XlsxZipReader();
    ~XlsxZipReader();

    /** Sets a function that is called every few kilobytes; returning true ends opening or reading like damage. */
    void setCancelled(const std::function<bool()> &cancelled) { m_cancelled = cancelled; }
    const std::function<bool()> &cancelled() const { return m_cancelled; }

    /**
     * Opens the archive and reads its directory.
     *
     * @return false, with refusal(), when it is no archive or packed in a way that workbooks never are
     */
    bool open(const QString &path);
    void close();
    bool isOpen() const;

    qint64 fileSize() const { return m_file.size(); }

    /** Sum of the unpacked sizes that the directory states, in bytes. */
    quint64 unpackedSize() const;

    const std::vector<Entry> &entries() const { return m_entries; }

    /** Index of the entry of a name, compared without case; -1 when there is none. */
    int indexOf(const QByteArray &name) const;

    /**
     * Opens a part for reading once from start to end; null when it cannot be opened. Closes the part opened before.
     *
     * Reading fails on damage, and when more than 32 MiB are read without a call of pieceDone.
     */
    class Part;
    std::unique_ptr<Part> openPart(int index);

    /** Reads a whole part; false when it is damaged or longer than limit bytes. */
    bool readPart(int index, quint64 limit, QByteArray &bytes);

    /** Opens a part for readRaw; false when the archive is damaged there. */
    bool openRaw(int index);

    /** Reads up to size packed bytes. @return their number; 0 at the end, negative on damage */
    int readRaw(char *data, unsigned size);

    /** Why the file is no workbook, as far as it was read: "it ...", "a part of it ..."; or empty. */
    const QString &refusal() const { return m_refusal; }

    /** Whether openRaw or readRaw found damage. */
    bool isDamaged() const { return m_damaged; }

private:
    bool isCancelled() const { return m_cancelled && m_cancelled(); }
    QString readDirectory();
    bool goTo(int index);
    void closeEntry();

    QFile m_file;
    void *m_zip = nullptr;
    bool m_entryOpen = false;
    bool m_damaged = false;
    QString m_refusal;
    std::function<bool()> m_cancelled;
    quint64 m_rawLeft = 0;
    std::vector<Entry> m_entries;
    QHash<QByteArray, int> m_index;
};

/** Sequential device over one part of XML. */
class XlsxZipReader::Part : public QIODevice
{
public:
    bool isSequential() const override { return true; }

    /** Call when the bytes read so far are processed and no longer held in memory. */
    void pieceDone() { m_pieceSize = 0; }

    /** Whether the archive is damaged in this part or a piece was too long. */
    bool isDamaged() const { return m_damaged; }

protected:
    qint64 readData(char *data, qint64 size) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    friend class XlsxZipReader;
    Part(XlsxZipReader &reader, quint64 size)
        : m_reader(reader)
        , m_left(size)
    {
    }

    XlsxZipReader &m_reader;
    XlsxXmlGuard m_guard;
    quint64 m_left;
    qint64 m_pieceSize = 0;
    bool m_damaged = false;
    bool m_checked = false;
};

} // namespace QXlsx
