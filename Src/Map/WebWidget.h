#pragma once

#include "WkeApi.h"

#include <QProcess>
#include <QWidget>

/**
 * A web page in a dialog: one window of the web engine, a child of the widget's parent, kept over the widget's area.
 *
 * The engine's table must be loaded before. Main thread only.
 */
class WebWidget : public QWidget
{
    Q_OBJECT

public:
    /** @param url a web address or a file's path; an empty one stands for a fixed page on the web
     *  @param parent must not be null: its native window takes the engine's */
    WebWidget(const QString &url, QWidget *parent);
    ~WebWidget() override = default;

    /** Calls a function of the page: "name(argument);". Whether it is there and what it gives is not looked at. */
    void runJs(const QString &name, const QString &argument);
    /** Calls a function of the page with two arguments: "name(first,second)". */
    void runJs2(const QString &name, const QString &first, const QString &second);

    /** As the constructor's url, but handed over in the local 8-bit encoding. */
    void load(const QString &url);
    /** Moves the engine's window to the widget's place on the screen. */
    void moveToGlobal();

    /**
     * Starts the tile service "wmts.exe" beside the executable unless it runs already. It outlives this widget and the
     * program. A message box says when the file is missing; a start that fails is not reported.
     */
    void startWmts();
    /** The tile service, or null when this widget has none running. */
    QProcess *wmtsProcess() const { return m_wmtsProcess; }

public slots:
    /** The tile service has ended; how is not looked at. The next startWmts() may start it again. */
    void slotProcessQuit(int exitCode, QProcess::ExitStatus stuts);
    /** What the tile service prints is not used. */
    void statusFeedbackSlot();

protected:
    /** Moves the engine's window along. */
    void resizeEvent(QResizeEvent *event) override;

private:
    WkeWebView m_webView = nullptr;
    QProcess *m_wmtsProcess = nullptr;
};
