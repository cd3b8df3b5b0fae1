#pragma once

#include <QObject>
#include <QPen>

/** Carries signals between parts of the program that do not know each other. */
class AppEvent : public QObject
{
    Q_OBJECT

public:
    static AppEvent &getInstance();

signals:
    void touchModeSignal(bool flag);
    void resetGraphSignal(QPen pen);

private:
    AppEvent() = default;
};
