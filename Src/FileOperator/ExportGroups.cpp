#include "ExportGroups.h"

#include "ChannelStore.h"

ExportGroup exportGroup(const QString &name, MyGraph *const *channels, int count)
{
    ExportGroup group;
    group.name = name;
    group.labels.reserve(count);
    group.samples.reserve(count);
    for (int i = 0; i < count; ++i) {
        const MyGraph *const channel = channels[i];
        group.labels.append(channel->graphName());
        group.samples.append(channel->yvalue());
    }
    return group;
}

QVector<ExportGroup> exportGroups()
{
    QVector<ExportGroup> groups;
    groups.reserve(static_cast<int>(ostravel::kExportGroupRows.size()));
    for (const ostravel::ExportGroupRow &row : ostravel::kExportGroupRows) {
        ExportGroup group = exportGroup(QLatin1String(row.name), channelGroup(row.code)->channels, row.columns);
        group.textOnly = row.textOnly;
        groups.append(std::move(group));
    }
    return groups;
}
