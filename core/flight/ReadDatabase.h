#pragma once

#include "LogFormat.h"

namespace ostravel
{

/** Reads tasks of a flight database as one flight; see readFlight. */
ReadResult readDatabase(const QString &path, const ReadOptions &options);

} // namespace ostravel
