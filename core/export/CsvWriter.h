#pragma once

#include "ExportFormat.h"

#include <cstdint>

namespace ostravel
{

/**
 * Writes a flight as tables of comma-separated values in UTF-8, with lines that end in a line feed.
 *
 * The first columns are "time" (ISO 8601 with milliseconds, the clock of the start time; empty without one) and
 * "seconds" (since sample 0), then come the channels. A number is the shortest text that reads back bit for bit. A
 * channel that is shorter than the longest of its table ends in empty cells.
 *
 * The table at path holds all chosen groups with the default period. A group with a period of its own gets a table of
 * its own at csvGroupPath(). A table without a channel is not written.
 *
 * @param options ExportOptions::channels and ExportOptions::labels count; labels bring a byte order mark, which tells
 *        Excel that the file is UTF-8
 */
std::optional<ExportError> writeCsv(const Flight &flight, const QString &path, const ExportOptions &options = {});

/** Path of the table of one group beside the main one: "flight.0x01.csv" beside "flight.csv". */
QString csvGroupPath(const QString &path, std::uint8_t code);

} // namespace ostravel
