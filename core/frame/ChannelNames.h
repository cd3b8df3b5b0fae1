#pragma once

#include "FrameRows.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <cstdint>
#include <optional>

/**
 * @file
 * Channels and groups by the names that a person types, and the units that are known. No state, safe from any thread.
 */

namespace ostravel::frame
{

/** A channel by its place in the tables. */
struct ChannelId {
    std::uint8_t code; ///< function code
    int row; ///< from 0

    /** The same channel. */
    bool operator==(const ChannelId &other) const { return code == other.code && row == other.row; }
};

/** All channels, in the order of kLayouts and its tables. */
QVector<ChannelId> allChannels();
/** The row of a channel. */
const FieldRow &rowOfChannel(const ChannelId &channel);
/** The label of a channel, such as "横滚". */
QString labelOf(const ChannelId &channel);

/** Short name of a group for files and command lines, such as "attitude"; empty for a code without a group. */
const char *groupName(std::uint8_t code);
/** A function code as text: "0x03". */
QString codeText(std::uint8_t code);
/** The group of a short name or of a code as codeText() writes it. */
std::optional<std::uint8_t> findGroup(const QString &text);

/** The channel of a name ("PGS_Roll") or a label ("横滚"). */
std::optional<ChannelId> findChannel(const QString &text);
/** Up to three names or labels that resemble a text, the nearest first. */
QStringList channelsLike(const QString &text);

/**
 * The unit of a channel: "deg", "m", "m/s", "degC", "%", "laps", "satellites". Empty where the downlink settles none.
 */
const char *unitOf(const ChannelId &channel);

} // namespace ostravel::frame
