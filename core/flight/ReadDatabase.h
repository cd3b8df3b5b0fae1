#pragma once

#include "FlightDatabase.h"
#include "LogFormat.h"

#include <QVector>
#include <variant>

namespace ostravel
{

/** Reads tasks of a flight database as one flight; see readFlight. */
ReadResult readDatabase(const QString &path, const ReadOptions &options);

/**
 * The tasks of a flight database, in the order of the file; none when its list is empty.
 *
 * @param path file with the suffix db
 * @return the tasks, or why they cannot be read. The file is opened as for readFlight, and by the same thread rules
 */
[[nodiscard]] std::variant<QVector<FlightTask>, ReadError> readFlightTasks(const QString &path);

} // namespace ostravel
