#pragma once

#include <QTimer>
#include <QWebEnginePage>

/**
 * An empty page in the process that all pages share. It keeps that process alive while no dialog is open: starting a
 * process takes nearly half of the time that opening a map takes.
 *
 * A closed page may leave the process busy with endless work. So the keeper is asked when a page closes, and the next
 * page waits for its answer. A keeper that does not answer within two seconds deletes itself, which ends the process.
 */
class PageKeeper : public QWebEnginePage
{
    Q_OBJECT

public:
    explicit PageKeeper(QWebEngineProfile *profile);

    /** Checks that the process still works. */
    void ask();
    /** An answer is due. */
    bool isAsked() const { return m_isAsked; }

signals:
    void answered();

private:
    QTimer m_patience;
    bool m_isAsked = false;
};
