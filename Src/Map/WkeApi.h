#pragma once

/**
 * @file
 * The interface of the web engine: eight functions, resolved from a library at run time.
 *
 * The names are those of the engine on Windows ("node.dll"). On other systems our own library exports the same eight
 * functions over Qt's web engine. Main thread only.
 */

struct WkeSettings;
struct WkeView;
/** A view of the engine. */
using WkeWebView = WkeView *;
/** A native window, from QWidget::winId(). */
using WkeWindow = void *;

/** The type of a child window. */
constexpr int kWkeWindowTypeControl = 2;

/** The eight functions under their exported names. */
struct WkeApi {
    /** Starts the engine. Null for the default settings. */
    void (*wkeInitializeEx)(const WkeSettings *settings);
    /** Creates a hidden view in a window; position and size in pixels. Null on failure. */
    WkeWebView (*wkeCreateWebWindow)(int type, WkeWindow parent, int x, int y, int width, int height);
    /** Shows or hides a view. */
    void (*wkeShowWindow)(WkeWebView view, bool show);
    /** Loads a web address or the path of a file, in UTF-8. */
    void (*wkeLoadURL)(WkeWebView view, const char *url);
    /** Sets the size in pixels. */
    void (*wkeResize)(WkeWebView view, int width, int height);
    /** Sets position and size in pixels. */
    void (*wkeMoveWindow)(WkeWebView view, int x, int y, int width, int height);
    /** Runs a script in UTF-8. Returns the engine's handle of the result. */
    long long (*wkeRunJS)(WkeWebView view, const char *script);
    /** Ends one wkeInitializeEx(). The last one also ends all views. */
    void (*wkeFinalize)();
};

/** The functions in use. Until an engine is loaded, and for missing functions, these are stand-ins; never null. */
extern WkeApi wke;

/** The library's path, or the system's handle of a library that is already loaded. Set before loadWkeApi(). */
///@{
extern const wchar_t *wkeDllPath;
extern void *wkeDllHandle;
///@}

/**
 * Loads the engine's library, resolves its functions and starts the engine. May be called several times.
 *
 * A message box names each missing function. An engine without the function to start or to create a window is not used
 * at all.
 *
 * @param settings may be null
 * @return 1; or 0 if the library cannot be loaded. The map area then shows what is missing.
 */
int loadWkeApi(const WkeSettings *settings);
