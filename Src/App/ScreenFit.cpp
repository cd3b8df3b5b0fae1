#include "ScreenFit.h"

#include <QEvent>
#include <QScreen>
#include <QWidget>

namespace
{

/** What a window's frame may take of the screen; it is not known before the window is up. */
constexpr QSize kFrameReserve{16, 40};

class ScreenFit : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // Before the window places itself, so that a dialog is centred with the size that it gets here.
        auto *const window = qobject_cast<QWidget *>(watched);
        if (window && event->type() == QEvent::Show && !event->spontaneous())
            window->resize(window->size().boundedTo(window->screen()->availableSize() - kFrameReserve));
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

void keepOnScreen(QWidget *window)
{
    window->installEventFilter(new ScreenFit(window));
}
