#include "Platform.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <system_error>
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
    // Windows ends the process when this returns from a closed console; the main thread ends it before.
    ::Sleep(3000);
    return TRUE;
}

bool waitFor(socket_t connection, SHORT event, std::chrono::milliseconds most)
{
    WSAPOLLFD entry{connection, event, 0};
    return ::WSAPoll(&entry, 1, static_cast<INT>(most.count())) > 0;
}

Transfer transfer(int count, std::size_t *moved)
{
    if (count > 0) {
        *moved = static_cast<std::size_t>(count);
        return Transfer::Done;
    }
    return count < 0 && ::WSAGetLastError() == WSAEWOULDBLOCK ? Transfer::WouldWait : Transfer::Ended;
}

int chunk(std::size_t size)
{
    return static_cast<int>(std::min<std::size_t>(size, 1U << 20));
}

void setFlag(socket_t socket, int level, int option)
{
    const BOOL on = TRUE;
    ::setsockopt(socket, level, option, reinterpret_cast<const char *>(&on), sizeof on);
}

} // namespace

void begin()
{
    // Sockets are no numbers of the standard streams here, and a closed pipe is an error by itself.
    endEvent();
    ::SetConsoleCtrlHandler(&onConsoleEvent, TRUE);
}

void waitForEndRequest()
{
    ::WaitForSingleObject(endEvent(), INFINITE);
}

void requestEnd()
{
    ::SetEvent(endEvent());
}

std::filesystem::path programFolder()
{
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path();
}

void setListeningOptions(socket_t listener)
{
    setFlag(listener, SOL_SOCKET, SO_EXCLUSIVEADDRUSE);
}

SocketError lastSocketError()
{
    const int code = ::WSAGetLastError();
    return {code == WSAEADDRINUSE, std::system_category().message(code)};
}

void widenBacklog(socket_t listener, int length)
{
    ::listen(listener, length);
}

void setConnectionOptions(socket_t connection)
{
    u_long on = 1;
    ::ioctlsocket(connection, FIONBIO, &on);
    setFlag(connection, IPPROTO_TCP, TCP_NODELAY);
}

bool waitReadable(socket_t connection, std::chrono::milliseconds most)
{
    return waitFor(connection, POLLRDNORM, most);
}

bool waitWritable(socket_t connection, std::chrono::milliseconds most)
{
    return waitFor(connection, POLLWRNORM, most);
}

Transfer receiveSome(socket_t connection, char *bytes, std::size_t size, std::size_t *moved)
{
    return transfer(::recv(connection, bytes, chunk(size), 0), moved);
}

Transfer sendSome(socket_t connection, const char *bytes, std::size_t size, std::size_t *moved)
{
    return transfer(::send(connection, bytes, chunk(size), 0), moved);
}

void endSending(socket_t connection)
{
    ::shutdown(connection, SD_SEND);
}

void closeConnection(socket_t connection)
{
    ::closesocket(connection);
}

} // namespace wmts::platform
