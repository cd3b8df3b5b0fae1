#pragma once

#include "TileLayer.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace wmts
{

/** The layers of a folder by name. */
using Layers = std::map<std::string, std::unique_ptr<TileLayer>, std::less<>>;

/** Most files that are served; each costs a file descriptor and up to a megabyte. */
inline constexpr std::size_t kMostLayers = 200;

/**
 * Open every *.mbtiles of a folder, in the order of their names.
 *
 * A file that cannot be served is left out and told in one line, so that a damaged download does not take the maps
 * beside it away. Files reached through a link that leaves the folder are left out too: nothing outside is read.
 *
 * @param say takes a line without its end
 */
Layers openLayers(const std::filesystem::path &folder, const std::function<void(const std::string &)> &say);

} // namespace wmts
