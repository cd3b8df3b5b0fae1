#include "MatlabPlot.h"

#include "Logging.h"
#include "MatlabLibrary.h"

#include <QThread>
#include <atomic>

using matlab::mwException;
using matlab::myMatlabPlot;

MatlabPlot::MatlabPlot(QObject *parent)
    : QObject(parent)
{
    logToBoth(info, "matlabplot constructor");
}

// Orders what the other thread did before the end here. Qt's event queue does as much, but without the marks by which a
// checker of threads can see it.
static std::atomic<unsigned> s_handedOver{0};

MatlabPlot::~MatlabPlot()
{
    s_handedOver.load(std::memory_order_acquire);
}

void MatlabPlot::handOver()
{
    s_handedOver.fetch_add(1, std::memory_order_release);
}

void MatlabPlot::init()
{
    logToBoth(info, "matlabplot thread id is {}", reinterpret_cast<quintptr>(QThread::currentThreadId()));
    bool givenUp = false;
    if (matlab::myMatlabPlotInitialize(givenUp)) {
        logToBoth(info, "I initialize libdisplayInitialize!\n");
        emit initFinished();
    } else if (!givenUp) {
        logToBoth(error, "Could not initialize libdisplayInitialize!");
        emit matlabInitFailedSignal();
    }
}

void MatlabPlot::plotHeightSlot()
{
    plotHeight();
}

void MatlabPlot::plotXYSlot()
{
    plot2D();
}

void MatlabPlot::plotXYZSlot()
{
    plot3D();
}

void MatlabPlot::plotAttackSlot()
{
    plot3D_attack();
}

void MatlabPlot::plotHeight()
{
    try {
        myMatlabPlot(1, 1, 1, 1, 0, 1, 1, 0);
    } catch (const mwException &exception) {
        logToBoth(error, "matlab plotHeight mwException:{}", exception.what());
    }
}

void MatlabPlot::plot2D()
{
    try {
        myMatlabPlot(1, 1, 1, 0, 0, 1, 1, 0);
    } catch (const mwException &exception) {
        logToBoth(error, "matlab plotXY mwException:{}", exception.what());
    }
}

void MatlabPlot::plot3D()
{
    try {
        myMatlabPlot(1, 1, 1, 2, 0, 1, 1, 0);
    } catch (const mwException &exception) {
        logToBoth(error, "matlab plotXYZ mwException:{}", exception.what());
    }
}

void MatlabPlot::plot3D_attack()
{
    try {
        myMatlabPlot(1, 1, 1, 2, 0, 1, 1, 1);
    } catch (const mwException &exception) {
        logToBoth(error, "matlab plot attack mwException:{}", exception.what());
    }
}
