#pragma once

#include <atomic>
#include <cstddef>

namespace wmts
{

/** The work of all connections together. Any thread may read and change it. */
struct Load {
    std::atomic<std::size_t> connections{0};
    std::atomic<std::size_t> bytesBeingSent{0};
};

} // namespace wmts
