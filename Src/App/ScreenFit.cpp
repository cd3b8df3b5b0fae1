#include "ScreenFit.h"

#include <QEvent>
#include <QScreen>
#include <QWidget>

namespace
{

/** Estimated size of a window's frame; the real size is known only after the window is shown. */
constexpr QSize kFrameReserve{16, 40};

class ScreenFit : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // The show event comes before the window is placed, so a dialog is centred with its new size.
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
