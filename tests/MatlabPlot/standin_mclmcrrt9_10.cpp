#include "StandInRuntime.h"

#include <cstdlib>
#include <cstring>

// Objects are reference-counted. standInAlive() returns the number of existing objects.

namespace
{

int s_alive = 0;
error_info *s_lastError = nullptr;

bool mode(const char *what)
{
    const char *const word = std::getenv("STANDIN_RUNTIME");
    return word && std::strcmp(word, what) == 0;
}

} // namespace

STANDIN_EXPORT int standInAlive()
{
    return s_alive;
}

STANDIN_EXPORT int mclGetScalarInt32_proxy(void **result, int real, int imaginary, int complexity)
{
    if (mode("no scalar, with an error")) {
        s_lastError = new error_info{1, "out of scalars"};
        ++s_alive;
        return -1;
    }
    if (mode("no scalar"))
        return -1;
    // Complex scalars give -1, so that the test detects them.
    *result = new array_ref{1, imaginary == 0 && complexity == 0 ? real : -1};
    ++s_alive;
    return 0;
}

STANDIN_EXPORT int mclcppGetLastError_proxy(error_info **result)
{
    *result = s_lastError;
    s_lastError = nullptr;
    return *result ? 0 : -1;
}

STANDIN_EXPORT int mclcppCreateError_proxy(error_info **result, const char *message)
{
    *result = new error_info{1, message};
    ++s_alive;
    return 0;
}

STANDIN_EXPORT int ref_count_obj_addref_proxy(void *object)
{
    return ++*static_cast<int *>(object);
}

STANDIN_EXPORT int ref_count_obj_release_proxy(void *object)
{
    int &references = *static_cast<int *>(object);
    if (--references > 0)
        return references;
    --s_alive;
    // Both types are trivial and start with their reference count.
    ::operator delete(object);
    return 0;
}

STANDIN_EXPORT const char *error_info_get_message_proxy(error_info *error)
{
    return error->message;
}
