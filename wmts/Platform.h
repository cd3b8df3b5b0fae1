#pragma once

#include <chrono>
#include <filesystem>
#include <httplib.h>
#include <string>

/** What differs between systems: signals, standard streams and the edges of sockets. One source a system. */
namespace wmts::platform
{

/**
 * To be called first, before any thread: standard streams that are closed are opened on nothing (a socket could
 * get their number otherwise, and our messages with it), writing to a closed pipe is an error and no end, and requests
 * to end wait for waitForEndRequest. Started by a program and not by hand, it leaves the program's terminal, whose end
 * would be its own.
 */
void begin();

/** Return when the process is asked to end: SIGTERM, SIGINT, SIGHUP or a console event; or by requestEnd. */
void waitForEndRequest();
void requestEnd();

/** Folder of the executable. */
std::filesystem::path programFolder();

/** Options of the listening socket: one owner of the port, whoever asks second is refused. */
void setListeningOptions(socket_t listener);

/** Why the last call on a socket failed; to be asked at once. */
struct SocketError {
    bool portTaken = false;
    std::string text;
};
SocketError lastSocketError();

/** Let many connections wait to be accepted; the library asks for five. */
void widenBacklog(socket_t listener, int length);

/** Options of an accepted socket: no call waits, small writes leave at once. */
void setConnectionOptions(socket_t connection);
/** Wait until bytes can be read (or the end of them), or written; false when the time passes first. */
bool waitReadable(socket_t connection, std::chrono::milliseconds most);
bool waitWritable(socket_t connection, std::chrono::milliseconds most);

enum class Transfer { Done, WouldWait, Ended };
/** Move some bytes, at least one when Done. */
Transfer receiveSome(socket_t connection, char *bytes, std::size_t size, std::size_t *moved);
Transfer sendSome(socket_t connection, const char *bytes, std::size_t size, std::size_t *moved);

/** Tell the other side that nothing more is sent. */
void endSending(socket_t connection);
void closeConnection(socket_t connection);

} // namespace wmts::platform
