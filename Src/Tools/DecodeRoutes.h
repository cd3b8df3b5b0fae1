#pragma once

#include <QDialog>
#include <QString>
#include <memory>

class QFile;

namespace Ui
{
class DecodeRoutes;
}

/**
 * Shows the waypoints of a route file with length and flying time of each leg, and writes them to a workbook beside
 * the file.
 *
 * Works on the main thread and lets the event loop run once a waypoint, so that the user may even start a second
 * conversion inside the first: it runs to its end, and rows of the first that no longer fit the table are dropped.
 */
class DecodeRoutes : public QDialog
{
    Q_OBJECT

public:
    /** Shows an empty table. */
    explicit DecodeRoutes(QWidget *parent);
    ~DecodeRoutes() override;

    /** The chosen file; empty when none is. */
    const QString &routeFile() const { return m_routeFile; }
    /** Chooses a file as the dialog does. */
    void setRouteFile(const QString &routeFile) { m_routeFile = routeFile; }

    /**
     * Converts an open route file and closes it. What is no route has no waypoints; nothing is reported.
     *
     * About 0.3 ms a waypoint while the dialog is shown, most of it painting.
     */
    void decodeRoute(QFile &file);

public slots:
    /** Lets the user choose a route file; converts nothing yet. */
    void on_btn_selectFile_clicked();
    /** Converts the chosen file and writes the workbook beside it. */
    void on_btn_writeExcel_clicked();

private:
    std::unique_ptr<Ui::DecodeRoutes> m_ui;
    QString m_routeFile;
};
