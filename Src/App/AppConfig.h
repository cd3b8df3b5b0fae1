#pragma once

#include "MyThemes.h"

#include <QObject>
#include <QString>

/**
 * The persistent settings, the paths that depend on the program's folder, and the order of start-up and shutdown. Main
 * thread only.
 */
class AppConfig : public QObject
{
    Q_OBJECT

public:
    /** The instance of the process. Only init() does work, not the construction. */
    static AppConfig &getInstance();

    /** Starts the program: paths, plot folder, logging, configuration, channel store, style sheet. Call once. */
    void init();
    /** Writes the configuration, empties the store and closes the logging. */
    void shutdown();

    /** Derives the four paths from the folder of the executable. */
    void initPaths();
    /** Creates the folder of the track files if it is missing. Ignores a failure. */
    void createPlotDir();
    /** Throws spdlog::spdlog_ex when the log file cannot be opened. Nobody catches it, so the process ends. */
    void initLogger();

    /**
     * Reads the settings. Creates an empty file if there is none. A value that cannot be read gets its default.
     */
    void readConfigIni(const QString &path);
    /** Writes the three settings. Ignores a failure. */
    void writeConfigIni(const QString &path);

    /** A setting. It is written to the file when the program ends. Setters send no signal. */
    ///@{
    MyThemes getTheme() const { return m_theme; }
    void setTheme(MyThemes theme) { m_theme = theme; }
    bool getTouchMode() const { return m_touchMode; }
    void setTouchMode(bool touchMode) { m_touchMode = touchMode; }
    bool getShowFactor() const { return m_showFactor; }
    void setShowFactor(bool showFactor) { m_showFactor = showFactor; }
    ///@}

    /** Absolute, fixed by initPaths(): "config.ini", and the folder of the track files and plot scripts. */
    ///@{
    const QString &configPath() const { return m_configPath; }
    const QString &plotDir() const { return m_plotDir; }
    ///@}
    /** Track file of the whole flight. */
    QString &getDataPath() { return m_dataPath; }
    /** Track file of the last leg. */
    QString &getAttackDataPath() { return m_attackDataPath; }

    /**
     * Sets the style sheet of the application. If the resource is missing, keeps the style sheet and prints a message.
     */
    ///@{
    void applyDarkStyle();
    void applyLightStyle();
    ///@}

signals:
    /** Emitted after the style sheet has changed, for the canvases. */
    void switchThemeSignal(MyThemes theme);

public slots:
    /** Applies a theme and emits switchThemeSignal(). Does not store the theme. */
    void switchThemeSlot(MyThemes theme);

private:
    AppConfig() = default;

    MyThemes m_theme = darkTheme;
    bool m_touchMode = false;
    bool m_showFactor = false;
    QString m_configPath;
    QString m_plotDir;
    QString m_dataPath;
    QString m_attackDataPath;
};
