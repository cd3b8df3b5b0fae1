#include "HostProcess.h"

void prepareHostProcess()
{
    // Qt finds its drivers in the folder that it was built for.
}
