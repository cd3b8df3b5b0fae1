// The reading of config.ini on whatever bytes: it must not crash, must leave the file alone or set it aside whole, and
// must give settings that are the same after they were written and read again.

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
    // QSettings remembers the files that it has read, so each has a name of its own.
    static qint64 number = 0;
    const QString path = folder.filePath(QStringLiteral("%1.ini").arg(++number));
    const QString written = folder.filePath(QStringLiteral("%1-written.ini").arg(number));
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    demand(writeFile(path, bytes));

    AppConfig &config = AppConfig::getInstance();
    config.readConfigIni(path);
    const auto read = settings();
    demand(config.getTheme() == lightTheme || config.getTheme() == darkTheme);
    const QString aside = path + QStringLiteral(".damaged");
    demand(fileContent(QFile::exists(aside) ? aside : path) == bytes);
    QFile::remove(aside);

    config.writeConfigIni(path);
    demand(QFile::rename(path, written));
    config.setTheme(config.getTheme() == lightTheme ? darkTheme : lightTheme);
    config.setTouchMode(!config.getTouchMode());
    config.setShowFactor(!config.getShowFactor());
    config.readConfigIni(written);
    demand(settings() == read);
    demand(QFile::remove(written));
    return 0;
}
