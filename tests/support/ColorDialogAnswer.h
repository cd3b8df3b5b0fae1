#pragma once

#include <QApplication>
#include <QColorDialog>
#include <QElapsedTimer>
#include <QTimer>

/**
 * Answers the next colour dialog. Create it before the click that opens the dialog.
 *
 * If no dialog opens within ten seconds, opened() stays false.
 */
class ColorDialogAnswer
{
public:
    /** Chooses this colour. An invalid colour cancels the dialog. */
    explicit ColorDialogAnswer(const QColor &color)
        : m_color(color)
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        m_waiting.start();
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        m_timer.start(0);
    }

    bool opened() const { return m_opened; }
    /** The colour that the dialog showed first. */
    QColor initial() const { return m_initial; }
    bool hadParent() const { return m_hadParent; }
    QColorDialog::ColorDialogOptions options() const { return m_options; }

private:
    void look()
    {
        auto *const dialog = qobject_cast<QColorDialog *>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            if (m_waiting.hasExpired(10000))
                m_timer.stop();
            return;
        }
        m_timer.stop();
        m_opened = true;
        m_initial = dialog->currentColor();
        m_hadParent = dialog->parentWidget() != nullptr;
        m_options = dialog->options() & ~QColorDialog::ColorDialogOptions(QColorDialog::DontUseNativeDialog);
        if (m_color.isValid()) {
            dialog->setCurrentColor(m_color);
            dialog->accept();
        } else {
            dialog->reject();
        }
    }

    QColor m_color;
    QTimer m_timer;
    QElapsedTimer m_waiting;
    bool m_opened = false;
    QColor m_initial;
    bool m_hadParent = false;
    QColorDialog::ColorDialogOptions m_options;
};
