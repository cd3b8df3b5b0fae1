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
 * Answers modal dialogs with the answers that the test queued, so that the call that opened the dialog returns.
 *
 * Rejects and records a dialog without a queued answer, so that the test does not hang. allAnswered() is then false;
 * it is also false when an expected dialog did not open. Ignores progress dialogs. Only one instance at a time, main
 * thread only.
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

    /** Queues an answer for the next dialog. If the answer leaves the dialog open, the dialog is rejected. */
    void next(Answer answer) { m_answers.push_back(std::move(answer)); }

    bool allAnswered() const { return m_answers.empty() && m_unexpected.isEmpty(); }
    /** Class and title of each dialog without a queued answer. */
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
        // exec() shows the dialog before it starts its event loop, so the answer must wait for that loop.
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
