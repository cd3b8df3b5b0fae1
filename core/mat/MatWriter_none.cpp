#include "MatWriter.h"

// Where the library is not there: the format stays in the table and says so.

namespace ostravel
{

std::optional<ExportError> writeMat(const Flight & /*flight*/, const QString &path, const ExportOptions & /*options*/)
{
    return exportError(ExportError::Code::CannotWrite, path,
                       QStringLiteral("this program was built without the library for MATLAB files"));
}

const ExportFormat &matFormat()
{
    static const ExportFormat format{"mat", ".mat", "MATLAB file; not available in this build", false, true, &writeMat};
    return format;
}

} // namespace ostravel
