#include "CanvasMenu.h"

#include "MyCustomPlot.h"

#include <QCoreApplication>
#include <QHash>
#include <QIcon>
#include <qcustomplot.h>

namespace
{

/** A menu entry; a null slot requests the pen settings. The texts are in the catalogue's MainWindow context. */
struct Entry {
    const char *text;
    const char *icon;
    void (MyCustomPlot::*slot)();
};

// clang-format off
constexpr Entry kUpperCurves[] = {
    {QT_TRANSLATE_NOOP("MainWindow", "Focus Y"),               ":/local.svg",          &MyCustomPlot::rescaleYSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Focus"),                 ":/aiming.svg",         &MyCustomPlot::rescaleGraphSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Delete error data"),     ":/setting-config.svg", &MyCustomPlot::deleteErrorDataSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Delete error point"),    ":/delete-two.svg",     &MyCustomPlot::removeSelectedPointSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Delete selected curve"), ":/delete.svg",         &MyCustomPlot::removeSelectedGraphSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Setting"),               ":/tool.svg",           nullptr},
    {QT_TRANSLATE_NOOP("MainWindow", "Add one point"),         ":/add-four.svg",       &MyCustomPlot::addOnePointSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Add ten points"),        ":/add-three.svg",      &MyCustomPlot::addPointsSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Swap position"),         ":/swap.svg",           &MyCustomPlot::onSwapPosSlot},
};
constexpr Entry kLowerCurves[] = {
    {QT_TRANSLATE_NOOP("MainWindow", "Focus Y"),               ":/local.svg",          &MyCustomPlot::rescaleYSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Focus"),                 ":/aiming.svg",         &MyCustomPlot::rescaleGraphSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Delete error point"),    ":/delete-two.svg",     &MyCustomPlot::removeSelectedPointSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Delete selected curve"), ":/delete.svg",         &MyCustomPlot::removeSelectedGraphSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Setting"),               ":/tool.svg",           nullptr},
    {QT_TRANSLATE_NOOP("MainWindow", "Delete error data"),     ":/setting-config.svg", &MyCustomPlot::deleteErrorDataSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Swap position"),         ":/swap.svg",           &MyCustomPlot::onSwapPosSlot},
};
constexpr Entry kWholeCanvas[] = {
    {QT_TRANSLATE_NOOP("MainWindow", "Adaptive scaling axis Y"), ":/local.svg",  &MyCustomPlot::rescaleAllYSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Adaptive scaling"),        ":/aiming.svg", &MyCustomPlot::rescaleAllGraphSlot},
    {QT_TRANSLATE_NOOP("MainWindow", "Remove all curves"),       ":/clear.svg",  &MyCustomPlot::removeAllGraphsSlot},
};
// clang-format on

/**
 * The icon of a resource, the same for all menus. Qt keeps the pictures of each icon, up to ten megabytes in all, and a
 * new icon would be drawn from its file again.
 */
QIcon sharedIcon(const char *path)
{
    static auto *const icons = new QHash<QByteArray, QIcon>; // not deleted: icons must not outlive the application
    QIcon &icon = (*icons)[QByteArray(path)];
    if (icon.isNull())
        icon = QIcon(QString::fromLatin1(path));
    return icon;
}

} // namespace

CanvasMenu::CanvasMenu(MyCustomPlot *controller, Place place, QWidget *parent)
    : QMenu(parent)
    , m_canvas(controller->plot())
{
    setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [this, controller](const auto &entries) {
        for (const Entry &entry : entries) {
            const QIcon icon = sharedIcon(entry.icon);
            const QString text = QCoreApplication::translate("MainWindow", entry.text);
            if (entry.slot)
                addAction(icon, text, controller, entry.slot);
            else
                addAction(icon, text, this, &CanvasMenu::penSettingsRequested);
        }
    };
    if (!m_canvas->selectedGraphs().isEmpty()) {
        if (place == Upper)
            add(kUpperCurves);
        else
            add(kLowerCurves);
    } else if (!m_canvas->selectedAxes().isEmpty()) {
        addAction(sharedIcon(":/tool.svg"), QCoreApplication::translate("MainWindow", "Modify font size"), this,
                  &CanvasMenu::fontSettingsRequested);
    } else if (m_canvas->graphCount() > 0) {
        add(kWholeCanvas);
    }
}

void CanvasMenu::popUpAt(QPoint position)
{
    popup(m_canvas->mapToGlobal(position));
}
