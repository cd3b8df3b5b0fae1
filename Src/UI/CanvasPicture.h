#pragma once

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QVector>

class QCPPainter;
class QCustomPlot;
class QWidget;

/**
 * Pictures of some canvases, one below the other, as they are on the screen, with the crosshair and without the tool
 * tip.
 *
 * A result is told by statusShowSignal and in the log. Main thread only.
 */
class CanvasPicture : public QObject
{
    Q_OBJECT

public:
    /** The window is the parent, of the file dialog too. The canvases must outlive this object's use. */
    CanvasPicture(const QVector<QCustomPlot *> &canvases, QWidget *window);

    /** In the screen's resolution. */
    QImage image() const;
    /** The bytes of a file with this suffix, "png", "svg" or "pdf"; empty for any other one. */
    QByteArray encoded(const QString &suffix) const;

    /** Puts the picture on the clipboard. */
    void copy();
    /** Asks for a file, starting with this path, and saves the picture in the format of the file's suffix. */
    void saveAs(const QString &suggestedPath);
    /** Saves the picture. An existing file is replaced when the new one is complete, and kept when that fails. */
    void save(const QString &path);

signals:
    void statusShowSignal(const QString &text);

private:
    QSize size() const;
    void paint(QCPPainter *painter) const;
    QByteArray png() const;
    QByteArray svg() const;
    QByteArray pdf() const;

    QVector<QCustomPlot *> m_canvases;
    QWidget *m_window;
};
