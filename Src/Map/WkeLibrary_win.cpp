#include "WkeLibrary.h"

#include <windows.h>

void *wkelibrary::load(const wchar_t *path)
{
    return path ? LoadLibraryW(path) : nullptr;
}

wkelibrary::Symbol wkelibrary::symbol(void *handle, const char *name)
{
    return reinterpret_cast<Symbol>(GetProcAddress(static_cast<HMODULE>(handle), name));
}

void wkelibrary::reportMissing(const char *text, const char *caption)
{
    MessageBoxA(nullptr, text, caption, MB_OK);
}

QString wkelibrary::whatIsMissing()
{
    return QStringLiteral("程序目录下缺少网页引擎 node.dll，或其位数与程序不符。");
}
