#pragma once

namespace wmts
{

/** Whether this program already serves the port of 127.0.0.1. Takes two seconds at most, whatever is there. */
bool isRunningAt(int port);

} // namespace wmts
