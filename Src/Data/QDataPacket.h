#pragma once

#include <QObject>

/** A telemetry packet. Reserved name; unused. */
class QDataPacket : public QObject
{
    Q_OBJECT
};
