#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/** One log to convert. */
struct LogFile {
    QString path; ///< as the user gave it, or below a folder that the user gave
    QString outputBase; ///< outputs are this and the suffix of their format
    qint64 bytes; ///< 0 for a file that is not there
    bool wasFound; ///< in a folder; not named by the user
};

/** What a search gave. */
struct LogSearch {
    QVector<LogFile> logs; ///< each file once, in the order of the arguments, those of a folder sorted
    QStringList emptyFolders; ///< folders of the user without a log
    QString clash; ///< two logs whose outputs would have the same name; empty for none
};

/**
 * Finds logs: files as they are given, and in folders, and the folders in them, files with the suffixes txt and db.
 *
 * Links to folders are not followed, and the files of text exports are no logs. An output is named after its log,
 * without the suffix unless two logs in one folder differ by the suffix alone.
 *
 * @param outputFolder empty: outputs lie beside their logs. Below it, what a folder holds keeps its place
 */
LogSearch findLogs(const QStringList &paths, const QString &outputFolder);
