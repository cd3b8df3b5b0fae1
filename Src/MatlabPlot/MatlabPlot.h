#pragma once

#include <QObject>

/**
 * Calls the plot library on the thread that this object was moved to; each slot blocks that thread while the library
 * works. The library's errors are only logged.
 */
class MatlabPlot : public QObject
{
    Q_OBJECT

public:
    /** Does not initialise the library; call init() on the worker's thread. */
    explicit MatlabPlot(QObject *parent);
    ~MatlabPlot() override;

    /** Call from another thread after its last access to a worker, just before deleteLater(); see ThreadHandOver. */
    static void handOver();

signals:
    /** Result of init(). */
    ///@{
    void initFinished();
    void matlabInitFailedSignal();
    ///@}

public slots:
    /** Initialises the library and emits one of the two signals; emits none when the thread is interrupted. */
    void init();
    /** Draws one plot. Returns when its window is visible or an error occurred. */
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
