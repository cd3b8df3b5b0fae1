#include "FrameTable.h"

#include <vector>

namespace
{

using namespace frame;

constexpr int kChannels = 143;
constexpr int kMostInfos = 255;

/** Rows are numbered from 1 and lie behind one another without an overlap, inside the frame's payload. */
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

/** Labels are keys, so no two may be alike. */
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
// The difference and equipment tables only name their channels; no frame is read through them.
static_assert(packed(layoutOf(kHeartBeat)) && reach(layoutOf(kHeartBeat)) == 18);
static_assert(packed(layoutOf(kControlStatus)) && reach(layoutOf(kControlStatus)) == 67);
static_assert(packed(layoutOf(kAttitude)) && reach(layoutOf(kAttitude)) == 50);
static_assert(packed(layoutOf(kSensor)) && reach(layoutOf(kSensor)) == 78);
static_assert(packed(layoutOf(kTarget)) && reach(layoutOf(kTarget)) == 34);
static_assert(packed(layoutOf(kPayload)) && reach(layoutOf(kPayload)) == 36);
static_assert(packed(layoutOf(kBackup)) && reach(layoutOf(kBackup)) == 12);

/** The run-time form of the tables, whose labels are QStrings. */
struct Tables {
    std::vector<std::vector<FrameField>> fields;
    std::vector<FrameInfo> infos;

    Tables()
    {
        fields.reserve(kLayouts.size());
        infos.reserve(kLayouts.size() + 1);
        for (const Layout &layout : kLayouts) {
            std::vector<FrameField> &rows = fields.emplace_back();
            rows.reserve(static_cast<std::size_t>(layout.rowCount) + 1);
            for (int row = 0; row < layout.rowCount; ++row) {
                const FieldRow &field = layout.rows[row];
                rows.push_back({field.index, field.offset, field.width, field.divisor, field.isSigned, field.name,
                                QString::fromUtf16(field.label.data(), static_cast<int>(field.label.size()))});
            }
            rows.push_back({});
            infos.push_back({layout.code, layout.size, static_cast<int>(rows.size()), rows.data(), layout.name});
        }
        infos.push_back({});
    }
};

const Tables &tables()
{
    static const Tables instance;
    return instance;
}

} // namespace

const FrameInfo *const frameInfos = tables().infos.data();

const FrameField *findFrameField(std::uint16_t code, int row)
{
    const FrameInfo *info = tables().infos.data();
    for (int i = 0; i < kMostInfos && info[i].name != nullptr; ++i) {
        if (info[i].code == code)
            return info[i].fields + row;
    }
    return nullptr;
}
