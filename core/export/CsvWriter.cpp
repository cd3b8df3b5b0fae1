#include "CsvWriter.h"

#include "ClockText.h"
#include "ExactNumber.h"
#include "ReadOptions.h"
#include "ReplacedFile.h"

#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace ostravel
{

namespace
{

/** The channels of one table. */
struct Table {
    QString path;
    int periodMs;
    QVector<frame::ChannelId> channels;
};

/** A channel with the place of its last cell, since half of the samples repeat the one before. */
struct Column {
    Series series; // shares the samples and keeps them
    const double *samples;
    int size;
    ExactNumber number;
    const char *cell = nullptr; // with its comma, in the row before
    int length = 0; // of the cell; 0 for none yet
};

/** The difference series have the digits of the series that they are made from, and no divisor of their own. */
double divisorOf(const frame::ChannelId &channel)
{
    constexpr double kHundredths = 100;
    return channel.code == frame::kDifference ? kHundredths : frame::rowOfChannel(channel).divisor;
}

QVector<Table> tablesOf(const Flight &flight, const QString &path, const QVector<frame::ChannelId> &channels)
{
    QVector<Table> tables{{path, kDefaultPeriodMs, {}}};
    for (const frame::ChannelId &channel : channels) {
        const int period = flight.periodMs(channel.code);
        const QString place = period == kDefaultPeriodMs ? path : csvGroupPath(path, channel.code);
        auto table
            = std::find_if(tables.begin(), tables.end(), [&place](const Table &one) { return one.path == place; });
        if (table == tables.end())
            table = tables.insert(tables.end(), {place, period, {}});
        table->channels.append(channel);
    }
    if (tables.constFirst().channels.isEmpty())
        tables.removeFirst();
    return tables;
}

std::vector<Column> columnsOf(const Flight &flight, const Table &table)
{
    std::vector<Column> columns;
    columns.reserve(static_cast<std::size_t>(table.channels.size()));
    for (const frame::ChannelId &channel : table.channels) {
        const Series &series = flight.samples(channel.code, channel.row);
        columns.push_back({series, series.constData(), series.size(), ExactNumber(divisorOf(channel))});
    }
    return columns;
}

QByteArray headOf(const Table &table, bool labels)
{
    QByteArray head(labels ? "\xEF\xBB\xBF" : "");
    head += "time,seconds";
    for (const frame::ChannelId &channel : table.channels) {
        head += ',';
        head += labels ? frame::labelOf(channel).toUtf8() : QByteArray(frame::rowOfChannel(channel).name);
    }
    return head + '\n';
}

bool sameBits(double a, double b)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): minus zero is to differ from zero
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/** Bytes of a cell: a comma and a number. */
constexpr std::size_t kCellRoom = 1 + kExactNumberRoom;

char *putCell(char *to, Column &column, int row)
{
    constexpr int kCacheLines = 2 * 64 / sizeof(double); // samples
    if (row >= column.size) {
        *to = ',';
        return to + 1;
    }
    const double *const sample = column.samples + row;
    // A table reads more series side by side than the processor foresees.
    __builtin_prefetch(sample + kCacheLines);
    if (column.length != 0 && sameBits(*sample, sample[-1])) {
        std::memcpy(to, column.cell, kCellRoom); // a fixed size is a few moves, where the length would be a call
    } else {
        *to = ',';
        column.length = static_cast<int>(column.number.put(to + 1, *sample) - to);
    }
    column.cell = to;
    return to + column.length;
}

std::optional<ExportError> writeTable(const Flight &flight, const Table &table, bool labels, ExportProgress &progress)
{
    using QXlsx::XlsxOutput;
    constexpr std::size_t kRowRoom = kClockTextRoom + static_cast<std::size_t>(frame::rowCount() + 2) * kCellRoom;
    constexpr double kMsPerSecond = 1000;
    ReplacedFile file(table.path);
    if (std::optional<ExportError> error = file.open())
        return error;
    XlsxOutput &output = file.output();
    output.append(headOf(table, labels));

    std::vector<Column> columns = columnsOf(flight, table);
    const auto longest = std::max_element(columns.begin(), columns.end(),
                                          [](const Column &a, const Column &b) { return a.size < b.size; });
    const int rows = longest->size;
    ClockText clock(flight.startTime());
    const ExactNumber seconds(kMsPerSecond);
    // Two rows in turn: cells are copied from the row before.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): a row is written before it is read
    std::array<std::array<char, kRowRoom>, 2> texts;
    bool more = progress.ask();
    for (int row = 0; row < rows && more && output.isGood(); ++row) {
        const qint64 ms = qint64{row} * table.periodMs;
        char *const text = texts[static_cast<std::size_t>(row % 2)].data();
        char *to = clock.put(text, ms);
        *to++ = ',';
        to = seconds.put(to, static_cast<double>(ms) / kMsPerSecond);
        for (Column &column : columns)
            to = putCell(to, column, row);
        *to++ = '\n';
        output.append(text, static_cast<std::size_t>(to - text));
        more = progress.advance(static_cast<qint64>(columns.size()));
    }
    return file.finish(!more);
}

} // namespace

QString csvGroupPath(const QString &path, std::uint8_t code)
{
    const QFileInfo info(path);
    const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    return path.left(path.size() - suffix.size()) + QLatin1Char('.') + frame::codeText(code) + suffix;
}

std::optional<ExportError> writeCsv(const Flight &flight, const QString &path, const ExportOptions &options)
{
    const QVector<Table> tables
        = tablesOf(flight, path, options.channels.isEmpty() ? frame::allChannels() : options.channels);
    qint64 total = 0;
    for (const Table &table : tables) {
        for (const frame::ChannelId &channel : table.channels)
            total += flight.samples(channel.code, channel.row).size();
    }
    ExportProgress progress(options, total);
    for (const Table &table : tables) {
        if (std::optional<ExportError> error = writeTable(flight, table, options.labels, progress))
            return error;
    }
    return std::nullopt;
}

} // namespace ostravel
