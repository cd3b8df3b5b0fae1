#pragma once

#include <QObject>

/**
 * Drives the plot library on the thread to which it has been moved; every slot blocks that thread while the library
 * works. The library's failures go to the log alone.
 */
class MatlabPlot : public QObject
{
    Q_OBJECT

public:
    /** Does nothing yet: init() runs on the thread that the worker was moved to. */
    explicit MatlabPlot(QObject *parent);
    ~MatlabPlot() override;

    /** For another thread, when it has touched a worker for the last time and only its deleteLater() is to follow. */
    static void handOver();

signals:
    /** How init() ended. */
    ///@{
    void initFinished();
    void matlabInitFailedSignal();
    ///@}

public slots:
    /** Brings the library up and says by one of the signals how that ended; by none when the thread is interrupted. */
    void init();
    /** Draws one plot and returns when its window stands, or when it failed. */
    ///@{
    void plotHeightSlot();
    void plotXYSlot();
    void plotXYZSlot();
    void plotAttackSlot();
    ///@}

private:
    void plotHeight();
    void plot2D();
    void plot3D();
    void plot3D_attack();
};
