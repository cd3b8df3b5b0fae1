#pragma once

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QObject>
#include <QProgressDialog>
#include <QStringList>
#include <QTimer>

#include <deque>
#include <functional>
#include <utility>

/**
 * Answers modal dialogs while it lives, each as the test has said beforehand; the call that opened one returns when it
 * is answered.
 *
 * A dialog that nobody spoke of is rejected and noted, so that a test ends in any case: allAnswered() is then false,
 * as it is when an expected dialog did not come. Progress dialogs are left alone. One at a time, main thread.
 */
class ModalAnswer : public QObject
{
public:
    using Answer = std::function<void(QDialog *)>;

    ModalAnswer()
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        qApp->installEventFilter(this);
    }

    /** Speaks of the dialog after those already spoken of. One that the answer leaves open is rejected. */
    void next(Answer answer) { m_answers.push_back(std::move(answer)); }

    bool allAnswered() const { return m_answers.empty() && m_unexpected.isEmpty(); }
    /** Class and title of each dialog that nobody spoke of. */
    QStringList unexpected() const { return m_unexpected; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *const dialog = qobject_cast<QDialog *>(watched);
        if (!dialog || event->type() != QEvent::Show || event->spontaneous() || qobject_cast<QProgressDialog *>(dialog))
            return false;
        Answer answer;
        if (m_answers.empty()) {
            m_unexpected.append(QString::fromLatin1(dialog->metaObject()->className()) + QLatin1String(": ")
                                + dialog->windowTitle());
        } else {
            answer = std::move(m_answers.front());
            m_answers.pop_front();
        }
        // Shown means that exec() is about to turn its event loop; the answer comes from inside it.
        QTimer::singleShot(0, dialog, [dialog, answer] {
            if (answer)
                answer(dialog);
            if (dialog->isVisible())
                dialog->reject();
        });
        return false;
    }

private:
    std::deque<Answer> m_answers;
    QStringList m_unexpected;
};
