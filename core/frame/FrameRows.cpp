#include "FrameRows.h"

// Compile-time checks of the tables. This file adds no code to the program.

namespace ostravel::frame
{

namespace
{

constexpr int kChannels = 143;

/** Rows are numbered from 1, ordered by offset, do not overlap, and start after the frame's header. */
constexpr bool packed(const Layout &layout)
{
    int next = kDeviceStatePosition + 1;
    for (int row = 0; row < layout.rowCount; ++row) {
        const FieldRow &field = layout.rows[row];
        if (field.index != row + 1 || field.offset < next)
            return false;
        if (field.width != 1 && field.width != 2 && field.width != 4 && field.width != 8)
            return false;
        next = field.offset + field.width;
    }
    return true;
}

/** Labels are used as keys, so they must be unique. */
constexpr bool labelsDiffer()
{
    for (const Layout &a : kLayouts) {
        for (int i = 0; i < a.rowCount; ++i) {
            for (const Layout &b : kLayouts) {
                for (int j = 0; j < b.rowCount; ++j) {
                    if ((a.code != b.code || i != j) && a.rows[i].label == b.rows[j].label)
                        return false;
                }
            }
        }
    }
    return true;
}

static_assert(rowCount() == kChannels);
static_assert(labelsDiffer());
// The difference and equipment tables only name channels; no frame is decoded with them, so they are not checked.
static_assert(packed(layoutOf(kHeartBeat)) && reach(layoutOf(kHeartBeat)) == 18);
static_assert(packed(layoutOf(kControlStatus)) && reach(layoutOf(kControlStatus)) == 67);
static_assert(packed(layoutOf(kAttitude)) && reach(layoutOf(kAttitude)) == 50);
static_assert(packed(layoutOf(kSensor)) && reach(layoutOf(kSensor)) == 78);
static_assert(packed(layoutOf(kTarget)) && reach(layoutOf(kTarget)) == 34);
static_assert(packed(layoutOf(kPayload)) && reach(layoutOf(kPayload)) == 36);
static_assert(packed(layoutOf(kBackup)) && reach(layoutOf(kBackup)) == 12);

} // namespace

} // namespace ostravel::frame
