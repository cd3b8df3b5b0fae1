#include "DataHandler.h"

#include "AppConfig.h"
#include "ChannelStore.h"
#include "DataListDia.h"
#include "FlightDatabase.h"
#include "FrameTable.h"
#include "HexText.h"
#include "LineReader.h"
#include "LogText.h"
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
#include <array>
#include <exception>
#include <iterator>

namespace
{

/** Samples of a group, told by its first channel. */
int lengthOf(MyGraph *const *group)
{
    return std::as_const(*group[0]).yvalue().size();
}

/** The low 32 bits, as progress is counted. */
int low32(qint64 value)
{
    return static_cast<int>(static_cast<quint32>(value));
}

/** Characters of one line of each decoded function code, as recorders write them. */
constexpr int roundOfLines()
{
    int characters = 0;
    for (const frame::Layout &layout : frame::kLayouts) {
        if (layout.gate != frame::kNoGate)
            characters += 2 * frame::reach(layout) + 1;
    }
    return characters;
}

/** Makes room for an expected number of samples a channel, so that the series need not grow step by step. */
void reserveSamples(qint64 samples)
{
    // Ten hours. A size alone is no proof of a flight, and beyond it the steps of the growth no longer count.
    constexpr qint64 kMost = 200'000;
    for (const ChannelGroup &group : channelGroups()) {
        if (group.code == frame::kDifference)
            continue; // takes over the samples of other channels
        for (MyGraph *const graph : group)
            graph->yvalue().reserve(static_cast<int>(std::min(samples, kMost)));
    }
}

/** A damaged page ends the rows of a query as their last one does, but for its error. */
void warnIfBrokenOff(const QSqlQuery &query, const char *what, qint64 rows)
{
    if (query.isActive() && query.lastError().isValid())
        logToBoth(warn, "database read broke off: {} {} were read: {}", rows, what, query.lastError().text());
}

/** Shows the list of tasks. @return the ticked ones in ticking order */
QList<quint8> tickedTasks(const FlightDatabase &database)
{
    QSqlQuery query(database.connection());
    database.execute(query, QStringLiteral("t_fly_task"), QStringLiteral("select * from t_fly_task;"));
    DataListDia list(nullptr);
    qint64 rows = 0;
    for (; query.next(); ++rows) {
        list.addRow(static_cast<quint8>(query.value(QStringLiteral("id")).toUInt()),
                    query.value(QStringLiteral("name")).toString(), query.value(QStringLiteral("ctime")).toULongLong());
    }
    warnIfBrokenOff(query, "tasks", rows);
    query.finish();
    list.exec();
    return list.selectedIds();
}

/** @param task the condition by which a task's records are found */
uint countRecords(const FlightDatabase &database, const QString &task)
{
    QSqlQuery query(database.connection());
    database.execute(query, QStringLiteral("t_fly_record"),
                     QStringLiteral("select count(*) from t_fly_record where %1;").arg(task));
    return query.next() ? query.value(0).toUInt() : 0;
}

} // namespace

/** A frame as far as the tables reach; bytes that the text did not give are zero. */
struct DataHandler::Frame {
    std::array<std::uint8_t, frame::reach()> bytes;
    qint64 length;

    std::uint8_t planeId() const { return bytes[frame::kPlaneIdPosition]; }
    std::uint8_t functionCode() const { return bytes[frame::kFunctionCodePosition]; }
    std::uint16_t deviceState() const { return readBe16(bytes.data() + frame::kDeviceStatePosition); }
    bool hasHeader() const
    {
        return length >= frame::kLeastBytes && bytes[0] == frame::kHeader1 && bytes[1] == frame::kHeader2;
    }
    template <std::uint8_t Code, std::size_t Row>
    double value() const
    {
        constexpr frame::FieldRow kField = frame::layoutOf(Code).rows[Row];
        return readFieldValue(bytes.data() + kField.offset - 1, kField.isSigned, kField.width) / kField.divisor;
    }
};

DataHandler::DataHandler(QObject *parent)
    : QObject(parent)
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
    QFile &file = m_fileOperator->file();
    const qint64 size = file.size();
    reserveSamples(size / roundOfLines());
    LineReader lines(file);
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
    const bool failed = file.error() != QFileDevice::NoError;
    if (failed || file.pos() < size)
        logToBoth(warn, "reading the log broke off at byte {} of {}: {}", file.pos(), size,
                  failed ? file.errorString() : QStringLiteral("the file became shorter"));
    evenTail();
    return true;
}

void DataHandler::handleDb(const QString &filePath)
{
    const QString connectionName = QStringLiteral("qt_sql_default_connection");
    QSqlDatabase connection;
    if (QSqlDatabase::contains(connectionName)) {
        // The connection keeps the first file of the run, whatever is asked for.
        connection = QSqlDatabase::database(connectionName, false);
    } else {
        connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        connection.setDatabaseName(filePath);
        connection.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=500"));
    }
    FlightDatabase database(connection);
    if (!database.open())
        logToBoth(error, "database connect failed!");

    const QList<quint8> ids = tickedTasks(database);
    emit doHandleReady();
    if (ids.isEmpty()) {
        database.close();
        emit statusFeedbackSignal(QStringLiteral("No data is selected!"));
        return;
    }
    QString condition;
    for (const quint8 id : ids) {
        const QString task = QStringLiteral("task_id = %1").arg(id);
        m_total += countRecords(database, task);
        condition += condition.isEmpty() ? task : QStringLiteral(" OR ") + task;
    }
    resetCounters();
    logToBoth(info, "start decode data");
    emit statusFeedbackSignal(tr("start decoding data"));
    emit process(1, low32(m_total));

    QSqlQuery query(connection);
    database.execute(query, QStringLiteral("t_fly_record"),
                     QStringLiteral("select frame from t_fly_record where ") + condition);
    qint64 rows = 0;
    for (; query.next(); ++rows)
        decodeLine(query.value(0).toString());
    warnIfBrokenOff(query, "records", rows);
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
    Frame data; // NOLINT(cppcoreguidelines-pro-type-member-init): decodeHex fills it
    data.length = decodeHex(line, data.bytes.data(), static_cast<int>(data.bytes.size()));
    m_processed += data.length;
    ++m_frameTotal;
    emit process(low32(m_processed - kProgressOffset), low32(m_total));

    if (!data.hasHeader()) {
        ++m_frameError;
        logToBoth(info, "error data :{}", forLog(line));
        return false;
    }
    return takeFrame(data);
}

bool DataHandler::takeFrame(const Frame &data)
{
    if (selectedPlaneEnabled) {
        if (data.planeId() != selectedPlaneId)
            return false;
        ++m_frameSelectedId;
    }
    appendSamples(data);
    repair();
    return true;
}

namespace
{

/**
 * Appends a value to each channel of a group.
 *
 * One loop with everything in it, and not a piece of it for each row: the code of the event loop, which runs between
 * two frames, leaves little room in the processor's memory for instructions.
 */
__attribute__((noinline, flatten)) void appendEach(MyGraph **group, const double *values, std::size_t rows)
{
    constexpr int kCacheLine = 64 / sizeof(double); // samples
    for (std::size_t row = 0; row < rows; ++row) {
        QVector<double> &samples = group[row]->yvalue();
        samples.append(values[row]);
        // Every channel has its own end; without a hint the first sample of each further line waits for the memory.
        __builtin_prefetch(samples.constData() + samples.size() + kCacheLine, 1);
    }
}

/** Appends the value of each row to its channel. The rows are constants, so that a field costs no lookup. */
template <std::uint8_t Code, typename Frame, std::size_t... Row>
void appendValues(MyGraph **group, const Frame &data, std::index_sequence<Row...>)
{
    const double values[] = {data.template value<Code, Row>()...};
    appendEach(group, values, sizeof...(Row));
}

} // namespace

template <std::uint8_t Code>
void DataHandler::appendFields(MyGraph **group, const Frame &data)
{
    constexpr frame::Layout kLayout = frame::layoutOf(Code);
    if (data.length > kLayout.gate) {
        appendValues<Code>(group, data, std::make_index_sequence<std::size_t {kLayout.rowCount}>());
        return;
    }
    for (int row = 0; row < kLayout.rowCount; ++row)
        repeatLast(row, group);
}

void DataHandler::appendSamples(const Frame &data)
{
    switch (data.functionCode()) {
    case frame::kControlStatus: {
        constexpr int kGate = frame::layoutOf(frame::kControlStatus).gate;
        const std::uint16_t state = data.deviceState();
        for (int bit = 0; bit < static_cast<int>(std::size(equipmentGraphs)); ++bit) {
            if (data.length > kGate)
                equipmentGraphs[bit]->yvalue().append((state >> bit & 1) != 0 ? 1.0 : 0.0);
            else
                repeatLast(bit, equipmentGraphs);
        }
        appendFields<frame::kControlStatus>(controlStatusGraphs, data);
        break;
    }
    case frame::kHeartBeat:
        appendFields<frame::kHeartBeat>(heartBeatGraphs, data);
        break;
    case frame::kAttitude:
        appendFields<frame::kAttitude>(attitudeGraphs, data);
        break;
    case frame::kSensor:
        appendFields<frame::kSensor>(sensorGraphs, data);
        break;
    case frame::kTarget:
        appendFields<frame::kTarget>(targetGraphs, data);
        break;
    case frame::kPayload:
        appendFields<frame::kPayload>(payloadGraphs, data);
        break;
    case frame::kBackup:
        appendFields<frame::kBackup>(&backupGraph, data);
        break;
    default: // unknown, or computed and never sent
        break;
    }
}

void DataHandler::repeatLast(int row, MyGraph **group)
{
    QVector<double> &samples = group[row]->yvalue();
    samples.append(samples.isEmpty() ? 0.0 : samples.constLast());
}

template <std::size_t Count>
void DataHandler::extend(MyGraph *(&group)[Count])
{
    for (int row = 0; row < static_cast<int>(Count); ++row)
        repeatLast(row, group);
}

void DataHandler::repair()
{
    // A group may lead its neighbour by one sample; each pair moves by at most one sample a frame.
    constexpr int kLead = 1;
    const int sensorLead = lengthOf(sensorGraphs) - lengthOf(targetGraphs);
    if (sensorLead < 0)
        extend(sensorGraphs);
    else if (sensorLead > kLead)
        extend(targetGraphs);

    const int statusLead = lengthOf(controlStatusGraphs) - lengthOf(sensorGraphs);
    if (statusLead < 0) {
        extend(controlStatusGraphs);
        extend(equipmentGraphs);
    } else if (statusLead > kLead) {
        extend(sensorGraphs);
    }

    const int attitudeLead = lengthOf(attitudeGraphs) - lengthOf(controlStatusGraphs);
    if (attitudeLead < 0)
        extend(attitudeGraphs);
    else if (attitudeLead > kLead)
        extend(controlStatusGraphs); // alone: here the equipment channels stay behind
}

void DataHandler::evenTail()
{
    if (lengthOf(attitudeGraphs) > lengthOf(controlStatusGraphs)) {
        extend(controlStatusGraphs);
        extend(equipmentGraphs);
    }
    if (lengthOf(controlStatusGraphs) > lengthOf(sensorGraphs))
        extend(sensorGraphs);
    if (lengthOf(sensorGraphs) > lengthOf(targetGraphs))
        extend(targetGraphs);
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
