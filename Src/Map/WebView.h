#pragma once

#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QWidget>

class QLabel;
class QWebEnginePage;
class QWebEngineView;

/**
 * One window of the engine.
 *
 * Its page and the dialog's picture live only while the dialog is open: a closed map dialog stays in memory, and both
 * take much of it. The page is loaded again when the dialog is shown again.
 */
class WebView : public QWidget
{
    Q_OBJECT

public:
    explicit WebView(QWidget *parent);
    ~WebView() override;

    /** The view at this address; null if no view exists there. */
    static WebView *find(const void *address);

    /**
     * Takes this rectangle of the parent, without what lies outside the parent and what the widgets above this one, on
     * its right, need.
     */
    void place(const QRect &wanted);
    const QRect &wanted() const { return m_wanted; }

    /** Loads the page, as soon as the shared process is ready. */
    void load(const QUrl &url);

    /** Runs the script in the page, once it has loaded. Without a page the script is dropped. */
    void run(const QString &script);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    // The page passes on the keys that it does not use. The dialog would take Return as a click on its first button.
    void keyPressEvent(QKeyEvent *) override { }
    void keyReleaseEvent(QKeyEvent *) override { }
    void resizeEvent(QResizeEvent *event) override;

private:
    void loadIfDue();
    void dropPage();
    void dropPageLater();
    void dropPixels();
    void forgetPage();
    void keepClear();
    void makePage();
    void announce(QWebEnginePage *page) const;
    void loadFinished(bool ok);
    void showNotice(const QString &text);

    QRect m_wanted;
    QPointer<QWebEngineView> m_view;
    QPointer<QLabel> m_notice;
    QUrl m_url;
    QStringList m_waitingScripts;
    bool m_isLoadDue = false; // The load waits for the process that the pages share.
    bool m_isLoaded = false;
};
