#pragma once

#include <QColor>
#include <QString>
#include <QVector>

/**
 * One channel of the flight: its samples and the look of its curve.
 *
 * A curve on a canvas belongs to the channel with the same name. Main thread only.
 */
class MyGraph
{
public:
    /** Role in a triad of actual, commanded and difference; ordinary channels belong to no triad. */
    enum Role { Actual = 0, Target = 1, Difference = 2, Ordinary = 3 };
    /** The canvas on which the channel is shown. */
    enum Position { FirstCanvas = 0, SecondCanvas = 1 };

    /**
     * Sets role, partners, canvas and colour according to the name and the function code.
     *
     * Compares translated names, so the catalogue must be installed before.
     */
    MyGraph(const QString &graphName, quint8 planeId, quint8 functionCode);

    /** Samples in the channel's unit. The const form does not detach a shared vector. */
    ///@{
    QVector<double> &yvalue() { return m_yvalue; }
    const QVector<double> &yvalue() const { return m_yvalue; }
    void setYvalue(const QVector<double> &yvalue) { m_yvalue = yvalue; }
    ///@}

    /** Time keys in seconds since the epoch, computed when the curve is shown. */
    ///@{
    QVector<double> &xvalue() { return m_xvalue; }
    const QVector<double> &xvalue() const { return m_xvalue; }
    void setXvalue(const QVector<double> &xvalue) { m_xvalue = xvalue; }
    ///@}

    /** A Role. */
    ///@{
    int role() const { return m_role; }
    void setRole(int role) { m_role = role; }
    ///@}
    /** The displayed label; channels and curves are found by it. */
    ///@{
    const QString &graphName() const { return m_graphName; }
    void setGraphName(const QString &graphName) { m_graphName = graphName; }
    ///@}
    /** Origin of the samples: the aircraft and the function code of the frames. */
    ///@{
    quint8 planeId() const { return m_planeId; }
    void setPlaneId(quint8 planeId) { m_planeId = planeId; }
    quint8 functionCode() const { return m_functionCode; }
    void setFunctionCode(quint8 functionCode) { m_functionCode = functionCode; }
    ///@}
    /** A Position. */
    ///@{
    int position() const { return m_position; }
    void setPosition(int position) { m_position = position; }
    ///@}
    /** Index of the curve in its canvas; -1 when there is none. */
    int graphIndex() const { return m_graphIndex; }
    /** Set by the canvas. */
    void setGraphIndex(int graphIndex) { m_graphIndex = graphIndex; }
    /** Milliseconds between two samples. */
    int interval() const { return m_interval; }
    /** Takes effect the next time the curve is shown. */
    void setInterval(int interval) { m_interval = interval; }
    /** Pen of the curve; width in pixels. */
    ///@{
    const QColor &color() const { return m_color; }
    void setColor(const QColor &color) { m_color = color; }
    int width() const { return m_width; }
    void setWidth(int width) { m_width = width; }
    ///@}
    /** A Qt::PenStyle value. */
    int style() const { return m_style; }
    void setStyle(int style) { m_style = style; }
    /** Whether the curve is on a canvas. */
    bool shown() const { return m_shown; }
    /** Set by the canvas. */
    void setShown(bool shown) { m_shown = shown; }

    /** Names of the other channels of the triad; empty when there is none. */
    ///@{
    const QString &diffName() const { return m_diffName; }
    void setDiffName(const QString &diffName) { m_diffName = diffName; }
    const QString &targetName() const { return m_targetName; }
    void setTargetName(const QString &targetName) { m_targetName = targetName; }
    const QString &actualName() const { return m_actualName; }
    void setActualName(const QString &actualName) { m_actualName = actualName; }
    ///@}

private:
    QVector<double> m_yvalue;
    QVector<double> m_xvalue;
    int m_role = Ordinary;
    QString m_graphName;
    quint8 m_planeId;
    quint8 m_functionCode;
    int m_position = FirstCanvas;
    int m_graphIndex = -1;
    int m_interval;
    QColor m_color;
    int m_width = 1;
    int m_style = Qt::SolidLine;
    bool m_shown = false;
    QString m_diffName;
    QString m_targetName;
    QString m_actualName;
};
