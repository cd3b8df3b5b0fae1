#include "HostProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QString>
#include <array>
#include <mutex>
#include <windows.h>

namespace
{

/** Folder of this library; empty when Windows does not tell. */
QString libraryFolder()
{
    constexpr DWORD kMaxPath = 32768;
    HMODULE module = nullptr;
    const auto *const self = reinterpret_cast<const wchar_t *>(&prepareHostProcess);
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, self,
                           &module)
        == 0)
        return {};
    static std::array<wchar_t, kMaxPath> path;
    const DWORD length = GetModuleFileNameW(module, path.data(), kMaxPath);
    return length == 0 ? QString() : QFileInfo(QString::fromWCharArray(path.data(), static_cast<int>(length))).path();
}

} // namespace

void prepareHostProcess()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // Qt looks for its drivers beside the host program, where there are none.
        if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE")))
            QCoreApplication::addLibraryPath(QDir(libraryFolder()).filePath(QStringLiteral("plugins")));
    });
}
