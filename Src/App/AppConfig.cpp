#include "AppConfig.h"

#include "ChannelStore.h"
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

/** Appends the character whose number stands behind a backslash. */
void appendNumbered(QString &text, const QByteArray &ini, int &at, int base)
{
    const int first = at;
    uint value = 0;
    for (bool isDigit = true; at < ini.size(); ++at) {
        const uint digit = ini.mid(at, 1).toUInt(&isDigit, base);
        if (!isDigit)
            break;
        value = value * static_cast<uint>(base) + digit;
    }
    if (at > first)
        text += QChar(static_cast<ushort>(value));
}

/**
 * A file's characters without the quotes and escapes that QSettings takes away.
 *
 * What stands for a character keeps its place. QSettings writes a control character as an escape, so a gap there would
 * join letters in a file that it wrote which are apart in the file that it read.
 */
QString unescaped(const QByteArray &ini)
{
    const QByteArray escapes("abfnrtv\"?'\\");
    const auto endsLine = [](char c) { return c == '\n' || c == '\r'; };
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    QString text;
    text.reserve(ini.size());
    for (int at = 0; at < ini.size();) {
        const char c = ini.at(at++);
        if (c == '"') {
            while (at < ini.size() && isBlank(ini.at(at)))
                ++at;
            continue;
        }
        if (c != '\\' || at == ini.size()) {
            text += QLatin1Char(c);
            continue;
        }
        const char kind = ini.at(at);
        if (kind >= '0' && kind <= '7') {
            appendNumbered(text, ini, at, 8);
            continue;
        }
        ++at;
        if (escapes.contains(kind))
            text += QLatin1Char('?'); // whatever it is, no letter of the words that matter
        else if (kind == 'x')
            appendNumbered(text, ini, at, 16);
        else if (endsLine(kind) && at < ini.size() && endsLine(ini.at(at)) && ini.at(at) != kind)
            ++at;
    }
    return text;
}

/**
 * Sets a file with serialised objects aside. QSettings brings them to life whatever their key, and a damaged pen or
 * picture ends the process in there; no config of ours has any.
 *
 * @return false when such a file, or one that is not regular, is still in its place, where QSettings must not look at
 * it
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
    const QString text = unescaped(file.readAll());
    file.close();
    if (!text.contains(QLatin1String("@Variant(")) && !text.contains(QLatin1String("@DateTime(")))
        return true;
    const QString aside = path + QStringLiteral(".damaged");
    QFile::remove(aside);
    const bool done = file.rename(aside);
    logToBoth(warn, "config.ini holds serialised objects and is not read, {} {}",
              done ? "it is now" : "it cannot be renamed to", aside);
    return done;
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
            // The line holds the words alone: its format has no place for the reason.
            logToBoth(error, "create config.ini failed, exception:", exception.what());
        }
    }
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup(QLatin1String(kGroup));
    m_touchMode = settings.value(QLatin1String(kTouchMode)).toBool();
    // Every other word, and none, means the dark theme.
    const bool light = settings.value(QLatin1String(kTheme)).toString() == QLatin1String(kLightTheme);
    m_theme = light ? lightTheme : darkTheme;
    m_showFactor = settings.value(QLatin1String(kShowFactor)).toBool();
}

void AppConfig::writeConfigIni(const QString &path)
{
    logToBoth(info, "write config ini");
    if (!setAsideIfHarmful(path)) // it is read before it is written
        return;
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
