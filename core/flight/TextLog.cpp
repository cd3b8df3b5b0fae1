#include "TextLog.h"

namespace ostravel
{

SourceEnd TextLog::end(bool cancelled) const
{
    SourceEnd end;
    end.cancelled = cancelled;
    end.done = m_file.pos();
    end.total = m_size;
    if (m_file.error() != QFileDevice::NoError)
        end.reason = m_file.errorString();
    else if (!cancelled && end.done < m_size)
        end.reason = QStringLiteral("the file became shorter");
    return end;
}

} // namespace ostravel
