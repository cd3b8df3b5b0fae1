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
 * Reads one recorded flight, a text log or a flight database, into the channel store. One call of readDataSlot() does
 * the whole read.
 *
 * Use one handler for one read, on the main thread. Processes events once per line, so the interface stays responsive.
 */
class DataHandler : public QObject
{
    Q_OBJECT

public:
    /** Does not read; connect the signals, then call readDataSlot(). */
    explicit DataHandler(QObject *parent = nullptr);
    ~DataHandler() override;

    /** Forwards to the function of the same name of the channel store. */
    ///@{
    static void initData();
    static void clearData();
    static MyGraph *createGraph(quint16 code, int row);
    ///@}

    /** Reads a text log; emits signals when the file cannot be opened. */
    void handleTxt(const QString &filePath);
    /** Shows the tasks of a flight database and reads those that the user selects. */
    void handleDb(const QString &filePath);
    /** Decodes every line of the open text log. @return always true */
    bool decodeData();

    /**
     * Decodes one frame.
     *
     * @param line hexadecimal text of the frame
     * @return false when the header is wrong or the plane filter drops the frame
     */
    bool decodeLine(const QString &line);
    /** Appends to a channel a copy of its last sample, or 0.0 when it is empty. */
    void repeatLast(int row, MyGraph **group);
    /** Aligns the lengths of the series after the last line; see ostravel::FrameDecoder::evenTail(). */
    void evenTail();

    /** Forwards to the function of the same name of postprocess. */
    ///@{
    void calStartTime();
    void calOrigin();
    void calTrack();
    void calAttackTrack();
    void calFactors();
    void calSpeedAngle();
    void dataProcess();
    ///@}

    /** The operator that reads the text log; null before handleTxt(). Owned by this handler. */
    TxtOperator *fileOperator() const { return m_fileOperator.get(); }
    /** Total for process(): bytes of a text log, records of a database. */
    qint64 total() const { return m_total; }
    /** For a caller of decodeLine() that shows progress. */
    void setTotal(qint64 total) { m_total = total; }
    /** Frame bytes decoded so far, also when total() counts records. */
    qint64 processed() const { return m_processed; }
    /** Numbers of lines, of wrong headers, and of frames of the selected plane. They wrap at 65536. */
    ///@{
    quint16 frameTotal() const { return m_frameTotal; }
    quint16 frameError() const { return m_frameError; }
    quint16 frameSelectedId() const { return m_frameSelectedId; }
    ///@}

signals:
    /** A text for the status bar. */
    void statusFeedbackSignal(QString _sMessage);
    /** Reading starts; progress may be shown. */
    void doHandleReady();
    /** Progress: the low 32 bits of processed() and total(). */
    void process(int now, int total);
    /** The channel store holds the flight. */
    void readDataFinishedSinal(ushort frameTotal, ushort frameError, ushort frameSelectedId);

public slots:
    /**
     * Reads a flight and computes the derived values; the suffix of the path selects the kind of source. Returns when
     * the read is complete.
     */
    void readDataSlot(QString filePath);

private:
    void writeTracks();
    /** decodeLine() for a QString or a QLatin1String. */
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
