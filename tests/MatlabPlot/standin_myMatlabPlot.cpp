#include "StandInRuntime.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <exception>
#include <initializer_list>

#if defined(STANDIN_MSVC)
#include <windows.h>
#endif

// The layout in a compiled library: the class has virtual functions, so m_array comes after the vtable pointer.

class mwArray
{
public:
    virtual ~mwArray() = default;
    virtual void validate() const { }
    array_ref *m_array = nullptr;
};

class mwException : public std::exception
{
public:
    explicit mwException(error_info *error)
        : m_error(error)
    {
    }
    const char *what() const noexcept override { return m_error->message; }

private:
    error_info *m_error;
};

namespace
{

bool mode(const char *what)
{
    const char *const word = std::getenv("STANDIN_RUNTIME");
    return word && std::strcmp(word, what) == 0;
}

/** Records the folder of the track files, which a compiled m-function reads from the environment. */
void recordFolder()
{
    std::FILE *const file = std::fopen("folder.txt", "wb");
    if (!file)
        return;
#ifdef _WIN32
    if (const wchar_t *const folder = _wgetenv(L"OSTRAVEL_PLOT_FOLDER"))
        std::fwrite(folder, sizeof(wchar_t), std::wcslen(folder), file);
#else
    if (const char *const folder = std::getenv("OSTRAVEL_PLOT_FOLDER"))
        std::fputs(folder, file);
#endif
    std::fclose(file);
}

[[maybe_unused]] error_info s_failure{1, "Undefined function 'plot3'"};

/** Throws as the compiler of the library does. */
[[noreturn]] void fail()
{
#if defined(STANDIN_MSVC)
    constexpr DWORD kThrownByMsvc = 0xE06D7363;
    RaiseException(kThrownByMsvc, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    std::abort(); // never reached
#else
    throw mwException(&s_failure);
#endif
}

} // namespace

#if defined(STANDIN_MSVC)
// standin_msvc.def says what is exported.
extern "C" bool myMatlabPlotInitialize();
extern "C"
#else
STANDIN_EXPORT
#endif
    bool
    myMatlabPlotInitialize()
{
    return !mode("no start");
}

#if defined(_WIN32) && !defined(STANDIN_MSVC)
__declspec(dllexport)
#endif
    void myMatlabPlot(const mwArray &a1, const mwArray &a2, const mwArray &a3, const mwArray &a4, const mwArray &a5,
                      const mwArray &a6, const mwArray &a7, const mwArray &a8);

void myMatlabPlot(const mwArray &a1, const mwArray &a2, const mwArray &a3, const mwArray &a4, const mwArray &a5,
                  const mwArray &a6, const mwArray &a7, const mwArray &a8)
{
    if (mode("no plot"))
        fail();
    std::FILE *const file = std::fopen("plots.txt", "ab");
    if (!file)
        return;
    for (const mwArray *argument : {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8}) {
        // A virtual call through the caller's vtable.
        argument->validate();
        std::fprintf(file, "%d ", argument->m_array->value);
    }
    std::fputs("\n", file);
    std::fclose(file);
    recordFolder();
}
