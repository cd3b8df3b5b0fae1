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
 * Shows the waypoints of a route file with distance and flight time of each leg, and writes them to a workbook beside
 * the file.
 *
 * Works on the main thread and processes events once per waypoint. The user can therefore start a second conversion
 * during the first: the second runs to its end, and rows of the first that do not fit the table are dropped.
 */
class DecodeRoutes : public QDialog
{
    Q_OBJECT

public:
    /** Shows an empty table. */
    explicit DecodeRoutes(QWidget *parent);
    ~DecodeRoutes() override;

    /** Path of the selected file; empty when none is selected. */
    const QString &routeFile() const { return m_routeFile; }
    /** Selects a file, like the file dialog. */
    void setRouteFile(const QString &routeFile) { m_routeFile = routeFile; }

    /**
     * Converts an open route file and closes it. An invalid file counts as a route without waypoints; no error is
     * reported.
     *
     * About 0.3 ms per waypoint while the dialog is visible, mostly for painting.
     */
    void decodeRoute(QFile &file);

public slots:
    /** Asks for a route file; does not convert it. */
    void on_btn_selectFile_clicked();
    /** Converts the selected file and writes the workbook beside it. */
    void on_btn_writeExcel_clicked();

private:
    std::unique_ptr<Ui::DecodeRoutes> m_ui;
    QString m_routeFile;
};
