#pragma once

#include <QDialog>
#include <memory>

class WebWidget;

namespace Ui
{
class MapWidget;
}

/**
 * The map: the page "Leaflet/demo.html" beside the executable, and the buttons that drive it. Modal, maximised.
 *
 * The page tells nothing back. Not deleted when it closes; its destruction shuts the web engine down.
 */
class MapWidget : public QDialog
{
    Q_OBJECT

public:
    /** Loads the web engine, comes up maximised and starts loading the page. Call exec() next. */
    explicit MapWidget(QWidget *parent);
    ~MapWidget() override;

    /** Calls a function of the page with one argument. */
    void runJs(const QString &name, const QString &argument);
    /** Marks a point: the page gets second, then first, with six significant digits. */
    void addOnePoint(const double &first, const double &second);

    /** What this dialog last told the page. */
    ///@{
    bool drawRoutesEnabled() const { return m_drawRoutesEnabled; }
    bool measureEnabled() const { return m_measureEnabled; }
    ///@}

signals:
    /** Never emitted: the page has no way to send. */
    void doSendMessage(QString s);

public slots:
    /** Does nothing. */
    void onWebSocketClosed();

private slots:
    void on_btn_callWmts_clicked();
    void on_pushButton_clicked();
    void on_btn_enableRoutes_clicked();
    void on_btn_measureDis_clicked();
    void on_btn_clear_clicked();
    void on_btn_browser_clicked();

protected:
    /** Does nothing. */
    void mousePressEvent(QMouseEvent *event) override;
    /** Maximises the window. */
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    /** Does nothing: the web view follows by itself. */
    void resizeEvent(QResizeEvent *event) override;

private:
    void switchMode(const QString &function, bool *enabled, bool *otherEnabled);

    std::unique_ptr<Ui::MapWidget> m_ui;
    WebWidget *m_webWidget = nullptr;
    bool m_drawRoutesEnabled = false;
    bool m_measureEnabled = false;
};
