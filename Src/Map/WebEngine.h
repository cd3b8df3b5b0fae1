#pragma once

#include "PageKeeper.h"
#include "WebProfile.h"

#include <QObject>
#include <QPointer>

/** The engine that all map dialogs share: its start, its end and the process of its pages. Main thread only. */
class WebEngine : public QObject
{
    Q_OBJECT

public:
    /** Never destroyed: the system frees what is left at the end of the process. */
    static WebEngine &instance();

    /** Each dialog starts the engine and ends it; the last end() takes all pages with it. */
    ///@{
    void start();
    void end();
    ///@}

    /** Null while the engine is not started. */
    WebProfile *profile() const { return m_profile; }

    /** Keeps the process of the pages from now on. */
    void keepProcess();
    /** A page is about to close: the next one must wait until the process has shown that it still works. */
    void checkProcess();
    bool isReadyToLoad() const;

signals:
    /** Pages that waited for isReadyToLoad() may load. */
    void readyToLoad();
    /** All pages must go now, before their profile. */
    void ending();

private:
    WebEngine() = default;

    int m_users = 0;
    WebProfile *m_profile = nullptr;
    QPointer<PageKeeper> m_keeper;
};
