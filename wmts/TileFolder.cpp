#include "TileFolder.h"

#include "Text.h"

#include <algorithm>
#include <sqlite3.h>
#include <system_error>
#include <vector>

namespace wmts
{

namespace fs = std::filesystem;

namespace
{

// Limit for all caches together, and for what a damaged file can make SQLite allocate.
constexpr sqlite3_int64 kMaxDatabaseBytes = 128 << 20;
// SQLite does not shrink its caches at this limit: full ones would leave no memory for the tiles themselves.
static_assert(kMaxLayers * kCacheBytes <= kMaxDatabaseBytes / 4);

bool isInside(const fs::path &path, const fs::path &folder)
{
    std::error_code code;
    const fs::path home = fs::canonical(folder, code);
    const fs::path real = code ? fs::path() : fs::canonical(path, code);
    return !code && std::mismatch(home.begin(), home.end(), real.begin(), real.end()).first == home.end();
}

} // namespace

Layers openLayers(const fs::path &folder, const std::function<void(const std::string &)> &say)
{
    sqlite3_hard_heap_limit64(kMaxDatabaseBytes);
    std::error_code code;
    std::vector<fs::path> files;
    for (fs::directory_iterator i(folder, code), end; !code && i != end; i.increment(code))
        if (i->path().extension() == ".mbtiles")
            files.push_back(i->path());
    if (code)
        say("cannot read the folder " + folder.u8string() + ": " + code.message());
    std::sort(files.begin(), files.end());

    Layers layers;
    for (const fs::path &file : files) {
        const std::string name = file.stem().u8string();
        if (!isPlainText(name)) {
            say("a file's name is not UTF-8 text; the file is left out");
            continue;
        }
        std::string error;
        if (!isInside(file, folder))
            error = "it is a link out of the folder";
        else if (!fs::is_regular_file(file, code)) // opening a pipe would wait for its writer
            error = "it is not a file";
        else if (layers.size() == kMaxLayers)
            error = "there are " + std::to_string(kMaxLayers) + " others already";
        if (error.empty())
            if (auto layer = TileLayer::open(file, name, &error)) {
                layers.emplace(name, std::move(layer));
                continue;
            }
        say(file.filename().u8string() + " is left out: " + error);
    }
    return layers;
}

} // namespace wmts
