#pragma once

/**
 * @file
 * The web engine, as the map uses it: eight entry points, found in a library at run time.
 *
 * The names are those of the engine that Windows users have ("node.dll"). Elsewhere a library of ours exports the same
 * eight over Qt's web engine. Main thread only.
 */

struct WkeSettings;
struct WkeView;
/** A view of the engine. */
using WkeWebView = WkeView *;
/** A native window, as QWidget::winId gives it. */
using WkeWindow = void *;

/** The type of window that stands inside another one. */
constexpr int kWkeWindowTypeControl = 2;

/** The eight entry points, under the names that the library exports. */
struct WkeApi {
    /** Starts the engine; null for its defaults. */
    void (*wkeInitializeEx)(const WkeSettings *settings);
    /** A new view inside a window, place and size in pixels; null when there can be none. */
    WkeWebView (*wkeCreateWebWindow)(int type, WkeWindow parent, int x, int y, int width, int height);
    /** A new view is hidden. */
    void (*wkeShowWindow)(WkeWebView view, bool show);
    /** A web address or the plain path of a file, in UTF-8. */
    void (*wkeLoadURL)(WkeWebView view, const char *url);
    /** Pixels; the upper left corner stays. */
    void (*wkeResize)(WkeWebView view, int width, int height);
    /** Place and size in pixels. */
    void (*wkeMoveWindow)(WkeWebView view, int x, int y, int width, int height);
    /** Script in UTF-8; gives the engine's own handle of the result. */
    long long (*wkeRunJS)(WkeWebView view, const char *script);
    /** Ends what wkeInitializeEx began; the last of several takes every view along. */
    void (*wkeFinalize)();
};

/** The table. Holds stand-ins until an engine is loaded, and wherever one has no function: never a null pointer. */
extern WkeApi wke;

/** May be set before loading: the library's path, and the system's handle of a library that is loaded already. */
///@{
extern const wchar_t *wkeDllPath;
extern void *wkeDllHandle;
///@}

/**
 * Finds the engine's library and its entry points and starts the engine with settings, which may be null. May be called
 * again and again.
 *
 * A message box names each entry point that is missing. An engine that cannot start or make a window is not used at
 * all.
 *
 * @return 1, or 0 when the library cannot be loaded; the map area then says what is missing
 */
int loadWkeApi(const WkeSettings *settings);
