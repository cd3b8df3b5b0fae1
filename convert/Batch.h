#pragma once

#include "Arguments.h"

/** Reads, and writes as was asked for, all logs of a command line, and reports. @return the status of the process */
int runBatch(const Arguments &arguments);
