#include "MatlabLibrary.h"
#include "OctaveProcess.h"

#include <QCoreApplication>
#include <QStringList>
#include <QThread>
#include <QThreadStorage>

namespace
{

/** One engine per thread, deleted when the thread ends. */
QThreadStorage<OctaveProcess *> &engines()
{
    static QThreadStorage<OctaveProcess *> storage;
    return storage;
}

} // namespace

struct matlab::mwArray::Content {
    int value;
};

matlab::mwArray::mwArray(int value)
    : m_content(new Content{value})
{
}

matlab::mwArray::~mwArray() = default;

bool matlab::myMatlabPlotInitialize(bool &interrupted)
{
    engines().setLocalData(new OctaveProcess);
    OctaveProcess *const engine = engines().localData();
    if (engine->start(QCoreApplication::applicationDirPath() + QStringLiteral("/myPlot")))
        return true;
    if (QThread::currentThread()->isInterruptionRequested())
        interrupted = true;
    return false;
}

void matlab::myMatlabPlot(const mwArray &first, const mwArray &second, const mwArray &third, const mwArray &kind,
                          const mwArray &fifth, const mwArray &sixth, const mwArray &seventh, const mwArray &attack)
{
    if (!engines().hasLocalData())
        throw mwException("GNU Octave was not started");
    QStringList arguments;
    for (const mwArray *argument : {&first, &second, &third, &kind, &fifth, &sixth, &seventh, &attack})
        arguments.append(QStringLiteral("int32(%1)").arg(argument->content().value));
    const QString line = QStringLiteral("myMatlabPlot(%1)").arg(arguments.join(QStringLiteral(", ")));
    if (const auto failure = engines().localData()->evaluate(line.toLatin1()))
        throw mwException(*failure);
}
