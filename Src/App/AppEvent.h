#pragma once

#include <QObject>
#include <QPen>

/** Carries signals between parts of the program that do not know each other. */
class AppEvent : public QObject
{
    Q_OBJECT

public:
    /** The instance of the process. */
    static AppEvent &getInstance();

signals:
    /** The user has switched touch mode. */
    void touchModeSignal(bool flag);
    /** The user has chosen this pen for the selected curves. */
    void resetGraphSignal(QPen pen);

private:
    AppEvent() = default;
};
