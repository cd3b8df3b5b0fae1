#pragma once

#include <QObject>
#include <QProcess>
#include <QRect>
#include <QString>
#include <array>
#include <memory>

/**
 * Draws the track files with the script "myPlot/pythonPlot.py" beside the executable.
 *
 * Each kind of plot has its own shell, which starts at the first call and runs as long as this object exists. Does not
 * wait for the script; its standard error goes to the log. Main thread only.
 */
class PythonPlot : public QObject
{
    Q_OBJECT

public:
    /** Does not start a shell. */
    explicit PythonPlot(QObject *parent);
    ~PythonPlot() override;

    /** @return always true */
    bool init();

    /** Sets where figures open, in native pixels. Affects only kinds whose shell has not started yet. */
    void setFigureArea(const QRect &area) { m_figureArea = area; }

public slots:
    /** Makes the script draw one plot. A write error is only logged. */
    ///@{
    void plotHeightSlot();
    void plotXYSlot();
    void plotXYZSlot();
    void plotAttackSlot();
    void pythonPlotDemo();
    ///@}

protected:
    /** Writes a line to the shell's standard input. Virtual, so that tests can make it throw. */
    virtual void writeLine(QProcess &process, const QByteArray &line);

private:
    using Shell = std::unique_ptr<QProcess>;
    enum Kind { Height, XY, XYZ, Attack, Demo, KindCount };
    struct Plot;
    static const std::array<Plot, KindCount> kPlots;

    QString plotDir() const;
    QString changeFolderLine() const;
    void plot(Kind kind);
    void start(Shell &shell);

    QString m_appDirPath;
    QRect m_figureArea; // null: the window manager places figures
    std::array<Shell, KindCount> m_shells;
};
