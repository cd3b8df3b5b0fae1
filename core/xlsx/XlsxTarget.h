#pragma once

#include <QSaveFile>
#include <QString>

#include <memory>

namespace QXlsx
{

/**
 * The file that a workbook is saved as: written beside its place under another name, and put there when complete.
 *
 * What stands in the place is replaced, or set aside when the caller asks for it; after a failure it is as it was.
 */
class XlsxTarget
{
public:
    /** A link is followed to the file that it stands for. */
    explicit XlsxTarget(const QString &path);

    /**
     * Begins the new file; false, with errorString(), when it cannot be written.
     *
     * @param setAside  the file in the place will be set aside, so that its rights do not matter
     */
    bool open(bool setAside);

    QIODevice &device() { return *m_file; }

    /** Removes the new file. */
    void cancel();

    /**
     * Puts the new file in its place; false, with errorString(), when that fails.
     *
     * @param setAside  the file in the place is renamed to its name and ".old", ".old2", ..., the first that is free
     */
    bool commit(bool setAside);

    const QString &errorString() const { return m_error; }

    /** Where commit put the file that stood in the place. */
    const QString &savedAside() const { return m_aside; }

    /** True when commit failed because the file in the place cannot be renamed. */
    bool isInTheWay() const { return m_inTheWay; }

private:
    bool moveAside();
    bool moveIn();

    QString m_place;
    QString m_name; // of m_file, when it does not go into the place by itself
    std::unique_ptr<QSaveFile> m_file;
    QString m_aside;
    QString m_error;
    bool m_inTheWay = false;
};

} // namespace QXlsx
