#include "MatlabLibrary.h"

#include "Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QString>
#include <array>

#ifdef _WIN32
#include <windows.h>
#endif

// The types that the compiled library and its runtime exchange. Virtual functions, and names and order of the members,
// must match those of the runtime.
class error_info;

class mwArray
{
public:
    virtual ~mwArray() = default;
    virtual void validate() const { }

    // A virtual destructor has one vtable slot with MSVC and two with GCC. A library built with the other compiler may
    // therefore call the deleting destructor instead of validate(), so deletion does nothing.
    static void operator delete(void *) { } // NOLINT(misc-new-delete-overloads): objects are never on the heap

    void *m_array = nullptr;
};

class mwException : public std::exception
{
public:
    // Only caught, never thrown here; at run time what() is the library's.
    const char *what() const noexcept override { return ""; }

private:
    error_info *m_error = nullptr;
};

namespace
{

// The C++ name of the entry point depends on the compiler that built the library. This program is built by GCC; the
// call is the same for both.
constexpr char kMsvcPlot[] = "?myMatlabPlot@@YAXAEBVmwArray@@0000000@Z";
constexpr char kGccPlot[] = "_Z12myMatlabPlotRK7mwArrayS1_S1_S1_S1_S1_S1_S1_";

constexpr char kPlotFolderVariable[] = "OSTRAVEL_PLOT_FOLDER"; // myMatlabPlot.m reads it

using Initialize = bool (*)();
using Plot = void (*)(const ::mwArray &, const ::mwArray &, const ::mwArray &, const ::mwArray &, const ::mwArray &,
                      const ::mwArray &, const ::mwArray &, const ::mwArray &);
using Arguments = std::array<const ::mwArray *, 8>;

/** The entry points; all null when the library or the runtime is missing. Resolved once; never unloaded. */
struct EntryPoints {
    Initialize initialize = nullptr;
    Plot plot = nullptr;
    bool plotIsForeign = false; // compiled by MSVC
    int (*getScalarInt32)(void **, int real, int imaginary, int complexity) = nullptr;
    int (*getLastError)(error_info **) = nullptr;
    int (*createError)(error_info **, const char *) = nullptr;
    int (*addReference)(void *) = nullptr;
    int (*releaseReference)(void *) = nullptr;
    const char *(*errorMessage)(error_info *) = nullptr;

    bool complete() const
    {
        return initialize && plot && getScalarInt32 && getLastError && createError && addReference && releaseReference
            && errorMessage;
    }
};

constexpr int kRealNumber = 0; // the complexity of a scalar without an imaginary part

void call(Plot plot, const Arguments &a)
{
    plot(*a[0], *a[1], *a[2], *a[3], *a[4], *a[5], *a[6], *a[7]);
}

#ifdef __MINGW32__
extern "C" __attribute__((used)) long ostravelIsExceptionOfMsvc(EXCEPTION_POINTERS *pointers, void *)
{
    constexpr DWORD kThrownByMsvc = 0xE06D7363;
    return pointers->ExceptionRecord->ExceptionCode == kThrownByMsvc ? EXCEPTION_EXECUTE_HANDLER
                                                                     : EXCEPTION_CONTINUE_SEARCH;
}

/**
 * Calls a library that was built with MSVC.
 *
 * GCC's catch clauses do not catch MSVC exceptions. This function therefore installs a structured exception handler,
 * which GCC supports only by assembler directives. The directives end with .text, so the function must be in that
 * section.
 *
 * @return false when it threw
 */
__attribute__((noinline, noclone, optimize("no-reorder-functions"))) bool callForeign(Plot plot,
                                                                                      const Arguments &arguments)
{
    volatile bool returned = false;
    __asm__ volatile(".seh_handler __C_specific_handler, @except\n\t"
                     ".seh_handlerdata\n\t"
                     ".long 1\n\t"
                     ".rva 771f, 772f, ostravelIsExceptionOfMsvc, 773f\n\t"
                     ".text\n"
                     "771:" ::
                         : "memory");
    plot(*arguments[0], *arguments[1], *arguments[2], *arguments[3], *arguments[4], *arguments[5], *arguments[6],
         *arguments[7]);
    returned = true;
    __asm__ volatile("772: nop\n"
                     "773: nop" ::
                         : "memory", "rax", "rcx", "rdx", "r8", "r9", "r10", "r11");
    return returned;
}
#else
bool callForeign(Plot plot, const Arguments &arguments)
{
    call(plot, arguments);
    return true;
}
#endif

/**
 * Sets an environment variable that tells the m-function where the track files are.
 *
 * The compiled m-function runs from a folder of the runtime, so it cannot find the folder by its own path. Changing the
 * working directory during a plot is no alternative: it would break relative paths on the main thread, such as the log.
 */
void announcePlotFolder()
{
    const QString folder = QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + QStringLiteral("/myPlot"));
#ifdef _WIN32
    // Each C library has its own copy of the environment. One that is loaded later copies the environment of the
    // process, which the first two calls set. The system's C library, which the runtime uses, may already be loaded.
    const std::wstring value = folder.toStdWString();
    const std::wstring name = QString::fromLatin1(kPlotFolderVariable).toStdWString();
    _wputenv_s(name.c_str(), value.c_str());
    SetEnvironmentVariableW(name.c_str(), value.c_str());
    if (const HMODULE systemLibrary = GetModuleHandleW(L"ucrtbase.dll")) {
        using PutEnvironment = int (*)(const wchar_t *, const wchar_t *);
        const auto put
            = reinterpret_cast<PutEnvironment>(reinterpret_cast<void *>(GetProcAddress(systemLibrary, "_wputenv_s")));
        if (put)
            put(name.c_str(), value.c_str());
    }
#else
    qputenv(kPlotFolderVariable, QFile::encodeName(folder));
#endif
}

/** Loads the library beside the executable, otherwise one from the system's search path. */
bool load(QLibrary &library, const QString &name)
{
    library.setFileName(QCoreApplication::applicationDirPath() + QLatin1Char('/') + name);
    if (library.load())
        return true;
    library.setFileName(name);
    if (library.load())
        return true;
    logToBoth(warn, "matlab library not loaded: {}", library.errorString());
    return false;
}

template <typename Function>
void resolve(QLibrary &library, Function &function, const char *symbol)
{
    function = reinterpret_cast<Function>(library.resolve(symbol));
    if (!function)
        logToBoth(warn, "matlab library incomplete: {} has no {}", library.fileName(), symbol);
}

void resolvePlot(QLibrary &library, EntryPoints &points)
{
    points.plot = reinterpret_cast<Plot>(library.resolve(kGccPlot));
    if (points.plot)
        return;
    resolve(library, points.plot, kMsvcPlot);
    points.plotIsForeign = points.plot != nullptr;
}

EntryPoints loadEntryPoints()
{
    EntryPoints points;
    announcePlotFolder();
    QLibrary runtime;
    QLibrary library;
    // The runtime first, because the library needs it.
    if (!load(runtime, QStringLiteral("mclmcrrt9_10")) || !load(library, QStringLiteral("myMatlabPlot")))
        return points;
    resolve(library, points.initialize, "myMatlabPlotInitialize");
    resolvePlot(library, points);
    resolve(runtime, points.getScalarInt32, "mclGetScalarInt32_proxy");
    resolve(runtime, points.getLastError, "mclcppGetLastError_proxy");
    resolve(runtime, points.createError, "mclcppCreateError_proxy");
    resolve(runtime, points.addReference, "ref_count_obj_addref_proxy");
    resolve(runtime, points.releaseReference, "ref_count_obj_release_proxy");
    resolve(runtime, points.errorMessage, "error_info_get_message_proxy");
    return points;
}

const EntryPoints &entryPoints()
{
    static const EntryPoints points = loadEntryPoints();
    return points;
}

/** Throws the runtime's last error, or the given message when there is none. */
[[noreturn]] void throwLastError(const char *defaultMessage)
{
    const EntryPoints &points = entryPoints();
    if (!points.complete())
        throw matlab::mwException(defaultMessage);
    error_info *failure = nullptr;
    points.getLastError(&failure);
    if (!failure)
        points.createError(&failure, defaultMessage);
    if (!failure)
        throw matlab::mwException(defaultMessage);
    points.addReference(failure);
    const char *const text = points.errorMessage(failure);
    std::string message(text ? text : defaultMessage); // copied: the last release frees the text
    points.releaseReference(failure); // added above
    points.releaseReference(failure); // the initial reference
    throw matlab::mwException(std::move(message));
}

} // namespace

struct matlab::mwArray::Content {
    ::mwArray array;
};

matlab::mwArray::mwArray(int value)
    : m_content(new Content)
{
    if (!entryPoints().complete() || entryPoints().getScalarInt32(&m_content->array.m_array, value, 0, kRealNumber) < 0)
        throwLastError("the MATLAB library made no scalar");
}

matlab::mwArray::~mwArray()
{
    if (m_content->array.m_array)
        entryPoints().releaseReference(m_content->array.m_array);
}

bool matlab::myMatlabPlotInitialize(bool &)
{
    // The runtime's start cannot be interrupted.
    return entryPoints().complete() && entryPoints().initialize();
}

void matlab::myMatlabPlot(const mwArray &first, const mwArray &second, const mwArray &third, const mwArray &kind,
                          const mwArray &fifth, const mwArray &sixth, const mwArray &seventh, const mwArray &attack)
{
    const Arguments arguments{&first.content().array,   &second.content().array, &third.content().array,
                              &kind.content().array,    &fifth.content().array,  &sixth.content().array,
                              &seventh.content().array, &attack.content().array};
    if (entryPoints().plotIsForeign) {
        if (!callForeign(entryPoints().plot, arguments))
            throw matlab::mwException("the library failed; its compiler is another one, so its message is lost");
        return;
    }
    try {
        call(entryPoints().plot, arguments);
    } catch (const ::mwException &exception) {
        throw matlab::mwException(exception.what());
    }
}
