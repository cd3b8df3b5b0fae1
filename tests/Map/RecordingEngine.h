#pragma once

#include "WkeApi.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>
#include <dlfcn.h>

/**
 * A web engine that records the calls. Its functions are in the symbol table of the test program, where the
 * loader finds them as it finds those of a library; include from one source of a program that exports its symbols.
 */
namespace recording
{

struct Engine {
    QStringList calls;
    QByteArray script; // The last one, unchanged.
    QByteArray url;
    int initialized = 0;
    int finalized = 0;
    int windows = 0;
    WkeWindow parent = nullptr;
};

inline Engine &engine()
{
    static Engine engine;
    return engine;
}

/** Clears the record and makes the loader use the recorder as the engine. */
inline void install()
{
    engine() = {};
    wkeDllHandle = dlopen(nullptr, RTLD_NOW);
}

inline QString numbers(std::initializer_list<int> values)
{
    QStringList texts;
    for (int value : values)
        texts.append(QString::number(value));
    return texts.join(QLatin1Char(' '));
}

inline QString handle(WkeWebView view)
{
    return QStringLiteral("view%1 ").arg(reinterpret_cast<quintptr>(view));
}

} // namespace recording

extern "C" {

void wkeInitializeEx(const WkeSettings *settings)
{
    ++recording::engine().initialized;
    recording::engine().calls.append(settings ? QStringLiteral("initialize with settings")
                                              : QStringLiteral("initialize"));
}

WkeWebView wkeCreateWebWindow(int type, WkeWindow parent, int x, int y, int width, int height)
{
    recording::engine().parent = parent;
    recording::engine().calls.append(QStringLiteral("create ") + recording::numbers({type, x, y, width, height}));
    return reinterpret_cast<WkeWebView>(quintptr(++recording::engine().windows));
}

void wkeShowWindow(WkeWebView view, bool show)
{
    recording::engine().calls.append(QStringLiteral("show ") + recording::handle(view) + QString::number(show));
}

void wkeLoadURL(WkeWebView view, const char *url)
{
    recording::engine().url = url;
    recording::engine().calls.append(QStringLiteral("load ") + recording::handle(view));
}

void wkeResize(WkeWebView view, int width, int height)
{
    recording::engine().calls.append(QStringLiteral("resize ") + recording::handle(view)
                                     + recording::numbers({width, height}));
}

void wkeMoveWindow(WkeWebView view, int x, int y, int width, int height)
{
    recording::engine().calls.append(QStringLiteral("move ") + recording::handle(view)
                                     + recording::numbers({x, y, width, height}));
}

long long wkeRunJS(WkeWebView view, const char *script)
{
    recording::engine().script = script;
    recording::engine().calls.append(QStringLiteral("run ") + recording::handle(view) + QString::fromUtf8(script));
    return 0;
}

void wkeFinalize()
{
    ++recording::engine().finalized;
    recording::engine().calls.append(QStringLiteral("finalize"));
}

} // extern "C"
