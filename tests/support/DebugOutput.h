#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/** Collects Qt's log messages instead of printing them. Only one instance at a time, main thread only. */
class DebugOutput
{
public:
    struct Entry {
        QtMsgType type;
        QString text;
    };

    DebugOutput()
    {
        s_current = this;
        m_before = qInstallMessageHandler(&DebugOutput::handle);
    }

    ~DebugOutput()
    {
        qInstallMessageHandler(m_before);
        s_current = nullptr;
    }

    DebugOutput(const DebugOutput &) = delete;
    DebugOutput &operator=(const DebugOutput &) = delete;

    const QList<Entry> &entries() const { return m_entries; }

    QStringList texts() const
    {
        QStringList result;
        for (const Entry &entry : m_entries)
            result.append(entry.text);
        return result;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext &, const QString &text)
    {
        s_current->m_entries.append({type, text});
    }

    inline static DebugOutput *s_current = nullptr;
    QtMessageHandler m_before = nullptr;
    QList<Entry> m_entries;
};
