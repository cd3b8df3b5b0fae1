#include "Platform.h"

#include <string>
#include <windows.h>

namespace wmts::platform
{

namespace
{

HANDLE endEvent()
{
    static const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

BOOL WINAPI onConsoleEvent(DWORD)
{
    ::SetEvent(endEvent());
    // After a closed console, Windows ends the process when this returns. The main thread ends it before that.
    ::Sleep(3000);
    return TRUE;
}

} // namespace

void begin()
{
    // Sockets do not share the numbers of the standard streams here, and writing to a closed pipe is an error by
    // itself.
    endEvent();
    ::SetConsoleCtrlHandler(&onConsoleEvent, TRUE);
}

void waitForEndRequest()
{
    ::WaitForSingleObject(endEvent(), INFINITE);
}

std::filesystem::path programFolder()
{
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path();
}

boost::system::error_code makePortExclusive(boost::asio::ip::tcp::acceptor &acceptor)
{
    const BOOL on = TRUE;
    const int result = ::setsockopt(acceptor.native_handle(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
                                    reinterpret_cast<const char *>(&on), sizeof on);
    return {result == 0 ? 0 : ::WSAGetLastError(), boost::system::system_category()};
}

} // namespace wmts::platform
