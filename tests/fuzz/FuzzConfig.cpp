// Reads config.ini with arbitrary bytes. It must not crash, must leave the file unchanged or rename it unchanged, and
// the settings must be the same after writing and reading them again.

#include "AppConfig.h"
#include "FuzzTarget.h"
#include "WorkbookFiles.h"

#include <QTemporaryDir>

#include <tuple>

namespace
{

auto settings()
{
    const AppConfig &config = AppConfig::getInstance();
    return std::make_tuple(config.getTheme(), config.getTouchMode(), config.getShowFactor());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    // QSettings caches files, so each input needs a new file name.
    static qint64 number = 0;
    const QString path = folder.filePath(QStringLiteral("%1.ini").arg(++number));
    const QString written = folder.filePath(QStringLiteral("%1-written.ini").arg(number));
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    require(writeFile(path, bytes));

    AppConfig &config = AppConfig::getInstance();
    config.readConfigIni(path);
    const auto read = settings();
    require(config.getTheme() == lightTheme || config.getTheme() == darkTheme);
    const QString aside = path + QStringLiteral(".damaged");
    require(fileContent(QFile::exists(aside) ? aside : path) == bytes);
    QFile::remove(aside);

    config.writeConfigIni(path);
    require(QFile::rename(path, written));
    config.setTheme(config.getTheme() == lightTheme ? darkTheme : lightTheme);
    config.setTouchMode(!config.getTouchMode());
    config.setShowFactor(!config.getShowFactor());
    config.readConfigIni(written);
    require(settings() == read);
    require(QFile::remove(written));
    return 0;
}
