#include "ObjectCensus.h"

#include <QMutex>
#include <QObject>

// The hooks that debuggers of Qt programs use. Only a private header declares them; their layout is stable.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace
{

enum Hook { AddObject = 3, RemoveObject = 4 };

QMutex mutex;

QSet<QObject *> &objects()
{
    static auto *const set = new QSet<QObject *>; // objects are destroyed after all statics
    return *set;
}

void objectAdded(QObject *object)
{
    const QMutexLocker lock(&mutex);
    objects().insert(object);
}

void objectRemoved(QObject *object)
{
    const QMutexLocker lock(&mutex);
    objects().remove(object);
}

} // namespace

ObjectCensus::ObjectCensus()
{
    qtHookData[AddObject] = reinterpret_cast<quintptr>(&objectAdded);
    qtHookData[RemoveObject] = reinterpret_cast<quintptr>(&objectRemoved);
}

ObjectCensus::~ObjectCensus()
{
    qtHookData[AddObject] = 0;
    qtHookData[RemoveObject] = 0;
}

QMap<QString, int> ObjectCensus::count(const std::function<bool(const QObject *)> &leaveOut)
{
    const QMutexLocker lock(&mutex);
    QMap<QString, int> counts;
    for (const QObject *const object : qAsConst(objects())) {
        if (!leaveOut(object))
            ++counts[QString::fromLatin1(object->metaObject()->className())];
    }
    return counts;
}
