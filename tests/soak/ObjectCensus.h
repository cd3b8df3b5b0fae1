#pragma once

#include <QMap>
#include <QSet>
#include <QString>

#include <functional>

class QObject;

/** Counts all objects of the process, with and without parents, by Qt's hooks for debuggers. Only one at a time. */
class ObjectCensus
{
public:
    /** Counts objects that are created from now on. */
    ObjectCensus();
    ~ObjectCensus();
    ObjectCensus(const ObjectCensus &) = delete;
    ObjectCensus &operator=(const ObjectCensus &) = delete;

    /** Numbers of objects by class, without those that are left out. Call it while no other thread makes objects. */
    static QMap<QString, int> count(const std::function<bool(const QObject *)> &leaveOut);
};
