#include "DataHandler.h"

#include "AppConfig.h"
#include "ChannelStore.h"
#include "DataListDia.h"
#include "LineReader.h"
#include "Logging.h"
#include "PostProcess.h"
#include "TxtOperator.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <algorithm>
#include <exception>
#include <optional>

using ostravel::FrameKind;
using ostravel::LineReader;

namespace
{

/** The low 32 bits, as progress is counted. */
int low32(qint64 value)
{
    return static_cast<int>(static_cast<quint32>(value));
}

/** A bad line for the log: whole up to 64 KiB, so that one endless line does not fill the log's history. */
QString forLog(const QString &line)
{
    constexpr int kMostBytes = 64 * 1024;
    QByteArray text = line.left(kMostBytes).toUtf8();
    if (line.size() <= kMostBytes && text.size() <= kMostBytes)
        return line;
    int end = std::min(kMostBytes, text.size());
    while (end > 0 && (static_cast<unsigned char>(text.at(end - 1)) & 0xC0U) == 0x80U)
        --end; // back to the first byte of the character that the limit cuts
    if (end > 0 && static_cast<unsigned char>(text.at(end - 1)) >= 0xC0U)
        --end;
    text.truncate(end);
    // Appended: the text may hold place markers of its own.
    return QString::fromUtf8(text) + QStringLiteral("... (%1 characters)").arg(line.size());
}

/** Runs a query and says in the log why it gives nothing. */
void execute(QSqlQuery &query, const QString &text)
{
    query.setForwardOnly(true);
    if (!query.exec(text))
        logToBoth(warn, "database query failed: {}: {}", text, query.lastError().text());
}

/** A damaged page ends the rows of a query as their last one does, but for its error. */
void warnIfBrokenOff(const QSqlQuery &query)
{
    if (query.isActive() && query.lastError().isValid())
        logToBoth(warn, "database read broke off: {}", query.lastError().text());
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
    // A database read has no file operator of its own; here one is needed for its report alone.
    TxtOperator stranger;
    connect(&stranger, &TxtOperator::statusFeedbackSignal, this, &DataHandler::statusFeedbackSignal);
    TxtOperator &writer = m_fileOperator != nullptr ? *m_fileOperator : stranger;
    AppConfig &config = AppConfig::getInstance();
    writer.writeTrack(config.getDataPath(), trackX, trackY, trackZ);
    writer.writeTrack(config.getAttackDataPath(), attackTrackX, attackTrackY, attackTrackZ);
}

void DataHandler::handleTxt(const QString &filePath)
{
    if (m_fileOperator == nullptr) {
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
    m_decoder.reserveForLog(m_fileOperator->file().size());
    LineReader lines(m_fileOperator->file());
    QLatin1String plain; // nearly every line: no need to make a string of it
    QString line;
    while (true) {
        if (lines.nextPlain(plain))
            decodeText(plain);
        else if (lines.next(line))
            decodeText(line);
        else
            break;
    }
    const QFile &file = m_fileOperator->file();
    if (file.error() != QFileDevice::NoError)
        logToBoth(warn, "reading the log broke off: {}", file.errorString());
    evenTail();
    return true;
}

void DataHandler::handleDb(const QString &filePath)
{
    const QString connectionName = QStringLiteral("qt_sql_default_connection");
    QSqlDatabase database;
    if (QSqlDatabase::contains(connectionName)) {
        // The connection keeps the first file of the run, whatever is asked for.
        database = QSqlDatabase::database(connectionName);
    } else {
        database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        database.setDatabaseName(filePath);
        database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=500"));
    }
    if (!database.open())
        logToBoth(error, "database connect failed!");

    QSqlQuery query(database);
    execute(query, QStringLiteral("select * from t_fly_task;"));
    DataListDia list(nullptr);
    while (query.next()) {
        list.addRow(static_cast<quint8>(query.value(QStringLiteral("id")).toUInt()),
                    query.value(QStringLiteral("name")).toString(),
                    query.value(QStringLiteral("ctime")).toULongLong());
    }
    warnIfBrokenOff(query);
    query.finish();
    list.exec();

    emit doHandleReady();
    const QList<quint8> ids = list.selectedIds();
    if (ids.isEmpty()) {
        database.close();
        emit statusFeedbackSignal(QStringLiteral("No data is selected!"));
        return;
    }
    QString condition;
    for (const quint8 id : ids) {
        const QString task = QStringLiteral("task_id = %1").arg(id);
        execute(query, QStringLiteral("select count(*) from t_fly_record where %1;").arg(task));
        if (query.next())
            m_total += query.value(0).toUInt();
        condition += condition.isEmpty() ? task : QStringLiteral(" OR ") + task;
    }
    resetCounters();
    logToBoth(info, "start decode data");
    emit statusFeedbackSignal(tr("start decoding data"));
    emit process(1, low32(m_total));

    execute(query, QStringLiteral("select frame from t_fly_record where ") + condition);
    while (query.next())
        decodeLine(query.value(0).toString());
    warnIfBrokenOff(query);
    evenTail();
    query.finish();
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

    // The user may change the filter at any time before.
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
