#include "AppConfig.h"

#include "ChannelStore.h"
#include "IniText.h"
#include "Logging.h"
#include "RegularFile.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTextStream>
#include <cstdio>

namespace
{

constexpr char kGroup[] = "Global";
constexpr char kTouchMode[] = "touchMode";
constexpr char kTheme[] = "theme";
constexpr char kShowFactor[] = "showFactor";
constexpr char kLightTheme[] = "lightTheme";
constexpr char kDarkTheme[] = "darkTheme";

void applyStyle(const QString &path)
{
    QFile file(path);
    if (!file.exists()) {
        std::printf("Unable to set stylesheet, file not found\n");
        return;
    }
    file.open(QFile::ReadOnly | QFile::Text);
    qApp->setStyleSheet(QTextStream(&file).readAll());
}

/** A name beside the file that nothing has: the file's with a number. */
QString numbered(const QString &path)
{
    QString name;
    for (int number = 1; name.isEmpty() || QFileInfo::exists(name) || QFileInfo(name).isSymLink(); ++number)
        name = path + QStringLiteral(".%1").arg(number);
    return name;
}

/**
 * Renames a file that holds serialised objects. QSettings creates such objects whatever their key is, and a damaged pen
 * or picture crashes there. Our own files never hold any.
 *
 * @return false when QSettings must not open the path: the file could not be renamed, or it is not a regular file
 */
bool setAsideIfHarmful(const QString &path)
{
    if (ostravel::isOtherThanRegularFile(path)) {
        logToBoth(warn, "config.ini is not a regular file and is left alone");
        return false;
    }
    QFile file(path);
    if (!file.exists() || !file.open(QFile::ReadOnly))
        return true;
    const QString text = iniText(file.readAll());
    file.close();
    if (!text.contains(QLatin1String("@Variant(")) && !text.contains(QLatin1String("@DateTime(")))
        return true;
    const QString aside = path + QStringLiteral(".damaged");
    // Those of earlier times are kept, too.
    if (QFileInfo(aside).isFile())
        QFile::rename(aside, numbered(aside));
    const bool done = file.rename(aside);
    logToBoth(warn, "config.ini holds serialised objects and is not read, {} {}",
              done ? "it is now" : "it cannot be renamed to", aside);
    return done;
}

/**
 * Removes an empty lock of QSettings. A process that was killed while it made its lock leaves an empty one. It names no
 * process, so QSettings would wait half a minute before it takes it over, and the program would hang at its end.
 */
void removeEmptyLock(const QString &path)
{
    QFile lock(path + QStringLiteral(".lock"));
    if (lock.exists() && lock.size() == 0)
        lock.remove();
}

} // namespace

AppConfig &AppConfig::getInstance()
{
    static AppConfig instance;
    return instance;
}

void AppConfig::init()
{
    initPaths();
    createPlotDir();
    initLogger();
    readConfigIni(m_configPath);
    initData();
    switchThemeSlot(m_theme);
}

void AppConfig::shutdown()
{
    writeConfigIni(m_configPath);
    clearData();
    closeLogger();
}

void AppConfig::initPaths()
{
    const QString applicationDir = QCoreApplication::applicationDirPath();
    m_configPath = applicationDir + QStringLiteral("/config.ini");
    m_plotDir = applicationDir + QStringLiteral("/myPlot");
    m_dataPath = m_plotDir + QStringLiteral("/data.txt");
    m_attackDataPath = m_plotDir + QStringLiteral("/data_attack.txt");
}

void AppConfig::createPlotDir()
{
    const QDir dir(m_plotDir);
    if (!dir.exists())
        dir.mkdir(m_plotDir);
}

void AppConfig::initLogger()
{
    openLogger();
}

void AppConfig::readConfigIni(const QString &path)
{
    logToBoth(info, "read config.ini");
    if (!setAsideIfHarmful(path)) {
        m_touchMode = false;
        m_theme = darkTheme;
        m_showFactor = false;
        return;
    }
    if (!QFileInfo(path).exists()) {
        logToBoth(warn, "config.ini donot exist, create config.ini");
        try {
            QFile file(path);
            file.open(QFile::ReadWrite);
            file.close();
        } catch (const std::exception &exception) {
            // The format has no placeholder, so the line does not show the reason.
            logToBoth(error, "create config.ini failed, exception:", exception.what());
        }
    }
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup(QLatin1String(kGroup));
    m_touchMode = settings.value(QLatin1String(kTouchMode)).toBool();
    // Any other value, or none, means the dark theme.
    const bool light = settings.value(QLatin1String(kTheme)).toString() == QLatin1String(kLightTheme);
    m_theme = light ? lightTheme : darkTheme;
    m_showFactor = settings.value(QLatin1String(kShowFactor)).toBool();
}

void AppConfig::writeConfigIni(const QString &path)
{
    logToBoth(info, "write config ini");
    if (!setAsideIfHarmful(path)) // QSettings reads the file before it writes it.
        return;
    removeEmptyLock(path);
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup(QLatin1String(kGroup));
    settings.setValue(QLatin1String(kTouchMode), m_touchMode);
    settings.setValue(QLatin1String(kTheme), QLatin1String(m_theme == darkTheme ? kDarkTheme : kLightTheme));
    settings.setValue(QLatin1String(kShowFactor), m_showFactor);
    settings.endGroup();
}

void AppConfig::applyDarkStyle()
{
    applyStyle(QStringLiteral(":qdarkstyle/dark/darkstyle.qss"));
}

void AppConfig::applyLightStyle()
{
    applyStyle(QStringLiteral(":qdarkstyle/light/lightstyle.qss"));
}

void AppConfig::switchThemeSlot(MyThemes theme)
{
    logToBoth(info, "switchTheme");
    if (theme == lightTheme)
        applyLightStyle();
    else if (theme == darkTheme)
        applyDarkStyle();
    emit switchThemeSignal(theme);
}
