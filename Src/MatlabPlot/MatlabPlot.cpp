#include "MatlabPlot.h"

#include "Logging.h"
#include "MatlabLibrary.h"
#include "ThreadHandOver.h"

#include <QThread>

using matlab::mwException;
using matlab::myMatlabPlot;

MatlabPlot::MatlabPlot(QObject *parent)
    : QObject(parent)
{
    logToBoth(info, "matlabplot constructor");
}

// Shared by all workers: a member of the worker could be destroyed while handOver() still uses it.
static ThreadHandOver s_handOver;

MatlabPlot::~MatlabPlot()
{
    s_handOver.take();
}

void MatlabPlot::handOver()
{
    s_handOver.give();
}

void MatlabPlot::init()
{
    logToBoth(info, "matlabplot thread id is {}", reinterpret_cast<quintptr>(QThread::currentThreadId()));
    bool interrupted = false;
    if (matlab::myMatlabPlotInitialize(interrupted)) {
        logToBoth(info, "I initialize libdisplayInitialize!\n");
        emit initFinished();
    } else if (!interrupted) {
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
