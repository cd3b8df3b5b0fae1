#include "FrameTable.h"

#include <vector>

namespace
{

constexpr int kMaxInfos = 255;

/** The tables with labels as QString. */
struct Tables {
    std::vector<std::vector<FrameField>> fields;
    std::vector<FrameInfo> infos;

    Tables()
    {
        fields.reserve(frame::kLayouts.size());
        infos.reserve(frame::kLayouts.size() + 1);
        for (const frame::Layout &layout : frame::kLayouts) {
            std::vector<FrameField> &rows = fields.emplace_back();
            rows.reserve(static_cast<std::size_t>(layout.rowCount) + 1);
            for (int row = 0; row < layout.rowCount; ++row) {
                const frame::FieldRow &field = layout.rows[row];
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
    for (int i = 0; i < kMaxInfos && info[i].name; ++i) {
        if (info[i].code == code)
            return info[i].fields + row;
    }
    return nullptr;
}
