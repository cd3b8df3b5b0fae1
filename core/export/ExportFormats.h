#pragma once

#include "ExportFormat.h"

#include <QVector>

namespace ostravel
{

/**
 * All formats in which a flight can be written but that of MATLAB, which is matFormat(), since it takes a library. Any
 * thread.
 */
const QVector<ExportFormat> &exportFormats();

/** The format of a name, such as "txt" or "xlsx"; null when there is none. Any thread. */
const ExportFormat *findExportFormat(const QString &name);

/** The target beside a log: its folder, its name up to the first dot, and the suffix of the format. */
QString exportPath(const ExportFormat &format, const QString &logPath);

} // namespace ostravel
