#pragma once

/** What differs between systems: Ctrl+C, the terminal and limits of the process. One source a system. */
namespace terminal
{

/**
 * To be called first: output to a terminal is UTF-8, and Ctrl+C or a request to end is kept for wasInterrupted(). A
 * second Ctrl+C ends the process at once.
 */
void begin();
/** Before the process ends: gives the terminal back as it was. */
void end();

/** Whether somebody asked the process to end. Any thread. */
bool wasInterrupted();

/** Whether standard error is a terminal. */
bool hasTerminal();

/** How many flights may be converted at the same time under the limits of this process; at least 1. */
int maxJobs();

} // namespace terminal
