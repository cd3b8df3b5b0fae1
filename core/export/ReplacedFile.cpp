#include "ReplacedFile.h"

#include "RegularFile.h"
#include "WholeWrite.h"

namespace ostravel
{

ReplacedFile::ReplacedFile(const QString &path)
    : m_path(path)
    , m_file(path)
    , m_output([this](const char *data, std::size_t size) { return writeAll(m_file, data, static_cast<qint64>(size)); })
{
}

std::optional<ExportError> ReplacedFile::open()
{
    if (isOtherThanRegularFile(m_path))
        return exportError(ExportError::Code::CannotOpen, m_path, QStringLiteral("it is no regular file"));
    if (!m_file.open(QIODevice::WriteOnly))
        return exportError(ExportError::Code::CannotOpen, m_path, m_file.errorString());
    return std::nullopt;
}

std::optional<ExportError> ReplacedFile::finish(bool cancelled)
{
    if (cancelled) {
        m_file.cancelWriting();
        return exportCancelled(m_path);
    }
    // A device knows why it failed only until it is closed. The first flush may fail without a reason, after a part.
    if (!m_output.flush() || (!m_file.flush() && !m_file.flush())) {
        const QString reason = m_file.errorString();
        m_file.cancelWriting();
        return exportError(ExportError::Code::CannotWrite, m_path, reason);
    }
    if (!m_file.commit())
        return exportError(ExportError::Code::CannotWrite, m_path, m_file.errorString());
    return std::nullopt;
}

} // namespace ostravel
