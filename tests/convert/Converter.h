#pragma once

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>

/** What one run of the converter left. */
struct ConverterRun {
    int status = -1;
    QString out;
    QString error;

    QStringList lines() const { return out.split('\n', Qt::SkipEmptyParts); }
    /** Each line of standard output as an object; empty ones for lines that are none. */
    QVector<QJsonObject> objects() const
    {
        QVector<QJsonObject> all;
        for (const QString &line : lines())
            all.append(QJsonDocument::fromJson(line.toUtf8()).object());
        return all;
    }
};

constexpr int kConverterLimitMs = 120'000;

/** Runs the converter as a user does. */
inline ConverterRun runConverter(const QStringList &arguments, const QString &folder = {},
                                 const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
                                 const QString &program = QStringLiteral(CONVERT_PROGRAM))
{
    QProcess process;
    process.setProcessEnvironment(environment);
    if (!folder.isEmpty())
        process.setWorkingDirectory(folder);
    process.start(program, arguments);
    ConverterRun run;
    if (process.waitForFinished(kConverterLimitMs) && process.exitStatus() == QProcess::NormalExit)
        run.status = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput()).remove('\r');
    run.error = QString::fromUtf8(process.readAllStandardError()).remove('\r');
    return run;
}

/** Everything below a folder, files and folders, with relative names in order. */
inline QStringList treeOf(const QString &folder)
{
    QStringList names;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        names.append(QDir(folder).relativeFilePath(entries.next()));
    names.sort();
    return names;
}

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

inline void putBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}
