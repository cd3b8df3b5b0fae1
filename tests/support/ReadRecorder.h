#pragma once

#include "DataHandler.h"
#include "DebugOutput.h"
#include "LogFile.h"

#include <QObject>
#include <QStringList>

/**
 * Records the events of a read in order: signals with their arguments, and log lines.
 *
 * Entries look like "ready", "process 1 50", "status text", "finished 3 1 0" or "info: message".
 */
class ReadRecorder
{
public:
    explicit ReadRecorder(DataHandler &handler)
    {
        QObject::connect(&handler, &DataHandler::doHandleReady, &m_receiver, [this] { note(QStringLiteral("ready")); });
        QObject::connect(&handler, &DataHandler::process, &m_receiver,
                         [this](int now, int total) { note(QStringLiteral("process %1 %2").arg(now).arg(total)); });
        QObject::connect(&handler, &DataHandler::statusFeedbackSignal, &m_receiver,
                         [this](const QString &message) { note(QStringLiteral("status ") + message); });
        QObject::connect(&handler, &DataHandler::readDataFinishedSinal, &m_receiver,
                         [this](ushort total, ushort wrong, ushort selected) {
                             note(QStringLiteral("finished %1 %2 %3").arg(total).arg(wrong).arg(selected));
                         });
    }

    /** Adds a custom entry. */
    void note(const QString &entry)
    {
        takeLog();
        m_events.append(entry);
    }

    QStringList events()
    {
        takeLog();
        return m_events;
    }

private:
    void takeLog()
    {
        m_events.append(m_log.leveledMessages());
        m_log.mark();
    }

    QObject m_receiver;
    LogFile m_log;
    QStringList m_events;
};

/**
 * The last events of every read: counters in the log, derivations, finished signal.
 *
 * @param total maximum of the progress
 */
inline QStringList endOfRead(int total, int frames, int errors, int selected = 0, int selectedPlane = -1)
{
    return {
        QStringLiteral("info: total frame cnt is %1").arg(frames),
        QStringLiteral("info: error frame cnt is %1").arg(errors),
        selectedPlane < 0 ? QStringLiteral("info: All plane's frame is %1").arg(frames - errors)
                          : QStringLiteral("info: select plane id is %1, frame is %2").arg(selectedPlane).arg(selected),
        QStringLiteral("process %1 %2").arg(total - 30).arg(total),
        QStringLiteral("process %1 %2").arg(total - 20).arg(total),
        QStringLiteral("process %1 %2").arg(total - 10).arg(total),
        QStringLiteral("info: start cal factors"),
        QStringLiteral("process %1 %1").arg(total),
        QStringLiteral("status 数据处理完成"),
        QStringLiteral("finished %1 %2 %3").arg(frames).arg(errors).arg(selected),
    };
}
