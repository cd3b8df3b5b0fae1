#pragma once

#include "Flight.h"
#include "ReadError.h"
#include "ReadOptions.h"

#include <QString>
#include <variant>

namespace ostravel
{

/** A flight, or why there is none. */
using ReadResult = std::variant<Flight, ReadError>;

/**
 * Reads a whole flight: a text log of hexadecimal frames, or tasks of a flight database.
 *
 * @param path file with the suffix txt or db, in lower case
 * @return the flight, or an error. After a read error in the middle, the flight holds what was read before it; see
 *         Flight::brokenOff
 *
 * An empty log gives an empty flight. Damaged lines are counted and are not an error. The file is not changed. Only
 * regular files are opened, and only ordinary tables of a database are read.
 *
 * Linear in the file size; about 8 bytes of memory per sample. Does not throw, except when memory runs out. Several
 * threads may call this at the same time; one call uses only its own thread. Reading a database needs an application
 * object, for Qt's drivers.
 */
[[nodiscard]] ReadResult readFlight(const QString &path, const ReadOptions &options = {});

} // namespace ostravel
