#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <filesystem>

/** What differs between systems: signals, standard streams and the owner of a port. One source file for each system. */
namespace wmts::platform
{

/**
 * Prepares the process; to be called first, before any thread starts.
 *
 * Opens closed standard streams on the null device: a socket could get their number otherwise, and our messages with
 * it. Makes writing to a closed pipe an error instead of the end of the process. Keeps requests to end for
 * waitForEndRequest(). A process that was started by a program leaves its terminal, so that closing the terminal does
 * not end the service.
 */
void begin();

/** Returns when the process is asked to end: SIGTERM, SIGINT, SIGHUP or a console event. */
void waitForEndRequest();

/** Folder of the executable. */
std::filesystem::path programFolder();

/** Lets one program own the port: the second one that asks for it is refused. To be called before bind(). */
boost::system::error_code makePortExclusive(boost::asio::ip::tcp::acceptor &acceptor);

} // namespace wmts::platform
