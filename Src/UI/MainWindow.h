#pragma once

#include "ExportRun.h"
#include "MyThemes.h"
#include "ReadProgress.h"
#include "Updater.h"

#include <QList>
#include <QMainWindow>
#include <QString>
#include <memory>
#include <qcustomplot.h>

class CanvasMenu;
class CanvasPair;
class CommonModule;
class DecodeRoutes;
class MyCustomPlot;
class QCheckBox;

namespace Ui
{
class MainWindow;
}

/**
 * The main window: two canvases on one time axis, the check boxes of the main channels, menus and tool bar. Delegates
 * decoding and plotting to other classes. Main thread only.
 *
 * Create only one per process: its destructor calls AppConfig::shutdown(), which closes the log and the channel store.
 */
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /** Call AppConfig::init() first. */
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    /** Path of the selected log; empty after a cancelled file dialog. */
    const QString &filePath() const { return m_filePath; }
    /** Controller of the upper canvas. */
    MyCustomPlot *myPlot() const { return m_myPlot.get(); }
    /** Controller of the lower canvas. */
    MyCustomPlot *myPlot_2() const { return m_myPlot_2.get(); }
    /** The boxes of the main channels, from top to bottom. */
    const QList<QCheckBox *> &checkBoxes() const { return m_checkBoxes; }
    /** Null before the first read. */
    QProgressDialog *progressDialog() const { return m_progressDialog.get(); }
    /** The running export, or null. */
    ExportOperator *exportThread() const { return m_exportRun->exportThread(); }
    /** Null before the first use of the update action. */
    QProcess *updaterProcess() const { return m_updater.process(); }
    /** Null before the first use of the route converter. */
    DecodeRoutes *decodeRoutes() const { return m_decodeRoutes; }
    /** Null before the first use of the calculators. */
    CommonModule *commonModule() const { return m_commonModule.get(); }

signals:
    /** Runs a read; it is complete when the emission returns. */
    void readDataSignal(QString filePath);
    /** Never emitted. */
    void removePointSignal(QCPGraph *graph, QCPItemPosition *position);

public slots:
    /** Shows a text in the status bar for 2500 ms. */
    void statusShowSlot(QString s);
    /** Sets each box to its channel's shown flag. */
    void checkBoxSlot();
    /** Converts between bool and check state; Qt::PartiallyChecked converts to false. */
    ///@{
    Qt::CheckState checkState(bool state);
    bool checkState2Bool(Qt::CheckState state);
    ///@}
    /** Applies a theme to this window only; AppConfig sets the style sheets of the application. */
    void switchThemeSlot(MyThemes theme);
    /** Sets dataRead, updates the boxes and shows the modal report. */
    void readDataFinishedSlot(ushort frameTotal, ushort frameError, ushort frameSelectedId);
    /** Shows (flag is true) or removes a channel on the canvas of its position. position and pen are ignored. */
    void showGraphSlot(QString graphName, bool flag, uchar functionCode, uchar position = 0, uchar pen = 0);
    /** Shows or removes the channel of the check box that sent the signal. */
    void showSlot();

protected:
    /** Accepts drags with URLs. */
    void dragEnterEvent(QDragEnterEvent *event) override;
    /** Selects the first dropped file; does not read it. */
    void dropEvent(QDropEvent *event) override;

private slots:
    void onSelectFileSlot();
    void readDataSlot_1();
    void settingSlot();
    void settingSlot_2();
    void onGlobalSetting();
    void on_actionAboutTriggered();
    void on_actionDocumentTriggered();
    void on_actionViewSettingTriggered();
    void writeExcelSlot();
    void onDecodeRouteSlot();
    void writeTxtSlot();
    void MPlotSlot();
    void PyPlotSlot();
    void onMapClickSlot();
    void onCommonModuleSlot();
    void titleDoubleClick(QMouseEvent *event);
    void legendDoubleClick(QCPLegend *legend, QCPAbstractLegendItem *item);
    void axisLabelDoubleClick(QCPAxis *axis, QCPAxis::SelectablePart part);
    void contextMenuRequest(QPoint pos);
    void contextMenuRequest_2(QPoint pos);
    void moveLegend();
    void graphClicked(QCPAbstractPlottable *plottable, int dataIndex);
    void followRescaleXAxisSlot();
    void followRescaleXAxisSlot(QCPRange newRange);
    void followRescaleXAxisSlot_2(QCPRange newRange);
    void closeEvent(QCloseEvent *event) override;

private:
    void customPlotInit();
    void mainWindowViewSetting();
    void setUpToolBar();
    void setUpMenus();
    void startUpdate();
    void popUpMenu(CanvasMenu *menu, QPoint pos) const;

    std::unique_ptr<Ui::MainWindow> m_ui;
    QString m_filePath;
    std::shared_ptr<MyCustomPlot> m_myPlot;
    std::shared_ptr<MyCustomPlot> m_myPlot_2;
    CanvasPair *m_canvasPair = nullptr;
    std::unique_ptr<ReadProgress> m_progressDialog;
    QList<QCheckBox *> m_checkBoxes{nullptr};
    std::unique_ptr<ExportRun> m_exportRun;
    Updater m_updater;
    DecodeRoutes *m_decodeRoutes = nullptr;
    std::unique_ptr<CommonModule> m_commonModule;
    bool m_reading = false;
    bool m_closed = false;
};
