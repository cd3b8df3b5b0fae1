#include "CanvasTexts.h"

#include <QCoreApplication>
#include <QInputDialog>
#include <optional>
#include <qcustomplot.h>

// The titles are in the catalogue's MainWindow context.

namespace
{

std::optional<QString> askForText(QWidget *window, const QString &title, const QString &prompt, const QString &current)
{
    bool ok = false;
    const QString text = QInputDialog::getText(window, title, prompt, QLineEdit::Normal, current, &ok);
    return ok ? std::make_optional(text) : std::nullopt;
}

} // namespace

bool askForCurveName(QCPAbstractLegendItem *item, QWidget *window)
{
    auto *plottableItem = qobject_cast<QCPPlottableLegendItem *>(item);
    if (!plottableItem)
        return false;
    QCPAbstractPlottable *plottable = plottableItem->plottable();
    const auto name = askForText(window, QCoreApplication::translate("MainWindow", "Modify label"),
                                 QStringLiteral("New graph name:"), plottable->name());
    if (name)
        plottable->setName(*name);
    return name.has_value();
}

bool askForAxisLabel(QCPAxis *axis, QWidget *window)
{
    const auto label = askForText(window, QCoreApplication::translate("MainWindow", "Modify name of axis"),
                                  QStringLiteral("New axis label:"), axis->label());
    if (label)
        axis->setLabel(*label);
    return label.has_value();
}

bool askForTitle(QCPTextElement *title, QWidget *window)
{
    const auto text = askForText(window, QCoreApplication::translate("MainWindow", "Modify title"),
                                 QStringLiteral("New plot title:"), title->text());
    if (text)
        title->setText(*text);
    return text.has_value();
}
