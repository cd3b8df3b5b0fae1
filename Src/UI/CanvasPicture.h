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
 * Pictures of several canvases, one below the other, as on the screen: with the crosshair, without the tooltip.
 *
 * Reports results by statusShowSignal() and in the log. Main thread only.
 */
class CanvasPicture : public QObject
{
    Q_OBJECT

public:
    /** The window becomes the parent of this object and of the file dialog. The canvases must outlive this object. */
    CanvasPicture(const QVector<QCustomPlot *> &canvases, QWidget *window);

    /** The picture in the screen's resolution. */
    QImage image() const;
    /** The picture as the contents of a "png", "svg" or "pdf" file; empty for any other suffix. */
    QByteArray encoded(const QString &suffix) const;

    /** Copies the picture to the clipboard. */
    void copy();
    /** Asks for a file name, then calls save(). */
    void saveAs(const QString &suggestedPath);
    /** Saves the picture in the format of the file's suffix. An existing file is replaced only on success. */
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
