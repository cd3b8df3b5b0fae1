#pragma once

#include "ExportFormat.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

/**
 * The outputs of one flight.
 *
 * They are written into a folder of their own beside their place, and moved there when they are complete. The folder
 * and all that is unfinished in it go with this object. For one thread.
 */
class OutputSet
{
public:
    /** @param base path of the outputs without the suffix of their format, see LogFile */
    OutputSet(const QString &base, bool overwrite);

    /** Where the output of a format belongs. */
    QString place(const ostravel::ExportFormat &format) const;
    /** Whether the output exists and is to be left alone. */
    bool isKept(const ostravel::ExportFormat &format) const;

    /** Makes the folders. @return why they cannot be made, or an empty text */
    QString open();
    /** Where the output of a format is written; only after open(). */
    QString unfinished(const ostravel::ExportFormat &format) const;
    /** Moves all that was written to its place. @return why that is not possible, or an empty text */
    QString commit();
    /** Forgets what was written since the last commit(). */
    void discard();

    /** What commit() has put in its place. */
    const QStringList &written() const { return m_written; }
    /** What commit() has found in the place of an output, and left alone. */
    const QStringList &kept() const { return m_kept; }

    /** Whether a path leads into the folder of an unfinished output, perhaps of another process. */
    static bool isUnfinished(const QString &path);

private:
    QString moveIn(const QString &name);
    QString moveFiles(const QString &from, const QString &to);

    QString m_folder;
    QString m_name; // of the outputs, without the suffix of the format
    bool m_overwrite;
    std::unique_ptr<QTemporaryDir> m_unfinished;
    QStringList m_written;
    QStringList m_kept;
};
