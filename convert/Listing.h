#pragma once

#include "Arguments.h"

/**
 * Shows the tasks of the databases of a command line, then all groups and channels.
 *
 * @return the status of the process: failed when a database cannot be read
 */
int listContents(const Arguments &arguments);
