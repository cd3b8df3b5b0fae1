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

/** Maximum number of files; each takes a file descriptor, and memory for its schema and its cache. */
inline constexpr std::size_t kMaxLayers = 200;

/**
 * Opens every *.mbtiles file of a folder, in the order of the names.
 *
 * Skips and reports a file that cannot be served, so that one damaged download does not stop the others. Skips links
 * that lead out of the folder too: nothing outside is read.
 *
 * @param say receives a report, without a line end
 */
Layers openLayers(const std::filesystem::path &folder, const std::function<void(const std::string &)> &say);

} // namespace wmts
