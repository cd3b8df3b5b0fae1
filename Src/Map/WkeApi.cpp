#include "WkeApi.h"

#include "Logging.h"
#include "WkeLibrary.h"
#include "WkeStandIn.h"

WkeApi wke = wkestandin::table();
const wchar_t *wkeDllPath = nullptr;
void *wkeDllHandle = nullptr;

namespace
{

/** Resolves one function. Without it, reports the name and keeps the stand-in. */
template <typename Function>
bool find(void *handle, const char *name, Function &entry)
{
    if (wkelibrary::Symbol symbol = wkelibrary::symbol(handle, name)) {
        entry = reinterpret_cast<Function>(symbol);
        return true;
    }
    return false;
}

template <typename Function>
bool findOrSay(void *handle, const char *name, Function &entry)
{
    if (find(handle, name, entry))
        return true;
    logToBoth(error, "wke api not found: {}", name);
    wkelibrary::reportMissing("wke api not found", name);
    return false;
}

} // namespace

int loadWkeApi(const WkeSettings *settings)
{
    WkeApi table = wkestandin::table();
    void *const handle = wkeDllHandle ? wkeDllHandle : wkelibrary::load(wkeDllPath);
    if (!handle) {
        const QString reason = wkelibrary::whatIsMissing();
        logToBoth(error, "web engine not loaded: {}", reason);
        wkestandin::setReason(reason);
        wke = table;
        return 0;
    }

    const bool starts = find(handle, "wkeInitializeEx", table.wkeInitializeEx);
    table.wkeInitializeEx(settings);

    const bool makesWindows = findOrSay(handle, "wkeCreateWebWindow", table.wkeCreateWebWindow);
    findOrSay(handle, "wkeShowWindow", table.wkeShowWindow);
    findOrSay(handle, "wkeLoadURL", table.wkeLoadURL);
    findOrSay(handle, "wkeResize", table.wkeResize);
    findOrSay(handle, "wkeMoveWindow", table.wkeMoveWindow);
    findOrSay(handle, "wkeRunJS", table.wkeRunJS);
    findOrSay(handle, "wkeFinalize", table.wkeFinalize);

    // Stand-ins cannot use views of the engine, nor the engine those of the stand-ins. Without these two functions the
    // whole table consists of stand-ins.
    if (!starts || !makesWindows) {
        logToBoth(error, "web engine not used: its library lacks {}",
                  starts ? "wkeCreateWebWindow" : "wkeInitializeEx");
        wkestandin::setReason(
            QStringLiteral("网页引擎不完整，缺少 %1。")
                .arg(starts ? QStringLiteral("wkeCreateWebWindow") : QStringLiteral("wkeInitializeEx")));
        table = wkestandin::table();
    }
    wke = table;
    return 1;
}
