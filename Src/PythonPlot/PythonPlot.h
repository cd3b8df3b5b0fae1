#pragma once

#include <QObject>
#include <QProcess>
#include <QRect>
#include <QString>
#include <array>
#include <memory>

/**
 * Has the script "myPlot/pythonPlot.py" beside the executable draw the track files.
 *
 * Each kind of plot has a shell of its own, which starts at the first call and lives as long as this object. Nothing
 * waits for the script; what it writes to its standard error goes to the log. Main thread only.
 */
class PythonPlot : public QObject
{
    Q_OBJECT

public:
    /** Starts no shell yet. */
    explicit PythonPlot(QObject *parent);
    ~PythonPlot() override;

    /** @return always true */
    bool init();

    /** Where figures are to open, in the pixels of the screen. For the kinds whose shell starts later. */
    void setFigureArea(const QRect &area) { m_figureArea = area; }

public slots:
    /** Has the script draw one plot. A shell that does not start is told in the log alone. */
    ///@{
    void plotHeightSlot();
    void plotXYSlot();
    void plotXYZSlot();
    void plotAttackSlot();
    void pythonPlotDemo();
    ///@}

protected:
    /** Puts a line into the shell's standard input. Virtual for the tests of what happens when it throws. */
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
    QRect m_figureArea; // null: wherever the window manager puts them
    // In this order they are closed, and in the reverse one destroyed.
    std::array<Shell, KindCount> m_shells;
};
