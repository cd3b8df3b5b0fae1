#pragma once

#include "TileFolder.h"

#include <string>
#include <string_view>

/** The texts that the service answers with, beside tiles. */
namespace wmts
{

/** Name of the only tile matrix set: the square world map of 256-pixel tiles. */
inline constexpr std::string_view kMatrixSet = "GoogleMapsCompatible";

/** JSON array with one object {name, format, minzoom, maxzoom, bounds} a layer. */
std::string layersJson(const Layers &layers);

/** WMTS 1.0.0 capabilities. @param address of the service, as "http://127.0.0.1:9800" */
std::string capabilitiesXml(const Layers &layers, std::string_view address);

/** OWS exception report with one exception. @param locator the parameter at fault, or empty */
std::string exceptionXml(std::string_view code, std::string_view locator, std::string_view text);

} // namespace wmts
