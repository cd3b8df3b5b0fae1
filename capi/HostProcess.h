#pragma once

/**
 * Makes Qt fit for use inside a program that knows nothing of it. Cheap after the first call; any thread.
 *
 * A host that has a Qt application of its own is left alone.
 */
void prepareHostProcess();
