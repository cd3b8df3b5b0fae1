#pragma once

#include <QFile>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <spdlog/spdlog.h>

/** One entry of the log file, parsed from "[time] [level] [file line] <function> message". */
struct LogLine {
    QString time;
    QString level;
    QString file;
    int line = 0;
    QString function;
    QString message;
};

/**
 * Reads the log entries that were written after this object was created.
 *
 * A message with line breaks is one entry. If the log file does not exist yet, reading starts at its first entry.
 */
class LogFile
{
public:
    explicit LogFile(const QString &path = QStringLiteral("logs/log.txt"))
        : m_path(path)
    {
        mark();
    }

    /** Ignores all entries that are in the file now. */
    void mark()
    {
        flush();
        m_start = QFile(m_path).size();
    }

    QList<LogLine> lines() const
    {
        flush();
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return {};
        file.seek(m_start);
        static const QRegularExpression pattern(QStringLiteral(
            R"(^\[(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})\] \[(\w+)\] \[(\S+) (\d+)\] <([^>]*)> (.*)$)"));
        QList<LogLine> result;
        QString text = QString::fromUtf8(file.readAll());
        // Another thread may be writing the last entry: one without a line end does not count yet.
        text.truncate(text.lastIndexOf(QLatin1Char('\n')));
        if (text.isEmpty())
            return {};
        for (const QString &line : text.split(QLatin1Char('\n'))) {
            const QRegularExpressionMatch match = pattern.match(line);
            if (match.hasMatch())
                result.append({match.captured(1), match.captured(2), match.captured(3), match.captured(4).toInt(),
                               match.captured(5), match.captured(6)});
            else if (!result.isEmpty())
                result.last().message += QLatin1Char('\n') + line;
            else
                result.append({{}, {}, {}, 0, {}, line});
        }
        return result;
    }

    /** The messages in file order, without level. */
    QStringList messages() const
    {
        QStringList result;
        for (const LogLine &line : lines())
            result.append(line.message);
        return result;
    }

    /** "level: message" of each entry, in file order. */
    QStringList leveledMessages() const
    {
        QStringList result;
        for (const LogLine &line : lines())
            result.append(line.level + QLatin1String(": ") + line.message);
        return result;
    }

private:
    static void flush()
    {
        if (const std::shared_ptr<spdlog::logger> logger = spdlog::get("file_logger"))
            logger->flush();
    }

    QString m_path;
    qint64 m_start = 0;
};
