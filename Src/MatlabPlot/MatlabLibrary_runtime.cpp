#include "MatlabLibrary.h"

#include <QCoreApplication>
#include <QLibrary>
#include <QString>

// What the compiled library and its runtime pass to one another. The names and the order of the members are the
// runtime's: its own code makes, reads and throws objects of these two classes.
class error_info;
class array_ref;

class mwArray
{
public:
    array_ref *m_array = nullptr;
};

class mwException : public std::exception
{
public:
    // Only to be caught: the library throws it and what() is the library's own.
    const char *what() const noexcept override { return ""; }

private:
    error_info *m_error = nullptr;
};

namespace
{

// Where the entry point with C++ arguments stands in the library's table depends on the compiler.
#ifdef _MSC_VER
constexpr char kPlotSymbol[] = "?myMatlabPlot@@YAXAEBVmwArray@@0000000@Z";
#else
constexpr char kPlotSymbol[] = "_Z12myMatlabPlotRK7mwArrayS1_S1_S1_S1_S1_S1_S1_";
#endif

using Initialize = bool (*)();
using Plot = void (*)(const ::mwArray &, const ::mwArray &, const ::mwArray &, const ::mwArray &, const ::mwArray &,
                      const ::mwArray &, const ::mwArray &, const ::mwArray &);

/** The entry points, all null where the library or the runtime is not there. Resolved once; never unloaded. */
struct EntryPoints {
    Initialize initialize = nullptr;
    Plot plot = nullptr;
    int (*getScalarInt32)(array_ref **, int) = nullptr;
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

/** The library beside the executable, else the one that the system finds. */
bool load(QLibrary &library, const QString &name)
{
    library.setFileName(QCoreApplication::applicationDirPath() + QLatin1Char('/') + name);
    if (library.load())
        return true;
    library.setFileName(name);
    return library.load();
}

template <typename Function>
void resolve(QLibrary &library, Function &function, const char *symbol)
{
    function = reinterpret_cast<Function>(library.resolve(symbol));
}

EntryPoints loadEntryPoints()
{
    EntryPoints points;
    QLibrary runtime;
    QLibrary library;
    // The runtime first: the library needs it.
    if (!load(runtime, QStringLiteral("mclmcrrt9_10")) || !load(library, QStringLiteral("myMatlabPlot")))
        return points;
    resolve(library, points.initialize, "myMatlabPlotInitialize");
    resolve(library, points.plot, kPlotSymbol);
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

/** Throws the runtime's last error, or one with the given message where it has none. */
[[noreturn]] void throwLastError(const char *otherwise)
{
    const EntryPoints &points = entryPoints();
    if (!points.complete())
        throw matlab::mwException(otherwise);
    error_info *failure = nullptr;
    points.getLastError(&failure);
    if (!failure)
        points.createError(&failure, otherwise);
    if (!failure)
        throw matlab::mwException(otherwise);
    points.addReference(failure);
    const char *const text = points.errorMessage(failure);
    std::string message(text ? text : otherwise); // the text goes with the last reference
    points.releaseReference(failure); // that of our own
    points.releaseReference(failure); // that with which it came
    throw matlab::mwException(std::move(message));
}

} // namespace

struct matlab::mwArray::Content {
    ::mwArray array;
};

matlab::mwArray::mwArray(int value)
    : m_content(new Content)
{
    if (!entryPoints().complete() || entryPoints().getScalarInt32(&m_content->array.m_array, value) < 0)
        throwLastError("the MATLAB library made no scalar");
}

matlab::mwArray::~mwArray()
{
    if (m_content->array.m_array)
        entryPoints().releaseReference(m_content->array.m_array);
}

bool matlab::myMatlabPlotInitialize(bool &)
{
    // The runtime cannot be stopped while it comes up.
    return entryPoints().complete() && entryPoints().initialize();
}

void matlab::myMatlabPlot(const mwArray &first, const mwArray &second, const mwArray &third, const mwArray &kind,
                          const mwArray &fifth, const mwArray &sixth, const mwArray &seventh, const mwArray &attack)
{
    try {
        entryPoints().plot(first.content().array, second.content().array, third.content().array, kind.content().array,
                           fifth.content().array, sixth.content().array, seventh.content().array,
                           attack.content().array);
    } catch (const ::mwException &exception) {
        throw matlab::mwException(exception.what());
    }
}
