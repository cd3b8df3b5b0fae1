#pragma once

#include <QSaveFile>
#include <QString>

#include <memory>

namespace QXlsx
{

/**
 * The file that a workbook is saved as. It is written under another name beside its path and renamed when complete.
 *
 * An existing file at the path is replaced, or renamed when the caller asks for it; after a failure it is unchanged.
 */
class XlsxTarget
{
public:
    /** A link is followed to its target. */
    explicit XlsxTarget(const QString &path);

    /**
     * Creates the new file; false, with errorString(), when it cannot be written.
     *
     * @param setAside the existing file will be renamed, so its permissions do not matter
     */
    bool open(bool setAside);

    QIODevice &device() { return *m_file; }

    /** Removes the new file. */
    void cancel();

    /**
     * Renames the new file to its path; false, with errorString(), when that fails.
     *
     * @param setAside the existing file is renamed to its name and ".old", ".old2", ..., the first that is free
     */
    bool commit(bool setAside);

    const QString &errorString() const { return m_error; }

    /** The new name of the existing file, when commit renamed it; or empty. */
    const QString &savedAside() const { return m_aside; }

    /** Whether commit failed because the existing file cannot be renamed. */
    bool isInTheWay() const { return m_inTheWay; }

private:
    bool moveAside();
    bool moveIn();

    QString m_place;
    QString m_name; // of m_file, when QSaveFile does not rename it to m_place itself
    std::unique_ptr<QSaveFile> m_file;
    QString m_aside;
    QString m_error;
    bool m_inTheWay = false;
};

} // namespace QXlsx
