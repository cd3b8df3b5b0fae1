#pragma once

// The fake plot library and its runtime record each call in one line.

struct array_ref {
    int references;
    int value;
};
struct error_info {
    int references;
    const char *message;
};

#if defined(_WIN32)
#define STANDIN_EXPORT extern "C" __declspec(dllexport)
#else
#define STANDIN_EXPORT extern "C"
#endif
