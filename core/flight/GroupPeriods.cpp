#include "GroupPeriods.h"

#include "FrameRows.h"

namespace ostravel
{

bool setGroupPeriod(QMap<std::uint8_t, int> &periodsMs, std::uint8_t code, int ms)
{
    switch (code) {
    case frame::kControlStatus:
        periodsMs[frame::kDifference] = ms;
        periodsMs[frame::kEquipment] = ms;
        break;
    case frame::kHeartBeat:
    case frame::kAttitude:
    case frame::kSensor:
    case frame::kTarget:
    case frame::kPayload:
        break;
    default:
        return false;
    }
    periodsMs[code] = ms;
    return true;
}

} // namespace ostravel
