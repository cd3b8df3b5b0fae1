#pragma once

#include <QApplication>
#include <QColorDialog>
#include <QElapsedTimer>
#include <QTimer>

/**
 * Answers the next colour dialog. Made before the click that opens it; the click returns when the dialog is answered.
 *
 * A dialog that does not come within ten seconds leaves opened() false, and the test goes on.
 */
class ColorDialogAnswer
{
public:
    /** Chooses a colour; an invalid one cancels. */
    explicit ColorDialogAnswer(const QColor &color)
        : m_color(color)
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        m_waiting.start();
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        m_timer.start(0);
    }

    bool opened() const { return m_opened; }
    /** What the dialog started from. */
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
