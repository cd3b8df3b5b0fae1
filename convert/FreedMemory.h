#pragma once

/**
 * Keeps freed memory for the next flight instead of returning it to the system at once.
 *
 * A batch frees one flight and reads the next of about the same size. Without this each of its pages is returned and
 * requested again, which takes a third of the time of a read. One source for each C library. Call before the first
 * thread starts.
 */
void keepFreedMemory();
