#pragma once

#include "ExportFormat.h"
#include "XlsxOutput.h"

#include <QSaveFile>
#include <QString>
#include <optional>

namespace ostravel
{

/**
 * A file that is written in blocks and takes its place when it is complete. Until then a file of its name stays as it
 * is. For one thread.
 */
class ReplacedFile
{
public:
    /** Opens nothing yet. */
    explicit ReplacedFile(const QString &path);

    /** @return why it cannot be written */
    std::optional<ExportError> open();
    /** Where the bytes go; only after open(). */
    QXlsx::XlsxOutput &output() { return m_output; }
    /** Puts the file in its place, unless it was cancelled. @return why it is not there */
    std::optional<ExportError> finish(bool cancelled);

private:
    QString m_path;
    QSaveFile m_file;
    QXlsx::XlsxOutput m_output;
};

} // namespace ostravel
