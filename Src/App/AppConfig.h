#pragma once

#include "MyThemes.h"

#include <QObject>
#include <QString>

/**
 * What survives between two runs of the program, the paths that it derives from its own folder, and the order in which
 * it comes up and goes down. Main thread only.
 */
class AppConfig : public QObject
{
    Q_OBJECT

public:
    /** The one of the process. Its construction does no work; init() does. */
    static AppConfig &getInstance();

    /** Brings the program up: paths, plot folder, logging, configuration, channel store, style sheet. Once. */
    void init();
    /** Ends the run: writes the configuration, empties the store, closes the logging. */
    void shutdown();

    /** Derives the four paths from the folder of the executable. */
    void initPaths();
    /** Makes the folder of the track files when it is missing. Whether that worked is not looked at. */
    void createPlotDir();
    /** Throws spdlog::spdlog_ex when the log file cannot be opened; nobody catches it, and the start ends there. */
    void initLogger();

    /**
     * Takes over what the file says, and makes an empty file where there is none. Anything unreadable is the default.
     */
    void readConfigIni(const QString &path);
    /** Writes the three settings. A failure is not noticed. */
    void writeConfigIni(const QString &path);

    /** A setting, which reaches the disk at the end of the run. A setter stores and tells nobody. */
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
     * Sets the style sheet of the whole application. Without the resource the present one stays, with a word on stdout.
     */
    ///@{
    void applyDarkStyle();
    void applyLightStyle();
    ///@}

signals:
    /** The style sheet has changed; the canvases follow. */
    void switchThemeSignal(MyThemes theme);

public slots:
    /** Applies a theme to the whole application and tells the canvases. Does not store it. */
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
