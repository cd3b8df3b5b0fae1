#pragma once

#include "LogFormat.h"

namespace ostravel
{

/** Reads a text log of hexadecimal frames, one on each line; see readFlight. */
ReadResult readTextLog(const QString &path, const ReadOptions &options);

} // namespace ostravel
