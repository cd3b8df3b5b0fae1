#pragma once

#include "Flight.h"
#include "ReadError.h"
#include "ReadOptions.h"

#include <QString>
#include <variant>

namespace ostravel
{

/**
 * Reads a whole flight: a text log of hexadecimal frames, or tasks of a flight database.
 *
 * @param path file with the suffix txt or db, in lower case as the program wants it
 * @return the flight, or why there is none. A file that breaks off gives what was read before; see Flight::brokenOff
 *
 * An empty log gives a flight without a sample. Damaged lines are counted and never an error. The file keeps its bytes;
 * nothing but a regular file is opened, and of a database only ordinary tables are read.
 *
 * Linear in the file, about 8 bytes a sample in memory. Does not throw unless memory runs out. Any number of flights
 * may be read on as many threads at once; one call stays on its thread. A database needs an application object, for
 * Qt's drivers.
 */
[[nodiscard]] std::variant<Flight, ReadError> readFlight(const QString &path, const ReadOptions &options = {});

} // namespace ostravel
