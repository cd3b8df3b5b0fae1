#include "AppEvent.h"

AppEvent &AppEvent::getInstance()
{
    static AppEvent instance;
    return instance;
}
