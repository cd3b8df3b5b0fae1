#pragma once

#include "WkeApi.h"

#include <QProcess>
#include <QWidget>

/**
 * A web page in a dialog. The engine's window is a child of this widget's parent and covers this widget's area.
 *
 * Call loadWkeApi() before. Main thread only.
 */
class WebWidget : public QWidget
{
    Q_OBJECT

public:
    /**
     * @param url a web address or the path of a file; empty for a fixed page on the web
     * @param parent must not be null; its native window becomes the parent of the engine's window
     */
    WebWidget(const QString &url, QWidget *parent);
    ~WebWidget() override = default;

    /** Calls a function of the page: "name(argument);". Ignores its result, and a missing function. */
    void runJs(const QString &name, const QString &argument);
    /** Calls a function of the page with two arguments: "name(first,second)". */
    void runJs2(const QString &name, const QString &first, const QString &second);

    /** Like the url of the constructor, but passed in the local 8-bit encoding. */
    void load(const QString &url);
    /** Moves the engine's window to the global position of the widget. */
    void moveToGlobal();

    /**
     * Starts the tile service "wmts.exe" beside the executable, unless this widget runs it already. The service
     * outlives the widget and the program. A message box reports a missing file. A failed start is not reported.
     */
    void startWmts();
    /** The running tile service, or null. */
    QProcess *wmtsProcess() const { return m_wmtsProcess; }

public slots:
    /** Forgets the tile service, which has ended. The next startWmts() starts it again. */
    void slotProcessQuit(int exitCode, QProcess::ExitStatus stuts);
    /** Does nothing with the output of the tile service. */
    void statusFeedbackSlot();

protected:
    /** Moves and resizes the engine's window. */
    void resizeEvent(QResizeEvent *event) override;

private:
    WkeWebView m_webView = nullptr;
    QProcess *m_wmtsProcess = nullptr;
};
