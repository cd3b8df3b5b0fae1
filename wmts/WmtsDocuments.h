#pragma once

#include "TileFolder.h"

#include <string>
#include <string_view>

/** The documents that the service serves besides tiles. */
namespace wmts
{

/** Name of the only tile matrix set: the Web Mercator world in tiles of 256 pixels. */
inline constexpr std::string_view kMatrixSet = "GoogleMapsCompatible";

/** JSON array with an object {name, format, minzoom, maxzoom, bounds} for each layer. */
std::string layersJson(const Layers &layers);

/** WMTS 1.0.0 capabilities. @param address of the service, as "http://127.0.0.1:9800" */
std::string capabilitiesXml(const Layers &layers, std::string_view address);

/** OWS exception report with one exception. @param locator the wrong parameter; may be empty */
std::string exceptionXml(std::string_view code, std::string_view locator, std::string_view text);

} // namespace wmts
