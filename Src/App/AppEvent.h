#pragma once

#include <QObject>
#include <QPen>

/** Carries signals between parts of the program that do not know each other. */
class AppEvent : public QObject
{
    Q_OBJECT

public:
    /** The one of the process. */
    static AppEvent &getInstance();

signals:
    /** The user has switched touch mode. */
    void touchModeSignal(bool flag);
    /** The selected curves shall have this pen. */
    void resetGraphSignal(QPen pen);

private:
    AppEvent() = default;
};
