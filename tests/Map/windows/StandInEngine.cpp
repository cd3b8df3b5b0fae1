// Replaces node.dll: records the calls in their order, with unchanged bytes.

#include <cstdio>

#define ENGINE_EXPORT extern "C" __declspec(dllexport)

namespace
{

void say(const char *format, const char *text = "", int a = 0, int b = 0, int c = 0, int d = 0)
{
    if (std::FILE *const file = std::fopen("engine.txt", "ab")) {
        std::fprintf(file, format, text, a, b, c, d);
        std::fclose(file);
    }
}

} // namespace

ENGINE_EXPORT void wkeInitializeEx(const void *settings)
{
    say("initialize %s\n", settings ? "settings" : "nothing");
}

#ifdef WITH_WINDOWS
ENGINE_EXPORT void *wkeCreateWebWindow(int type, void *parent, int x, int y, int width, int height)
{
    static int view;
    say("create %s %d %d %d %d\n", type == 2 && parent ? "control" : "other", x, y, width, height);
    return &view;
}
#endif

#ifdef WITH_ALL
ENGINE_EXPORT void wkeShowWindow(void *, bool show)
{
    say("show%s %d\n", "", show ? 1 : 0);
}

ENGINE_EXPORT void wkeLoadURL(void *, const char *url)
{
    say("load %s\n", url);
}

ENGINE_EXPORT void wkeResize(void *, int width, int height)
{
    say("resize%s %d %d\n", "", width, height);
}

ENGINE_EXPORT void wkeMoveWindow(void *, int x, int y, int width, int height)
{
    say("move%s %d %d %d %d\n", "", x, y, width, height);
}

ENGINE_EXPORT long long wkeRunJS(void *, const char *script)
{
    say("run %s\n", script);
    return 0;
}

ENGINE_EXPORT void wkeFinalize()
{
    say("finalize%s\n");
}
#endif
