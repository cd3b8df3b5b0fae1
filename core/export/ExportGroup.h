#pragma once

#include "Flight.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <array>
#include <cstdint>

namespace ostravel
{

/**
 * Some channels under one name: the columns of a sheet or of a text file.
 *
 * A value. The samples share their memory with the channels they were taken from until one of the two is changed, so a
 * group costs next to nothing and does not change with the channels.
 */
struct ExportGroup {
    /** Of the sheet or of the text file, without a suffix. */
    QString name;
    /** Only the text export writes this group. */
    bool textOnly = false;
    /** Heads of the columns. */
    QStringList labels;
    /** One series for each label. */
    QVector<Series> samples;

    /** Data rows: the length of the first series, 0 without one. Other series may be shorter or longer. */
    int rows() const { return samples.isEmpty() ? 0 : samples.first().size(); }
    /** Values in those rows: rows times columns. */
    qint64 values() const { return qint64{rows()} * samples.size(); }
};

/** Which channels an export group consists of: the first of a function code's table. */
struct ExportGroupRow {
    const char *name; ///< never translated: it names files and sheets
    std::uint8_t code; ///< function code of the channels
    int columns; ///< channels, counted from the first row of the table
    bool textOnly; ///< see ExportGroup
};

/** The export group of a function code. */
constexpr ExportGroupRow exportGroupRow(const frame::Layout &layout)
{
    // Readers of this file expect the first equipment channel in it, not the backup channel.
    if (layout.code == frame::kBackup)
        return {layout.name, frame::kEquipment, 1, true};
    return {layout.name, layout.code, layout.rowCount, false};
}

/** All export groups, in output order: that of the function codes. */
constexpr std::array<ExportGroupRow, frame::kLayouts.size()> makeExportGroupRows()
{
    std::array<ExportGroupRow, frame::kLayouts.size()> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i] = exportGroupRow(frame::kLayouts[i]);
    return rows;
}
inline constexpr std::array kExportGroupRows = makeExportGroupRows();

/** The export groups of a flight, in output order, with the labels of the tables. Any thread. */
QVector<ExportGroup> exportGroups(const Flight &flight);

} // namespace ostravel
