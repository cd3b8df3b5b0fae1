// Parses the head of a request to the tile service in pieces of arbitrary size. The result must be the same as for one
// piece, and within the limits.

#include "FuzzTarget.h"
#include "RequestHead.h"

#include <algorithm>

namespace
{

using wmts::RequestHead;

/** Splits bytes into pieces; sizes gives the piece sizes modulo 64. @return number of bytes consumed */
std::size_t takeInPieces(RequestHead &head, std::string_view bytes, std::string_view sizes)
{
    std::size_t taken = 0;
    std::size_t piece = 0;
    while (taken < bytes.size() && !head.ended()) {
        const std::size_t length = 1 + static_cast<unsigned char>(sizes[piece++ % sizes.size()]) % 64;
        const std::string_view part = bytes.substr(taken, length);
        const std::size_t count = head.take(part);
        require(count == part.size() || head.ended());
        taken += count;
    }
    return taken;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    RequestHead whole;
    const std::size_t taken = whole.take(bytes);
    RequestHead pieces;
    require(takeInPieces(pieces, bytes, bytes) == taken);
    require(pieces.begun() == whole.begun());
    require(pieces.ended() == whole.ended());
    require(pieces.error() == whole.error());
    require(pieces.closes() == whole.closes());
    require(pieces.requestLine() == whole.requestLine());

    require(taken <= size && (whole.ended() || taken == size));
    require(whole.requestLine().size() <= wmts::kMaxRequestLine);
    const int error = whole.error();
    require(error == 0 || error == 400 || error == 403 || error == 414 || error == 431);
    require(error == 0 || whole.closes());
    if (whole.ended() && error == 0)
        require(std::none_of(whole.requestLine().begin(), whole.requestLine().end(),
                             [](unsigned char character) { return character < 0x20 && character != '\t'; }));
    return 0;
}
