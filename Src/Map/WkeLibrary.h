#pragma once

#include <QString>

/** The web engine's library: how it is loaded differs by platform. */
namespace wkelibrary
{

/** Any function, to be cast to its own type. */
using Symbol = void (*)();

/** The system's handle of the engine's library, or null. The library is never unloaded. */
void *load(const wchar_t *path);

/** A function of a loaded library, or null. */
Symbol symbol(void *handle, const char *name);

/** Shows a modal box with a lone OK button. */
void reportMissing(const char *text, const char *caption);

/** What a user lacks when load gives null: one Chinese sentence. */
QString whatIsMissing();

} // namespace wkelibrary
