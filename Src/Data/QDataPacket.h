#pragma once

#include <QObject>

/** A telemetry packet as an object of its own. Nothing makes one yet; the name is kept for it. */
class QDataPacket : public QObject
{
    Q_OBJECT
};
