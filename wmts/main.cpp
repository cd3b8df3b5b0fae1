#include "Platform.h"
#include "RunningCopy.h"
#include "TileAddress.h"
#include "TileFolder.h"
#include "TileServer.h"

#include <boost/asio/error.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>

namespace
{

// The map page, Leaflet/demo.html, asks for its tiles at this port.
constexpr int kPort = 9800;

enum ExitCode {
    Ended = 0,
    Failed = 1,
    WrongUse = 2,
    NoFolder = 3,
    NothingToServe = 4,
    PortTaken = 5,
    AlreadyRunning = 6
};

constexpr const char *kHelp
    = "Usage: wmts.exe [--port N]\n\n"
      "Serves the maps (MBTiles with PNG, JPEG or WebP tiles) in the folder tiles beside the program to this machine:\n"
      "  http://127.0.0.1:9800/{layer}/{z}/{x}/{y}   tiles, rows from the north; the layer is the file's name\n"
      "  http://127.0.0.1:9800/layers.json           what there is\n"
      "  http://127.0.0.1:9800/wmts                  the same as WMTS 1.0.0\n\n"
      "  --port N   another port; 0 takes a free one and says which\n\n"
      "Ends on Ctrl+C or SIGTERM. Exit codes: 0 asked to end, 1 failed, 2 wrong use, 3 no folder tiles, 4 no map in "
      "it\n"
      "that can be served, 5 the port is taken by another program, 6 it runs already.\n";

void complain(const std::string &text)
{
    std::fprintf(stderr, "wmts: %s\n", text.c_str());
}

int wrongUse(const std::string &text)
{
    complain(text + "; try wmts.exe --help");
    return WrongUse;
}

int serve(int port)
{
    namespace fs = std::filesystem;
    const fs::path folder = wmts::platform::programFolder() / "tiles";
    std::error_code code;
    if (!fs::is_directory(folder, code)) {
        complain("there is no folder " + folder.u8string());
        return NoFolder;
    }

    wmts::Layers layers; // Outlives the server, whose threads read it.
    // The port first: a second copy must not open every map before it notices the first.
    wmts::TileServer server;
    if (const auto error = server.bind(port)) {
        const bool isTaken = error == boost::asio::error::address_in_use;
        if (isTaken && wmts::isRunningAt(port)) {
            complain("the tile service runs already at port " + std::to_string(port));
            return AlreadyRunning;
        }
        complain("cannot listen at port " + std::to_string(port)
                 + " of 127.0.0.1: " + (isTaken ? "another program has it" : error.message()));
        return isTaken ? PortTaken : Failed;
    }

    // Reports damaged maps and serves the others. Without any map there is no use in running.
    layers = wmts::openLayers(folder, complain);
    if (layers.empty()) {
        complain("there is no map (*.mbtiles) to serve in " + folder.u8string());
        return NothingToServe;
    }
    std::printf("Serving %zu maps at http://127.0.0.1:%d/\n", layers.size(), server.port());
    std::fflush(stdout);

    server.start(layers);
    wmts::platform::waitForEndRequest();
    server.end();
    return Ended;
}

} // namespace

int main(int argc, char *argv[])
{
    wmts::platform::begin();
    int port = kPort;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            std::fputs(kHelp, stdout);
            return Ended;
        }
        if (argument != "--port" || i + 1 == argc)
            return wrongUse("cannot take the argument " + std::string(argument));
        const auto number = wmts::wholeNumber(argv[++i]);
        if (!number || *number > 65535)
            return wrongUse("--port takes a number from 0 to 65535");
        port = static_cast<int>(*number);
    }
    try {
        return serve(port);
    } catch (const std::exception &error) {
        complain(error.what());
        return Failed;
    }
}
