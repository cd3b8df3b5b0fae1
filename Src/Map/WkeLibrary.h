#pragma once

#include <QString>

/** Loads the web engine's library. One source file for each platform. */
namespace wkelibrary
{

/** Any function; cast it to its real type before the call. */
using Symbol = void (*)();

/** The system's handle of the engine's library, or null. The library is never unloaded. */
void *load(const wchar_t *path);

/** A function of a loaded library, or null. */
Symbol symbol(void *handle, const char *name);

/** Shows a modal message box with an OK button only. */
void reportMissing(const char *text, const char *caption);

/**
 * A Chinese sentence that tells the user what is missing when load() returns null.
 *
 * Call it once after each load(): the system gives its reason only once.
 */
QString whatIsMissing();

} // namespace wkelibrary
