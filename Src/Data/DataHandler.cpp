#include "DataHandler.h"

#include "AppConfig.h"
#include "ChannelStore.h"
#include "DataListDia.h"
#include "FlightDatabase.h"
#include "LogText.h"
#include "Logging.h"
#include "PostProcess.h"
#include "TextLog.h"
#include "TxtOperator.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QSqlDatabase>
#include <exception>
#include <optional>

using ostravel::FrameKind;

namespace
{

/** The low 32 bits; process() reports 32-bit numbers. */
int low32(qint64 value)
{
    return static_cast<int>(static_cast<quint32>(value));
}

/** Writes a database's messages to the log, and processes events during a long copy. */
ostravel::SourceHost logHost()
{
    return {[](const QString &line) { logToBoth(warn, "{}", line); },
            [](const QString &line) { logToBoth(error, "{}", line); },
            // Without user input, which could start a second read.
            [] {
                QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
                return true;
            }};
}

/** Shows the list of tasks. @return the ticked ones in ticking order */
QVector<std::uint8_t> tickedTasks(ostravel::FlightDatabase &database)
{
    DataListDia list(nullptr);
    for (const ostravel::FlightTask &task : database.tasks())
        list.addRow(task.id, task.name, task.createdMs);
    list.exec();
    const QList<quint8> ids = list.selectedIds();
    return {ids.begin(), ids.end()};
}

} // namespace

DataHandler::DataHandler(QObject *parent)
    : QObject(parent)
    , m_decoder(channelSeries())
{
}

DataHandler::~DataHandler() = default;

void DataHandler::initData()
{
    ::initData();
}

void DataHandler::clearData()
{
    ::clearData();
}

MyGraph *DataHandler::createGraph(quint16 code, int row)
{
    return ::createGraph(code, row);
}

void DataHandler::readDataSlot(QString filePath)
{
    if (filePath.isEmpty()) {
        emit statusFeedbackSignal(QStringLiteral("file is empty"));
        return;
    }
    const QString suffix = QFileInfo(filePath).suffix();
    qDebug() << suffix;
    if (suffix == QLatin1String("db"))
        handleDb(filePath);
    else if (suffix == QLatin1String("txt"))
        handleTxt(filePath);

    logToBoth(info, "total frame cnt is {}", m_frameTotal);
    logToBoth(info, "error frame cnt is {}", m_frameError);
    if (selectedPlaneEnabled)
        logToBoth(info, "select plane id is {}, frame is {}", selectedPlaneId, m_frameSelectedId);
    else
        logToBoth(info, "All plane's frame is {}", m_frameTotal - m_frameError);

    const int total = low32(m_total);
    emit process(low32(m_total - 30), total);
    if (!startTimeFromUser)
        calStartTime();
    calOrigin();
    emit process(low32(m_total - 20), total);
    calTrack();
    calAttackTrack();
    writeTracks();
    emit process(low32(m_total - 10), total);
    try {
        calFactors();
    } catch (const std::exception &) {
        logToBoth(warn, "when cal factor, data count is not equal");
    }
    calSpeedAngle();
    emit process(total, total);
    emit statusFeedbackSignal(tr("data handing finished"));
    emit readDataFinishedSinal(m_frameTotal, m_frameError, m_frameSelectedId);
}

void DataHandler::writeTracks()
{
    // A database read has no file operator, so it uses this one to write the tracks.
    TxtOperator fallbackWriter;
    connect(&fallbackWriter, &TxtOperator::statusFeedbackSignal, this, &DataHandler::statusFeedbackSignal);
    TxtOperator &writer = m_fileOperator ? *m_fileOperator : fallbackWriter;
    AppConfig &config = AppConfig::getInstance();
    writer.writeTrack(config.getDataPath(), trackX, trackY, trackZ);
    writer.writeTrack(config.getAttackDataPath(), attackTrackX, attackTrackY, attackTrackZ);
}

void DataHandler::handleTxt(const QString &filePath)
{
    if (!m_fileOperator) {
        m_fileOperator = std::make_unique<TxtOperator>();
        connect(m_fileOperator.get(), &TxtOperator::statusFeedbackSignal, this, &DataHandler::statusFeedbackSignal);
    }
    emit doHandleReady();
    m_total = QFileInfo(filePath).size();
    resetCounters();
    emit process(1, low32(m_total));

    m_fileOperator->setFileName(filePath);
    if (m_fileOperator->openFile(QIODevice::ReadOnly)) {
        decodeData();
        emit statusFeedbackSignal(tr("decode sucess, handling data..."));
        m_fileOperator->closeFile();
    } else {
        emit statusFeedbackSignal(tr("file open failed"));
        emit process(0, low32(m_total));
        emit readDataFinishedSinal(0, 0, 0);
        logToBoth(warn, "open file error:{}", filePath);
    }
}

bool DataHandler::decodeData()
{
    logToBoth(info, "start decode data");
    emit statusFeedbackSignal(tr("start decoding data"));
    ostravel::TextLog log(m_fileOperator->file());
    m_decoder.reserveForLog(log.size());
    const ostravel::SourceEnd end = log.forEachLine([this](const auto &line) {
        decodeText(line);
        return true;
    });
    if (!end.reason.isEmpty())
        logToBoth(warn, "reading the log broke off at byte {} of {}: {}", end.done, end.total, end.reason);
    evenTail();
    return true;
}

void DataHandler::handleDb(const QString &filePath)
{
    const QString connectionName = QStringLiteral("qt_sql_default_connection");
    QSqlDatabase connection;
    if (QSqlDatabase::contains(connectionName)) {
        // Once created, the connection always uses the first file of this process and ignores filePath.
        connection = QSqlDatabase::database(connectionName, false);
    } else {
        connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        connection.setDatabaseName(filePath);
        connection.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=500"));
    }
    ostravel::FlightDatabase database(connection, logHost());
    if (!database.open())
        logToBoth(error, "database connect failed!");

    const QVector<std::uint8_t> ids = tickedTasks(database);
    emit doHandleReady();
    if (ids.isEmpty()) {
        database.close();
        emit statusFeedbackSignal(QStringLiteral("No data is selected!"));
        return;
    }
    for (const std::uint8_t id : ids)
        m_total += database.countRecords(id);
    resetCounters();
    logToBoth(info, "start decode data");
    emit statusFeedbackSignal(tr("start decoding data"));
    emit process(1, low32(m_total));

    database.forEachFrame(ids, [this](const QString &frame) {
        decodeText(frame);
        return true;
    });
    evenTail();
    database.close();
}

void DataHandler::resetCounters()
{
    m_processed = 0;
    m_frameTotal = 0;
    m_frameError = 0;
    m_frameSelectedId = 0;
}

bool DataHandler::decodeLine(const QString &line)
{
    return decodeText(line);
}

template <typename Text>
bool DataHandler::decodeText(const Text &line)
{
    constexpr int kProgressOffset = 40;
    QCoreApplication::processEvents();
    const ostravel::Frame data = ostravel::Frame::fromHex(line);
    m_processed += data.length;
    ++m_frameTotal;
    emit process(low32(m_processed - kProgressOffset), low32(m_total));

    m_decoder.setPlaneId(selectedPlaneEnabled ? std::optional(selectedPlaneId) : std::nullopt);
    const FrameKind kind = m_decoder.decode(data);
    if (kind == FrameKind::BadHeader) {
        ++m_frameError;
        logToBoth(info, "error data :{}", forLog(line));
        return false;
    }
    if (kind == FrameKind::OtherPlane)
        return false;
    if (selectedPlaneEnabled)
        ++m_frameSelectedId;
    return true;
}

void DataHandler::repeatLast(int row, MyGraph **group)
{
    ostravel::repeatLast(group[row]->yvalue());
}

void DataHandler::evenTail()
{
    m_decoder.evenTail();
}

void DataHandler::calStartTime()
{
    postprocess::calStartTime();
}

void DataHandler::calOrigin()
{
    postprocess::calOrigin();
}

void DataHandler::calTrack()
{
    postprocess::calTrack();
}

void DataHandler::calAttackTrack()
{
    postprocess::calAttackTrack();
}

void DataHandler::calFactors()
{
    postprocess::calFactors();
}

void DataHandler::calSpeedAngle()
{
    postprocess::calSpeedAngle();
}

void DataHandler::dataProcess()
{
    postprocess::dataProcess();
}
