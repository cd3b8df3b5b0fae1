// Time from a click on a switch of the data settings to the painted curve, and gaps in the switch's animation
// meanwhile.

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "DataHandler.h"
#include "DemoFlight.h"
#include "GlobalSettingDialog.h"
#include "MainWindow.h"
#include "SwitchButton.h"

#include <QApplication>
#include <QEvent>
#include <QMouseEvent>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QTranslator>
#include <algorithm>
#include <cstdlib>

namespace
{

constexpr double kCurveLimit = 50;
constexpr double kTickLimit = 90;

/** Counts the paint events of a widget. */
class PaintCount : public QObject
{
public:
    explicit PaintCount(QWidget *widget) { widget->installEventFilter(this); }

    int count() const { return m_count; }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

private:
    int m_count = 0;
};

void press(SwitchButton *button)
{
    const QPointF middle = QRectF(button->rect()).center();
    QMouseEvent event(QEvent::MouseButtonPress, middle, middle, button->mapToGlobal(middle.toPoint()), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(button, &event);
}

bool glides(const SwitchButton *button)
{
    return button->findChild<QTimer *>()->isActive();
}

/** Clicks all switches of a tab, each while the previous one is still animated. */
void measure(const QList<SwitchButton *> &buttons, const QWidget *canvas, const PaintCount &paintings)
{
    double slowestCurve = 0;
    double longestGap = 0;
    QVector<QElapsedTimer> sinceTick(buttons.size());
    for (int i = 0; i < buttons.size(); ++i) {
        QObject::connect(buttons[i]->findChild<QTimer *>(), &QTimer::timeout, canvas, [i, &sinceTick, &longestGap] {
            QElapsedTimer &timer = sinceTick[i];
            if (timer.isValid())
                longestGap = std::max(longestGap, static_cast<double>(timer.nsecsElapsed()) / 1e6);
            timer.start();
        });
    }
    for (int i = 0; i < buttons.size(); ++i) {
        slowestCurve = std::max(slowestCurve, bench::milliseconds([&] {
                                    const int before = paintings.count();
                                    press(buttons[i]);
                                    while (paintings.count() == before)
                                        QCoreApplication::processEvents();
                                }));
        while (!sinceTick[i].isValid())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    while (std::any_of(buttons.begin(), buttons.end(), glides))
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    bench::printLimit("switch on a channel of a 2-hour flight, slowest of eighteen", slowestCurve, kCurveLimit);
    bench::printLimit("ticks of a switch's glide while a curve is shown, farthest apart", longestGap, kTickLimit);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QTranslator translator;
    translator.load(QStringLiteral(":/Ostravel_zh.qm"));
    QApplication::installTranslator(&translator);
    AppConfig::getInstance().init();
    const QTemporaryDir folder;
    const QString log = folder.filePath(QStringLiteral("flight.txt"));
    demo::DemoOptions options;
    options.minutes = 120;
    demo::writeTextLog(log, options);
    DataHandler().readDataSlot(log);

    auto *const window = new MainWindow(nullptr); // never deleted: its destructor would shut down the application
    window->show();
    dataRead = true;
    GlobalSettingDialog dialog(window);
    QObject::connect(&dialog, &GlobalSettingDialog::showGraphSignal, window, &MainWindow::showGraphSlot);
    auto *const page = dialog.findChild<QWidget *>(QStringLiteral("tab_AP"));
    dialog.findChild<QTabWidget *>(QStringLiteral("tabWidget"))->setCurrentWidget(page);
    dialog.show();
    QCoreApplication::processEvents();

    auto *const canvas = window->findChild<QWidget *>(QStringLiteral("customPlot"));
    const PaintCount paintings(canvas);
    measure(page->findChildren<SwitchButton *>(), canvas, paintings);
    std::fflush(stdout);
    std::_Exit(0);
}
