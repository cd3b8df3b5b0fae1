#include "FileRename.h"

#include <QFile>

#include <filesystem>
#include <type_traits>

namespace QXlsx
{

namespace
{

/** A path in the system's own code. std::filesystem would make UTF-8 of it where QFile uses the local encoding. */
std::filesystem::path native(const QString &path)
{
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>)
        return path.toStdWString();
    else
        return QFile::encodeName(path).toStdString();
}

} // namespace

QString renamed(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(native(from), native(to), error);
    return error ? QString::fromLocal8Bit(error.message().c_str()) : QString();
}

} // namespace QXlsx
