#include "WmtsDocuments.h"

#include "Text.h"

#include <algorithm>

namespace wmts
{

namespace
{

// Scale of level 0 on the equator: one tile of 256 pixels. The standard defines a pixel as 0.28 mm.
constexpr double kScaleAtZoom0 = 559082264.0287178;
constexpr std::string_view kTopLeft = "-20037508.3427892 20037508.3427892";

std::string mediaType(const LayerInfo &info)
{
    return info.format == "jpg" ? "image/jpeg" : "image/" + info.format;
}

std::string layerXml(const LayerInfo &info, std::string_view address)
{
    const auto [west, south, east, north] = info.bounds;
    std::string text = "    <Layer>\n      <ows:Title>" + xmlText(info.title) + "</ows:Title>\n";
    text += "      <ows:WGS84BoundingBox>\n        <ows:LowerCorner>" + numberText(west) + ' ' + numberText(south)
        + "</ows:LowerCorner>\n        <ows:UpperCorner>" + numberText(east) + ' ' + numberText(north)
        + "</ows:UpperCorner>\n      </ows:WGS84BoundingBox>\n";
    text += "      <ows:Identifier>" + xmlText(info.name) + "</ows:Identifier>\n";
    text += "      <Style isDefault=\"true\"><ows:Identifier>default</ows:Identifier></Style>\n";
    text += "      <Format>" + mediaType(info) + "</Format>\n      <TileMatrixSetLink>\n        <TileMatrixSet>"
        + std::string(kMatrixSet) + "</TileMatrixSet>\n        <TileMatrixSetLimits>\n";
    for (int zoom = info.minZoom; zoom <= info.maxZoom; ++zoom) {
        const std::string last = std::to_string((std::int64_t{1} << zoom) - 1);
        text.append("          <TileMatrixLimits><TileMatrix>").append(std::to_string(zoom));
        text.append("</TileMatrix><MinTileRow>0</MinTileRow><MaxTileRow>").append(last);
        text.append("</MaxTileRow><MinTileCol>0</MinTileCol><MaxTileCol>").append(last);
        text.append("</MaxTileCol></TileMatrixLimits>\n");
    }
    text += "        </TileMatrixSetLimits>\n      </TileMatrixSetLink>\n      <ResourceURL format=\"" + mediaType(info)
        + "\" resourceType=\"tile\" template=\"" + std::string(address) + '/' + urlSegment(info.name)
        + "/{TileMatrix}/{TileCol}/{TileRow}\"/>\n    </Layer>\n";
    return text;
}

std::string matrixSetXml(int maxZoom)
{
    std::string text = "    <TileMatrixSet>\n      <ows:Identifier>" + std::string(kMatrixSet)
        + "</ows:Identifier>\n      <ows:SupportedCRS>urn:ogc:def:crs:EPSG::3857</ows:SupportedCRS>\n"
          "      <WellKnownScaleSet>urn:ogc:def:wkss:OGC:1.0:GoogleMapsCompatible</WellKnownScaleSet>\n";
    for (int zoom = 0; zoom <= maxZoom; ++zoom) {
        const std::int64_t side = std::int64_t{1} << zoom;
        text += "      <TileMatrix>\n        <ows:Identifier>" + std::to_string(zoom)
            + "</ows:Identifier>\n        <ScaleDenominator>" + numberText(kScaleAtZoom0 / static_cast<double>(side))
            + "</ScaleDenominator>\n        <TopLeftCorner>" + std::string(kTopLeft)
            + "</TopLeftCorner>\n        <TileWidth>256</TileWidth>\n        <TileHeight>256</TileHeight>\n"
              "        <MatrixWidth>"
            + std::to_string(side) + "</MatrixWidth>\n        <MatrixHeight>" + std::to_string(side)
            + "</MatrixHeight>\n      </TileMatrix>\n";
    }
    return text + "    </TileMatrixSet>\n";
}

std::string operationXml(std::string_view name, const std::string &endpoint)
{
    return "    <ows:Operation name=\"" + std::string(name) + "\">\n      <ows:DCP><ows:HTTP><ows:Get xlink:href=\""
        + endpoint
        + "\"><ows:Constraint name=\"GetEncoding\"><ows:AllowedValues><ows:Value>KVP</ows:Value>"
          "</ows:AllowedValues></ows:Constraint></ows:Get></ows:HTTP></ows:DCP>\n    </ows:Operation>\n";
}

} // namespace

std::string layersJson(const Layers &layers)
{
    std::string text = "[";
    for (const auto &[name, layer] : layers) {
        const LayerInfo &info = layer->info();
        text += text.size() > 1 ? ",\n " : "";
        text += "{\"name\":" + jsonText(name) + ",\"format\":" + jsonText(info.format) + ",\"minzoom\":"
            + std::to_string(info.minZoom) + ",\"maxzoom\":" + std::to_string(info.maxZoom) + ",\"bounds\":[";
        for (std::size_t i = 0; i < info.bounds.size(); ++i)
            text += (i == 0 ? "" : ",") + numberText(info.bounds[i]);
        text += "]}";
    }
    return text + "]\n";
}

std::string capabilitiesXml(const Layers &layers, std::string_view address)
{
    const std::string endpoint = std::string(address) + "/wmts?";
    std::string text
        = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<Capabilities xmlns=\"http://www.opengis.net/wmts/1.0\" xmlns:ows=\"http://www.opengis.net/ows/1.1\""
          " xmlns:xlink=\"http://www.w3.org/1999/xlink\" version=\"1.0.0\">\n"
          "  <ows:ServiceIdentification>\n    <ows:Title>Ostravel map tiles</ows:Title>\n"
          "    <ows:ServiceType>OGC WMTS</ows:ServiceType>\n"
          "    <ows:ServiceTypeVersion>1.0.0</ows:ServiceTypeVersion>\n  </ows:ServiceIdentification>\n"
          "  <ows:OperationsMetadata>\n";
    text += operationXml("GetCapabilities", endpoint) + operationXml("GetTile", endpoint);
    text += "  </ows:OperationsMetadata>\n  <Contents>\n";
    int maxZoom = 0;
    for (const auto &[name, layer] : layers) {
        text += layerXml(layer->info(), address);
        maxZoom = std::max(maxZoom, layer->info().maxZoom);
    }
    return text + matrixSetXml(maxZoom) + "  </Contents>\n</Capabilities>\n";
}

std::string exceptionXml(std::string_view code, std::string_view locator, std::string_view text)
{
    std::string result = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<ows:ExceptionReport xmlns:ows=\"http://www.opengis.net/ows/1.1\" version=\"1.0.0\">\n"
                         "  <ows:Exception exceptionCode=\""
        + xmlText(code) + '"';
    if (!locator.empty())
        result += " locator=\"" + xmlText(locator) + '"';
    return result + "><ows:ExceptionText>" + xmlText(text)
        + "</ows:ExceptionText></ows:Exception>\n</ows:ExceptionReport>\n";
}

} // namespace wmts
