#pragma once

#include "Frame.h"
#include "FrameDecoder.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>

class MyGraph;
class TxtOperator;

/**
 * Turns one recorded flight into the channel store: a text log or a flight database, all in one call of readDataSlot.
 *
 * Serves a single read, on the main thread. The event loop runs once a line, so that the interface stays alive.
 */
class DataHandler : public QObject
{
    Q_OBJECT

public:
    /** Reads nothing yet; connect the signals first. */
    explicit DataHandler(QObject *parent = nullptr);
    ~DataHandler() override;

    /** Forwards to the function of the channel store. */
    ///@{
    static void initData();
    static void clearData();
    static MyGraph *createGraph(quint16 code, int row);
    ///@}

    /** Reads a text log; reports an unreadable file by its signals. */
    void handleTxt(const QString &filePath);
    /** Reads the tasks of a flight database that the user ticks. */
    void handleDb(const QString &filePath);
    /** Decodes every line of the open text log. @return always true */
    bool decodeData();

    /**
     * Decodes one frame.
     *
     * @param line hexadecimal text of the frame
     * @return false when its header was wrong or the plane filter dropped it
     */
    bool decodeLine(const QString &line);
    /** Appends to a channel a copy of its last sample, or 0.0 when it is empty. */
    void repeatLast(int row, MyGraph **group);
    /** Evens the series once more after the last line. */
    void evenTail();

    /** Forwards to the function of postprocess. */
    ///@{
    void calStartTime();
    void calOrigin();
    void calTrack();
    void calAttackTrack();
    void calFactors();
    void calSpeedAngle();
    void dataProcess();
    ///@}

    /** Holds the text log; null before one is read. */
    TxtOperator *fileOperator() const { return m_fileOperator.get(); }
    /** The whole, as process() tells it: bytes of a text log, records of a database. */
    qint64 total() const { return m_total; }
    /** For a caller of decodeLine() that shows progress. */
    void setTotal(qint64 total) { m_total = total; }
    /** Frame bytes decoded so far, whatever total() counts. */
    qint64 processed() const { return m_processed; }
    /** Lines, wrong headers, and frames of the selected plane. They wrap at 65536, also for the user. */
    ///@{
    quint16 frameTotal() const { return m_frameTotal; }
    quint16 frameError() const { return m_frameError; }
    quint16 frameSelectedId() const { return m_frameSelectedId; }
    ///@}

signals:
    /** A text for the status bar. */
    void statusFeedbackSignal(QString _sMessage);
    /** The log is chosen: progress may be shown. */
    void doHandleReady();
    /** processed() against total(), of which the low 32 bits are told. */
    void process(int now, int total);
    /** The store holds the flight. */
    void readDataFinishedSinal(ushort frameTotal, ushort frameError, ushort frameSelectedId);

public slots:
    /**
     * Reads a flight and derives all that follows from it; the suffix of the path says which kind it is. Returns when
     * all is done.
     */
    void readDataSlot(QString filePath);

private:
    void writeTracks();
    /** decodeLine() of a QString or a QLatin1String. */
    template <typename Text>
    bool decodeText(const Text &line);
    void resetCounters();

    std::unique_ptr<TxtOperator> m_fileOperator;
    ostravel::FrameDecoder m_decoder;
    qint64 m_total = 0;
    qint64 m_processed = 0;
    quint16 m_frameTotal = 0;
    quint16 m_frameError = 0;
    quint16 m_frameSelectedId = 0;
};
