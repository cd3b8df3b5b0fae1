#pragma once

/** Makes Qt fit for use inside a program that knows nothing of it. Cheap after the first call; any thread. */
void prepareHostProcess();
