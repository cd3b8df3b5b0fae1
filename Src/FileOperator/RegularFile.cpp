#include "RegularFile.h"

#include <QFileInfo>

bool isOtherThanRegularFile(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile();
}
