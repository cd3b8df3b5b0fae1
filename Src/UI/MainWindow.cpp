#include "MainWindow.h"

#include "AboutDialog.h"
#include "AppConfig.h"
#include "CanvasMenu.h"
#include "CanvasPair.h"
#include "CanvasTexts.h"
#include "ChannelBoxes.h"
#include "ChannelStore.h"
#include "CommonModule.h"
#include "DataHandler.h"
#include "DecodeRoutes.h"
#include "GlobalSettingDialog.h"
#include "Logging.h"
#include "MPlotDialog.h"
#include "MapWidget.h"
#include "MyCustomPlot.h"
#include "PyPlotDialog.h"
#include "ReadOutText.h"
#include "ReadReport.h"
#include "WindowLook.h"
#include "WindowSettingDialog.h"
#include "ui_MainWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QThread>
#include <QUrl>

namespace
{

constexpr int kStatusMilliseconds = 2500;

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_exportRun(std::make_unique<ExportRun>(this))
{
    logToBoth(info, "MainWindow constructor");
    logToBoth(info, "main thread id {}", QThread::currentThreadId());

    m_ui->setupUi(this);
    setGeometry(0, 0, 1920, 1080);
    showMaximized();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/resources/4.ico")));

    customPlotInit();
    mainWindowViewSetting();
}

MainWindow::~MainWindow()
{
    m_ui.reset();
    logToBoth(info, "mainwindow destructor");
    m_exportRun.reset(); // cancels an export and waits for it before the store is cleared
    AppConfig::getInstance().shutdown();
}

void MainWindow::customPlotInit()
{
    logToBoth(info, "init qcustomplot canvas");
    m_myPlot = std::make_shared<MyCustomPlot>(nullptr);
    m_myPlot_2 = std::make_shared<MyCustomPlot>(nullptr);
    QCustomPlot *canvas = m_ui->customPlot;
    QCustomPlot *canvas_2 = m_ui->customPlot_2;
    m_myPlot->initCustomPlot(canvas);
    m_myPlot_2->initCustomPlot(canvas_2);
    canvas_2->yAxis->grid()->setSubGridVisible(false);

    for (QCustomPlot *each : {canvas, canvas_2})
        connect(each, &QCustomPlot::legendDoubleClick, this, &MainWindow::legendDoubleClick);
    for (QCustomPlot *each : {canvas, canvas_2})
        connect(each, &QCustomPlot::axisDoubleClick, this, &MainWindow::axisLabelDoubleClick);
    connect(canvas, &QWidget::customContextMenuRequested, this, &MainWindow::contextMenuRequest);
    connect(canvas_2, &QWidget::customContextMenuRequested, this, &MainWindow::contextMenuRequest_2);
    const auto rangeChanged = qOverload<const QCPRange &>(&QCPAxis::rangeChanged);
    connect(canvas->xAxis, rangeChanged, this, qOverload<QCPRange>(&MainWindow::followRescaleXAxisSlot));
    connect(canvas_2->xAxis, rangeChanged, this, &MainWindow::followRescaleXAxisSlot_2);
    for (MyCustomPlot *each : {m_myPlot.get(), m_myPlot_2.get()})
        connect(each, &MyCustomPlot::statusShowSignal, this, &MainWindow::statusShowSlot);
    for (MyCustomPlot *each : {m_myPlot.get(), m_myPlot_2.get()})
        connect(each, &MyCustomPlot::graphCheckedSignal, this, &MainWindow::checkBoxSlot);

    m_canvasPair = new CanvasPair(m_myPlot.get(), m_myPlot_2.get(), this);
    m_canvasPair->setLogPath([this] { return m_filePath; });
    connect(m_canvasPair, &CanvasPair::statusShowSignal, this, &MainWindow::statusShowSlot);
    connect(this, &MainWindow::readDataSignal, m_canvasPair, &CanvasPair::forgetViews);

    canvas_2->replot();
    canvas->replot();
}

void MainWindow::mainWindowViewSetting()
{
    logToBoth(info, "mainwindow view settings");
    m_checkBoxes = m_ui->widget_checkbox->findChildren<QCheckBox *>();
    for (QCheckBox *box : qAsConst(m_checkBoxes)) {
        setUpChannelBox(box);
        connect(box, &QCheckBox::stateChanged, this, &MainWindow::showSlot);
    }
    setUpToolBar();
    setUpMenus();

    setWindowTitle(tr("Ostravel"));
    auto *label = new QLabel(tr("Ostravel"), this);
    label->setFrameStyle(QFrame::Box | QFrame::Sunken);
    statusBar()->addPermanentWidget(label);
    setAcceptDrops(true);
}

void MainWindow::setUpToolBar()
{
    connect(m_ui->actionSetting, &QAction::triggered, this, &MainWindow::onGlobalSetting);
    connect(m_ui->actionTxt, &QAction::triggered, this, &MainWindow::onSelectFileSlot);
    connect(m_ui->actionRead, &QAction::triggered, this, &MainWindow::readDataSlot_1);
    connect(m_ui->actionViewSetting, &QAction::triggered, this, &MainWindow::on_actionViewSettingTriggered);

    QToolBar *bar = m_ui->toolBar;
    const auto add = [this, bar](const char *icon, const QString &text, void (MainWindow::*slot)()) {
        bar->addAction(QIcon(QString::fromLatin1(icon)), text, this, slot);
    };
    bar->addSeparator();
    add(":/EXCEL.svg", tr("WriteExcel"), &MainWindow::writeExcelSlot);
    add(":/TXT4.svg", tr("WriteTxt"), &MainWindow::writeTxtSlot);
    bar->addSeparator();
    add(":/map.svg", QStringLiteral("MPlot"), &MainWindow::MPlotSlot);
    add(":/chart-line-area.svg", QStringLiteral("PyPlot"), &MainWindow::PyPlotSlot);
    add(":/map-blue.svg", QStringLiteral("Map"), &MainWindow::onMapClickSlot);
    bar->addSeparator();
    add(":/route-blue.svg", tr("Route2Excel"), &MainWindow::onDecodeRouteSlot);
    add(":/math-blue.svg", QStringLiteral("MathLib"), &MainWindow::onCommonModuleSlot);
    bar->addSeparator();
    add(":/Help-copy.ico", QStringLiteral("Document"), &MainWindow::on_actionDocumentTriggered);
}

void MainWindow::setUpMenus()
{
    const auto add = [this](QMenu *menu, const char *icon, const QString &text, const auto *receiver, auto slot) {
        return menu->addAction(QIcon(QString::fromLatin1(icon)), text, receiver, slot);
    };
    QMenu *menu = m_ui->menuFile;
    add(menu, ":/folder-open.svg", tr("SelectFile(O)"), this, &MainWindow::onSelectFileSlot)
        ->setShortcut(QKeySequence(QStringLiteral("Ctrl+o")));
    add(menu, ":/analysis.svg", tr("ReadData(R)"), this, &MainWindow::readDataSlot_1)
        ->setShortcut(QKeySequence(QStringLiteral("Ctrl+r")));
    add(menu, ":/Excel-black.svg", tr("WriteExcel"), this, &MainWindow::writeExcelSlot);
    add(menu, ":/Txt3.svg", tr("WriteTxt"), this, &MainWindow::writeTxtSlot);

    menu = m_ui->menuView;
    add(menu, ":/clear.svg", tr("Clear(C)"), m_myPlot.get(), &MyCustomPlot::removeAllGraphsSlot);
    add(menu, ":/zoom-internal.svg", tr("Rescale(R)"), m_myPlot.get(), &MyCustomPlot::rescaleAllGraphSlot);

    menu = m_ui->menuSetting;
    add(menu, ":/tool.svg", tr("DataSetting(D)"), this, &MainWindow::onGlobalSetting);
    add(menu, ":/setting-computer.svg", tr("UiSetting(G)"), this, &MainWindow::on_actionViewSettingTriggered);

    menu = m_ui->menuTrace;
    add(menu, ":/map-draw.svg", tr("matlib(M)"), this, &MainWindow::MPlotSlot);
    add(menu, ":/sinusoid.svg", tr("python(P)"), this, &MainWindow::PyPlotSlot);

    menu = m_ui->menuOther;
    add(menu, ":/route-black.svg", tr("route(R)"), this, &MainWindow::onDecodeRouteSlot);
    add(menu, ":/math-black.svg", tr("MathLib(M)"), this, &MainWindow::onCommonModuleSlot);

    menu = m_ui->menuHelp;
    add(menu, ":/help.svg", tr("About(A)"), this, &MainWindow::on_actionAboutTriggered);
    add(menu, ":/book.svg", tr("Document(D)"), this, &MainWindow::on_actionDocumentTriggered);
    add(menu, ":/update.svg", tr("Update(D)"), this, &MainWindow::startUpdate);
}

void MainWindow::statusShowSlot(QString s)
{
    statusBar()->showMessage(s, kStatusMilliseconds);
}

Qt::CheckState MainWindow::checkState(bool state)
{
    return state ? Qt::Checked : Qt::Unchecked;
}

bool MainWindow::checkState2Bool(Qt::CheckState state)
{
    return state == Qt::Checked;
}

void MainWindow::switchThemeSlot(MyThemes theme)
{
    dressWindow(this, theme);
}

void MainWindow::onSelectFileSlot()
{
    logToBoth(info, "start select data file");
    m_filePath = QFileDialog::getOpenFileName(this, tr("Select data file"), QStringLiteral("./"),
                                              QStringLiteral("*.txt *.db *.sqlite"));
    if (m_filePath.isEmpty()) {
        logToBoth(warn, "file selected is empty");
        statusBar()->showMessage(tr("File selected is empty"));
    } else {
        logToBoth(info, "file selected is:{}", m_filePath);
        statusBar()->showMessage(tr("Selected file is ") + m_filePath);
    }
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    if (!event->mimeData()->hasUrls())
        return;
    const QString path = event->mimeData()->urls().value(0).toLocalFile();
    if (path.isEmpty())
        return;
    event->acceptProposedAction();
    m_filePath = path;
    logToBoth(info, "file selected is: {}", m_filePath);
    statusBar()->showMessage(QStringLiteral("selected file is ") + m_filePath);
}

void MainWindow::readDataSlot_1()
{
    // The progress dialog blocks the user during a read, but a queued key press can arrive before it is visible. A
    // nested read would delete the channels that the first one fills.
    if (m_reading)
        return;

    logToBoth(info, "start decode data file");
    if (m_filePath.isEmpty()) {
        logToBoth(warn, "file selected is empty");
        statusBar()->showMessage(tr("File selected is empty"));
        QMessageBox::information(this, tr("Info"), tr("File selected is empty"), QMessageBox::Ok);
        return;
    }

    const QScopedValueRollback<bool> reading(m_reading, true);
    dataRead = false;
    const auto handler = std::make_unique<DataHandler>(nullptr);
    connect(handler.get(), &DataHandler::doHandleReady, this, [this, &handler] {
        if (!m_progressDialog)
            m_progressDialog = std::make_unique<ReadProgress>();
        m_progressDialog->follow(handler.get());
    });
    connect(handler.get(), &DataHandler::statusFeedbackSignal, this, &MainWindow::statusShowSlot);
    connect(this, &MainWindow::readDataSignal, handler.get(), &DataHandler::readDataSlot);
    connect(handler.get(), &DataHandler::readDataFinishedSinal, this, &MainWindow::readDataFinishedSlot);

    m_myPlot->removeAllGraphsSlot();
    m_myPlot_2->removeAllGraphsSlot();
    DataHandler::clearData();
    DataHandler::initData();
    emit readDataSignal(m_filePath);
}

void MainWindow::readDataFinishedSlot(ushort frameTotal, ushort frameError, ushort frameSelectedId)
{
    logToBoth(info, "decode data finished");
    dataRead = true;
    checkBoxSlot();

    // For a log that cannot be opened or is very short, the value never reaches the maximum. Without a reset the dialog
    // would then appear above the report and block it, and the user cannot close it.
    if (m_progressDialog)
        m_progressDialog->reset();
    if (m_closed)
        return;

    ReadReport(frameTotal, frameError, frameSelectedId).exec();
}

void MainWindow::showSlot()
{
    const auto *box = qobject_cast<QCheckBox *>(sender());
    if (!box)
        return;
    m_canvasPair->showChannel(graphNameOf(box), functionCodeOf(box), checkState2Bool(box->checkState()));
}

void MainWindow::showGraphSlot(QString graphName, bool flag, uchar functionCode, uchar position, uchar pen)
{
    Q_UNUSED(position)
    Q_UNUSED(pen)
    m_canvasPair->showChannel(graphName, functionCode, flag);
}

void MainWindow::checkBoxSlot()
{
    // No QSignalBlocker: a box that changes here runs showSlot(), which removes its curve. This keeps boxes and curves
    // consistent after one canvas is cleared.
    for (QCheckBox *box : qAsConst(m_checkBoxes)) {
        if (const MyGraph *graph = channelOf(box))
            box->setCheckState(checkState(graph->shown()));
    }
}

void MainWindow::followRescaleXAxisSlot()
{
    m_ui->customPlot_2->xAxis->setRange(m_ui->customPlot->xAxis->range());
    m_ui->customPlot_2->replot();
}

void MainWindow::followRescaleXAxisSlot(QCPRange newRange)
{
    m_ui->customPlot_2->xAxis->setRange(newRange);
    m_ui->customPlot_2->replot();
}

void MainWindow::followRescaleXAxisSlot_2(QCPRange newRange)
{
    m_ui->customPlot->xAxis->setRange(newRange);
    m_ui->customPlot->replot();
}

// The next three slots replot only the first canvas; a change on the second is visible at its next replot.

void MainWindow::titleDoubleClick(QMouseEvent *event)
{
    Q_UNUSED(event)
    auto *title = qobject_cast<QCPTextElement *>(sender());
    if (title && askForTitle(title, this))
        m_ui->customPlot->replot();
}

void MainWindow::legendDoubleClick(QCPLegend *legend, QCPAbstractLegendItem *item)
{
    Q_UNUSED(legend)
    if (askForCurveName(item, this))
        m_ui->customPlot->replot();
}

void MainWindow::axisLabelDoubleClick(QCPAxis *axis, QCPAxis::SelectablePart part)
{
    if (part == QCPAxis::spAxisLabel && askForAxisLabel(axis, this))
        m_ui->customPlot->replot();
}

void MainWindow::contextMenuRequest(QPoint pos)
{
    popUpMenu(new CanvasMenu(m_myPlot.get(), CanvasMenu::Upper, this), pos);
}

void MainWindow::contextMenuRequest_2(QPoint pos)
{
    popUpMenu(new CanvasMenu(m_myPlot_2.get(), CanvasMenu::Lower, this), pos);
}

void MainWindow::popUpMenu(CanvasMenu *menu, QPoint pos) const
{
    connect(menu, &CanvasMenu::penSettingsRequested, this, &MainWindow::settingSlot);
    connect(menu, &CanvasMenu::fontSettingsRequested, this, &MainWindow::settingSlot_2);
    menu->popUpAt(pos);
}

void MainWindow::settingSlot()
{
    m_canvasPair->askForPen();
}

void MainWindow::settingSlot_2()
{
    m_canvasPair->askForFont();
}

void MainWindow::moveLegend()
{
    const auto *action = qobject_cast<QAction *>(sender());
    if (!action)
        return;
    bool isInt = false;
    const int alignment = action->data().toInt(&isInt);
    // The legend is below the axes, so the inset layout may be empty.
    QCPLayoutInset *inset = m_ui->customPlot->axisRect()->insetLayout();
    if (!isInt || inset->elementCount() == 0)
        return;
    inset->setInsetAlignment(0, Qt::Alignment(alignment));
    m_ui->customPlot->replot();
}

void MainWindow::graphClicked(QCPAbstractPlottable *plottable, int dataIndex)
{
    const QString text = readouttext::click(plottable, dataIndex);
    if (!text.isEmpty())
        statusShowSlot(text);
}

void MainWindow::on_actionDocumentTriggered()
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/README.html");
    logToBoth(info, "document page is :{}", path);
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void MainWindow::onGlobalSetting()
{
    GlobalSettingDialog dialog(this);
    connect(&dialog, &GlobalSettingDialog::showGraphSignal, this, &MainWindow::showGraphSlot);
    dialog.exec();
}

void MainWindow::on_actionViewSettingTriggered()
{
    WindowSettingDialog(this).exec();
}

void MainWindow::writeExcelSlot()
{
    m_exportRun->start(ExportRun::Workbook, m_filePath);
}

void MainWindow::writeTxtSlot()
{
    m_exportRun->start(ExportRun::Text, m_filePath);
}

void MainWindow::MPlotSlot()
{
    MPlotDialog dialog(nullptr);
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.init();
    dialog.exec();
}

void MainWindow::PyPlotSlot()
{
    PyPlotDialog dialog(nullptr);
    dialog.init();
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.exec();
}

void MainWindow::onDecodeRouteSlot()
{
    if (!m_decodeRoutes)
        m_decodeRoutes = new DecodeRoutes(this);
    m_decodeRoutes->exec();
}

void MainWindow::onCommonModuleSlot()
{
    if (!m_commonModule)
        m_commonModule = std::make_unique<CommonModule>();
    m_commonModule->show();
}

void MainWindow::onMapClickSlot()
{
    // After it is closed, the dialog stays a hidden child until the window is destroyed.
    (new MapWidget(this))->exec();
}

void MainWindow::on_actionAboutTriggered()
{
    logToBoth(info, "about page");
    AboutDialog(this).exec();
}

void MainWindow::startUpdate()
{
    m_updater.start();
    QCoreApplication::quit();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    const auto answer = QMessageBox::question(this, tr("QuitApp"), tr("QuitApp?"), QMessageBox::Yes | QMessageBox::No);
    if (answer != QMessageBox::Yes) {
        event->ignore();
        return;
    }
    event->accept();
    // A running read continues to its end but shows no report. Dialogs without a parent, such as the progress dialog,
    // must not keep the process running.
    m_closed = true;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window != this)
            window->setAttribute(Qt::WA_QuitOnClose, false);
    }
}
