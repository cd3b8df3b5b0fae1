#include "RegularFile.h"

#include <QFileInfo>

namespace ostravel
{

bool isOtherThanRegularFile(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile();
}

} // namespace ostravel
