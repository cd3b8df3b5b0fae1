#include "Frame.h"

#include "HexText.h"

#include <algorithm>

namespace ostravel
{

namespace
{

template <typename Text>
Frame frameOf(const Text &text)
{
    Frame frame; // NOLINT(cppcoreguidelines-pro-type-member-init): decodeHex fills it
    frame.length = decodeHex(text, frame.bytes.data(), static_cast<int>(frame.bytes.size()));
    return frame;
}

} // namespace

Frame Frame::fromHex(const QString &text)
{
    return frameOf(text);
}

Frame Frame::fromHex(QLatin1String text)
{
    return frameOf(text);
}

Frame Frame::fromBytes(const std::uint8_t *bytes, qint64 length)
{
    Frame frame{};
    frame.length = length;
    std::copy_n(bytes, std::min<qint64>(length, static_cast<qint64>(frame.bytes.size())), frame.bytes.begin());
    return frame;
}

} // namespace ostravel
