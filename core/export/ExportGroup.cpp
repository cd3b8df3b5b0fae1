#include "ExportGroup.h"

namespace ostravel
{

QVector<ExportGroup> exportGroups(const Flight &flight)
{
    QVector<ExportGroup> groups;
    groups.reserve(static_cast<int>(kExportGroupRows.size()));
    for (const ExportGroupRow &row : kExportGroupRows) {
        const frame::Layout &layout = frame::layoutOf(row.code);
        ExportGroup group;
        group.name = QLatin1String(row.name);
        group.textOnly = row.textOnly;
        for (int column = 0; column < row.columns; ++column) {
            const std::u16string_view label = layout.rows[column].label;
            group.labels.append(QString::fromUtf16(label.data(), static_cast<int>(label.size())));
            group.samples.append(flight.samples(row.code, column));
        }
        groups.append(std::move(group));
    }
    return groups;
}

} // namespace ostravel
