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
 * The page sends nothing back. The dialog is not deleted when it closes. Its destructor shuts the web engine down.
 */
class MapWidget : public QDialog
{
    Q_OBJECT

public:
    /** Loads the web engine, shows the dialog maximised and starts to load the page. Call exec() next. */
    explicit MapWidget(QWidget *parent);
    ~MapWidget() override;

    /** Calls a function of the page with one argument. */
    void runJs(const QString &name, const QString &argument);
    /** Marks a point. The page gets second, then first, with six significant digits. */
    void addOnePoint(const double &first, const double &second);

    /** The mode that this dialog last sent to the page. */
    ///@{
    bool drawRoutesEnabled() const { return m_drawRoutesEnabled; }
    bool measureEnabled() const { return m_measureEnabled; }
    ///@}

signals:
    /** Never emitted: there is no channel from the page to the program. */
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
    /** Does nothing: the layout resizes the web view. */
    void resizeEvent(QResizeEvent *event) override;

private:
    void switchMode(const QString &function, bool *enabled, bool *otherEnabled);

    std::unique_ptr<Ui::MapWidget> m_ui;
    WebWidget *m_webWidget = nullptr;
    bool m_drawRoutesEnabled = false;
    bool m_measureEnabled = false;
};
