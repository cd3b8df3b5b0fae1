#include "ChannelInfo.h"

#include "ChannelNames.h"

#include <QByteArray>
#include <vector>

namespace
{

namespace frame = ostravel::frame;

/** All channels, with the texts that their descriptions point to. */
class Channels
{
public:
    Channels()
    {
        const auto all = frame::allChannels();
        m_labels.reserve(static_cast<std::size_t>(all.size())); // the descriptions point into it
        for (const frame::ChannelId &channel : all) {
            m_labels.push_back(frame::labelOf(channel).toUtf8());
            m_infos.push_back({frame::rowOfChannel(channel).name, m_labels.back().constData(), frame::unitOf(channel),
                               frame::groupName(channel.code), channel.code, channel.row});
        }
    }

    const ostravel_channel_info &at(int channel) const { return m_infos[static_cast<std::size_t>(channel)]; }

private:
    std::vector<QByteArray> m_labels;
    std::vector<ostravel_channel_info> m_infos;
};

} // namespace

int channelCount()
{
    return frame::rowCount();
}

const ostravel_channel_info &channelInfo(int channel)
{
    static const Channels channels;
    return channels.at(channel);
}
