#pragma once

#include "ostravel.h"

/** Number of channels, which is also that of the rows of all tables. */
int channelCount();
/** Describes a channel. @param channel from 0, below channelCount(); not checked */
const ostravel_channel_info &channelInfo(int channel);
