#include "MainWindow.h"

#include "AboutDialog.h"
#include "AlignedMargins.h"
#include "AppConfig.h"
#include "CanvasKeys.h"
#include "CanvasPicture.h"
#include "ChannelStore.h"
#include "CommonModule.h"
#include "DataHandler.h"
#include "DecodeRoutes.h"
#include "ExportGroups.h"
#include "ExportOperator.h"
#include "GlobalSettingDialog.h"
#include "Logging.h"
#include "MPlotDialog.h"
#include "MapWidget.h"
#include "MyCustomPlot.h"
#include "PyPlotDialog.h"
#include "Release.h"
#include "SettingDialog.h"
#include "SettingDialog_2.h"
#include "ViewHistory.h"
#include "WindowSettingDialog.h"
#include "ui_MainWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDialog>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPalette>
#include <QProcess>
#include <QProgressDialog>
#include <QScopedValueRollback>
#include <QThread>
#include <QUrl>

namespace
{

constexpr int kStatusMilliseconds = 2500;
constexpr int kUpdaterStartMilliseconds = 30000;

/** A check box of the main channels, known by its text. */
struct BoxChannel {
    const char *text;
    quint8 functionCode;
};

// clang-format off
constexpr BoxChannel kBoxChannels[] = {
    {QT_TRANSLATE_NOOP("MainWindow", "Pitch"),             0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetPitch"),       0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "PitchDiff"),         0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "Roll"),              0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetRoll"),        0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "RollDiff"),          0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "Yaw"),               0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetYaw"),         0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "YawDiff"),           0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "RelativeHeight"),    0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetHeight"),      0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "HeightDiff"),        0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "IndicatedAirspeed"), 0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetSpeed"),       0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "SpeedDiff"),         0x51},
};
// clang-format on

QLabel *centredLabel(const QString &text, const QFont &font, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

/** Puts a row of a name and a value into the report. */
void addLine(QGridLayout *grid, const QString &name, int value, const QFont &font)
{
    auto *line = new QHBoxLayout;
    grid->addLayout(line, grid->rowCount(), 0);
    line->addWidget(centredLabel(name, font, grid->parentWidget()));
    line->addWidget(centredLabel(QString::number(value), font, grid->parentWidget()));
}

/** Has no way out: Escape and the desktop's close would leave the whole window to the user in the middle of a read. */
class ReadProgressDialog : public QProgressDialog
{
public:
    void reject() override { }

protected:
    // Once the window has been closed the program ends as soon as every other one agrees; see there.
    void closeEvent(QCloseEvent *event) override { event->setAccepted(!testAttribute(Qt::WA_QuitOnClose)); }
};

// A QProcess kills its program when it is deleted, and the updater has to outlive us. One that still runs when the
// window goes is left to the end of the process, but not lost. Nobody reads this, so the compiler would leave a plain
// variable out.
QProcess *volatile runningUpdater = nullptr;

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_ui(std::make_unique<Ui::MainWindow>())
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
    delete m_exportThread; // stops it and waits, so that nothing is half written when the store goes
    AppConfig::getInstance().shutdown();
    if (m_updaterProcess && m_updaterProcess->state() != QProcess::NotRunning)
        runningUpdater = m_updaterProcess;
    else
        delete m_updaterProcess;
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
    AlignedMargins::join(canvas, canvas_2);
    for (MyCustomPlot *each : {m_myPlot.get(), m_myPlot_2.get()})
        each->setCanvasOf([this](const MyGraph *graph) { return controllerOf(graph); });

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
    connect(m_myPlot.get(), &MyCustomPlot::doSwapPosSignal, this,
            [this](MyGraph *g) { m_myPlot_2->myAddGraph(g, true); });
    connect(m_myPlot_2.get(), &MyCustomPlot::doSwapPosSignal, this,
            [this](MyGraph *g) { m_myPlot->myAddGraph(g, true); });

    setUpKeys();
    canvas_2->replot();
    canvas->replot();
}

void MainWindow::setUpKeys()
{
    const QVector<QCustomPlot *> canvases{m_ui->customPlot, m_ui->customPlot_2};
    auto *history = new ViewHistory(canvases, this);
    connect(this, &MainWindow::readDataSignal, history, &ViewHistory::clear);
    auto *picture = new CanvasPicture(canvases, this);
    connect(picture, &CanvasPicture::statusShowSignal, this, &MainWindow::statusShowSlot);
    for (MyCustomPlot *each : {m_myPlot.get(), m_myPlot_2.get()}) {
        const auto *keys = new CanvasKeys(each);
        connect(keys, &CanvasKeys::backRequested, history, &ViewHistory::goBack);
        connect(keys, &CanvasKeys::forwardRequested, history, &ViewHistory::goForward);
        connect(keys, &CanvasKeys::copyRequested, picture, &CanvasPicture::copy);
        connect(keys, &CanvasKeys::saveRequested, picture, [this, picture] {
            const QFileInfo log(m_filePath);
            const bool chosen = !m_filePath.isEmpty();
            picture->saveAs(chosen ? log.absolutePath() + QLatin1Char('/') + log.baseName() + QStringLiteral(".png")
                                   : QStringLiteral("canvas.png"));
        });
    }
}

void MainWindow::mainWindowViewSetting()
{
    logToBoth(info, "mainwindow view settings");
    setUpCheckBoxes();
    setUpToolBar();
    setUpMenus();

    setWindowTitle(tr("Ostravel"));
    auto *label = new QLabel(tr("Ostravel"), this);
    label->setFrameStyle(QFrame::Box | QFrame::Sunken);
    statusBar()->addPermanentWidget(label);
    setAcceptDrops(true);
}

void MainWindow::setUpCheckBoxes()
{
    m_checkBoxes = m_ui->widget_checkbox->findChildren<QCheckBox *>();
    for (QCheckBox *box : qAsConst(m_checkBoxes)) {
        for (const BoxChannel &channel : kBoxChannels) {
            const QString name = tr(channel.text);
            if (box->text() == name) {
                box->setProperty("graphName", name);
                box->setProperty("functionCode", uint(channel.functionCode));
                break;
            }
        }
        // A laptop's screen at twice its scale has 540 pixels: the rows move together before the window leaves it.
        box->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
        box->setMinimumHeight(box->fontMetrics().height());
        connect(box, &QCheckBox::stateChanged, this, &MainWindow::showSlot);
    }
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
    QPalette palette;
    if (theme == lightTheme) {
        logToBoth(info, "mainwindow set day mode");
        palette.setColor(QPalette::Window, Qt::white);
        palette.setColor(QPalette::WindowText, Qt::black);
        palette.setColor(QPalette::Base, Qt::white);
        palette.setColor(QPalette::AlternateBase, Qt::white);
        palette.setColor(QPalette::ToolTipBase, Qt::black);
        palette.setColor(QPalette::ToolTipText, Qt::black);
        palette.setColor(QPalette::Text, Qt::black);
        palette.setColor(QPalette::Button, Qt::white);
        palette.setColor(QPalette::ButtonText, Qt::black);
        palette.setColor(QPalette::HighlightedText, Qt::white);
        setPalette(palette);
        menuBar()->setStyleSheet(QString());
    } else if (theme == darkTheme) {
        logToBoth(info, "mainwindow set night mode");
        const QColor grey(53, 53, 53);
        palette.setColor(QPalette::Window, grey);
        palette.setColor(QPalette::WindowText, Qt::white);
        palette.setColor(QPalette::Base, QColor(15, 15, 15));
        palette.setColor(QPalette::AlternateBase, grey);
        palette.setColor(QPalette::Text, Qt::white);
        palette.setColor(QPalette::Button, grey);
        palette.setColor(QPalette::ButtonText, Qt::white);
        palette.setColor(QPalette::Highlight, QColor(161, 65, 13).lighter(150));
        palette.setColor(QPalette::HighlightedText, Qt::black);
        setPalette(palette);
        menuBar()->setStyleSheet(
            QStringLiteral("QMenuBar {background-color:rgb(53,53,53);                                        "
                           "color:white;}                                        "
                           "QMenuBar:item:selected {color:white;                                        "
                           "background-color:rgb(20,20,20);}"));
    }
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
    // The progress dialog keeps the user away from here during a read; a queued key press can still arrive before it
    // is up, and a second decode inside the first would pull the channels from under it.
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
    connect(handler.get(), &DataHandler::doHandleReady, this, [this, &handler] { setUpProgress(handler.get()); });
    connect(handler.get(), &DataHandler::statusFeedbackSignal, this, &MainWindow::statusShowSlot);
    connect(this, &MainWindow::readDataSignal, handler.get(), &DataHandler::readDataSlot);
    connect(handler.get(), &DataHandler::readDataFinishedSinal, this, &MainWindow::readDataFinishedSlot);

    m_myPlot->removeAllGraphsSlot();
    m_myPlot_2->removeAllGraphsSlot();
    DataHandler::clearData();
    DataHandler::initData();
    emit readDataSignal(m_filePath);
}

void MainWindow::setUpProgress(const DataHandler *handler)
{
    if (!m_progressDialog)
        m_progressDialog = std::make_unique<ReadProgressDialog>();
    QProgressDialog *dialog = m_progressDialog.get();
    dialog->setMinimumDuration(0);
    dialog->setFixedWidth(500);
    dialog->setWindowTitle(tr("Please waiting..."));
    dialog->setLabelText(tr("Decoding data..."));
    dialog->setRange(1, 50);
    dialog->setModal(true);
    dialog->setCancelButtonText(QString());
    dialog->setWindowFlags(Qt::CustomizeWindowHint | Qt::WindowMinimizeButtonHint);
    connect(handler, &DataHandler::process, dialog, [dialog](int now, int total) {
        dialog->setValue(now);
        dialog->setMaximum(total);
    });
}

void MainWindow::readDataFinishedSlot(ushort frameTotal, ushort frameError, ushort frameSelectedId)
{
    logToBoth(info, "decode data finished");
    dataRead = true;
    checkBoxSlot();

    // A log that cannot be opened, or of a few bytes only, never takes the value to the maximum. The dialog would then
    // come up over the report and block it, and has no button of its own to be closed by.
    if (m_progressDialog)
        m_progressDialog->reset();
    if (m_closed)
        return;

    QDialog report;
    report.resize(600, 400);
    auto *grid = new QGridLayout(&report);
    QFont font;
    font.setPointSize(16);
    grid->addWidget(centredLabel(tr("Decode finished:"), font, &report), 0, 0);
    addLine(grid, tr("TotalFrame:"), frameTotal, font);
    addLine(grid, tr("ErrorFrame:"), frameError, font);
    if (selectedPlaneEnabled)
        addLine(grid, tr("%1# plane's frame:").arg(selectedPlaneId), frameSelectedId, font);
    else
        addLine(grid, tr("All plane's frame:"), frameTotal - frameError, font);
    addLine(grid, QStringLiteral("0x01:"), channelGroup(0x01)->length(), font);
    addLine(grid, QStringLiteral("0x02:"), channelGroup(0x02)->length(), font);
    addLine(grid, QStringLiteral("0x03:"), channelGroup(0x03)->length(), font);
    addLine(grid, QStringLiteral("0x04:"), channelGroup(0x04)->length(), font);
    addLine(grid, QStringLiteral("0x05:"), channelGroup(0x05)->length(), font);
    addLine(grid, QStringLiteral("0x41:"), channelGroup(0x41)->length(), font);
    report.exec();
}

void MainWindow::showSlot()
{
    const auto *box = qobject_cast<QCheckBox *>(sender());
    if (!box)
        return;
    showChannel(box->property("graphName").toString(), quint8(box->property("functionCode").toUInt()),
                checkState2Bool(box->checkState()));
}

void MainWindow::showGraphSlot(QString graphName, bool flag, uchar functionCode, uchar position, uchar pen)
{
    Q_UNUSED(position)
    Q_UNUSED(pen)
    showChannel(graphName, functionCode, flag);
}

void MainWindow::showChannel(const QString &graphName, quint8 functionCode, bool flag)
{
    if (!dataRead) {
        statusShowSlot(tr("The data has not been read"));
        logToBoth(warn, "show {} ,but has not read data", graphName);
        return;
    }
    MyGraph *graph = findGraphByCode(graphName, functionCode);
    if (!graph) {
        statusShowSlot(tr("%1 Curve not found").arg(graphName));
        return;
    }
    controllerOf(graph)->myAddGraph(graph, flag);
}

MyCustomPlot *MainWindow::controllerOf(const MyGraph *graph) const
{
    return graph->position() == MyGraph::SecondCanvas ? m_myPlot_2.get() : m_myPlot.get();
}

void MainWindow::checkBoxSlot()
{
    // No blocker: a box that changes here runs showSlot, which takes its curve off the canvas where it stands. That is
    // how the boxes and the curves agree again after one canvas was cleared.
    for (QCheckBox *box : qAsConst(m_checkBoxes)) {
        const MyGraph *graph
            = findGraphByCode(box->property("graphName").toString(), quint8(box->property("functionCode").toUInt()));
        if (graph)
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

QString MainWindow::askForText(const QString &title, const QString &prompt, const QString &current, bool *ok)
{
    return QInputDialog::getText(this, title, prompt, QLineEdit::Normal, current, ok);
}

// The three edits replot the first canvas, for the second one too: there the change shows at its next replot.

void MainWindow::titleDoubleClick(QMouseEvent *event)
{
    Q_UNUSED(event)
    auto *title = qobject_cast<QCPTextElement *>(sender());
    if (!title)
        return;
    bool ok = false;
    const QString text = askForText(tr("Modify title"), QStringLiteral("New plot title:"), title->text(), &ok);
    if (ok) {
        title->setText(text);
        m_ui->customPlot->replot();
    }
}

void MainWindow::legendDoubleClick(QCPLegend *legend, QCPAbstractLegendItem *item)
{
    Q_UNUSED(legend)
    auto *plottableItem = qobject_cast<QCPPlottableLegendItem *>(item);
    if (!plottableItem)
        return;
    QCPAbstractPlottable *plottable = plottableItem->plottable();
    bool ok = false;
    const QString name = askForText(tr("Modify label"), QStringLiteral("New graph name:"), plottable->name(), &ok);
    if (ok) {
        plottable->setName(name);
        m_ui->customPlot->replot();
    }
}

void MainWindow::axisLabelDoubleClick(QCPAxis *axis, QCPAxis::SelectablePart part)
{
    if (part != QCPAxis::spAxisLabel)
        return;
    bool ok = false;
    const QString label = askForText(tr("Modify name of axis"), QStringLiteral("New axis label:"), axis->label(), &ok);
    if (ok) {
        axis->setLabel(label);
        m_ui->customPlot->replot();
    }
}

void MainWindow::contextMenuRequest(QPoint pos)
{
    popUpMenu(m_myPlot.get(),
              {{QT_TR_NOOP("Focus Y"), ":/local.svg", &MyCustomPlot::rescaleYSlot},
               {QT_TR_NOOP("Focus"), ":/aiming.svg", &MyCustomPlot::rescaleGraphSlot},
               {QT_TR_NOOP("Delete error data"), ":/setting-config.svg", &MyCustomPlot::deleteErrorDataSlot},
               {QT_TR_NOOP("Delete error point"), ":/delete-two.svg", &MyCustomPlot::removeSelectedPointSlot},
               {QT_TR_NOOP("Delete selected curve"), ":/delete.svg", &MyCustomPlot::removeSelectedGraphSlot},
               {QT_TR_NOOP("Setting"), ":/tool.svg", nullptr},
               {QT_TR_NOOP("Add one point"), ":/add-four.svg", &MyCustomPlot::addOnePointSlot},
               {QT_TR_NOOP("Add ten points"), ":/add-three.svg", &MyCustomPlot::addPointsSlot},
               {QT_TR_NOOP("Swap position"), ":/swap.svg", &MyCustomPlot::onSwapPosSlot}},
              pos);
}

void MainWindow::contextMenuRequest_2(QPoint pos)
{
    popUpMenu(m_myPlot_2.get(),
              {{QT_TR_NOOP("Focus Y"), ":/local.svg", &MyCustomPlot::rescaleYSlot},
               {QT_TR_NOOP("Focus"), ":/aiming.svg", &MyCustomPlot::rescaleGraphSlot},
               {QT_TR_NOOP("Delete error point"), ":/delete-two.svg", &MyCustomPlot::removeSelectedPointSlot},
               {QT_TR_NOOP("Delete selected curve"), ":/delete.svg", &MyCustomPlot::removeSelectedGraphSlot},
               {QT_TR_NOOP("Setting"), ":/tool.svg", nullptr},
               {QT_TR_NOOP("Delete error data"), ":/setting-config.svg", &MyCustomPlot::deleteErrorDataSlot},
               {QT_TR_NOOP("Swap position"), ":/swap.svg", &MyCustomPlot::onSwapPosSlot}},
              pos);
}

void MainWindow::popUpMenu(MyCustomPlot *controller, std::initializer_list<PlotAction> curveActions, QPoint pos)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const PlotAction &action) {
        const QIcon icon(QString::fromLatin1(action.icon));
        if (action.slot)
            menu->addAction(icon, tr(action.text), controller, action.slot);
        else
            menu->addAction(icon, tr(action.text), this, &MainWindow::settingSlot);
    };
    QCustomPlot *canvas = controller->plot();
    if (!canvas->selectedGraphs().isEmpty()) {
        for (const PlotAction &action : curveActions)
            add(action);
    } else if (!canvas->selectedAxes().isEmpty()) {
        menu->addAction(QIcon(QStringLiteral(":/tool.svg")), tr("Modify font size"), this, &MainWindow::settingSlot_2);
    } else if (canvas->graphCount() > 0) {
        add({QT_TR_NOOP("Adaptive scaling axis Y"), ":/local.svg", &MyCustomPlot::rescaleAllYSlot});
        add({QT_TR_NOOP("Adaptive scaling"), ":/aiming.svg", &MyCustomPlot::rescaleAllGraphSlot});
        add({QT_TR_NOOP("Remove all curves"), ":/clear.svg", &MyCustomPlot::removeAllGraphsSlot});
    }
    menu->popup(canvas->mapToGlobal(pos));
}

void MainWindow::settingSlot()
{
    SettingDialog dialog(this);
    connect(&dialog, &SettingDialog::resetGraphSignal, m_myPlot.get(), &MyCustomPlot::resetGraphSlot);
    connect(&dialog, &SettingDialog::resetGraphSignal, m_myPlot_2.get(), &MyCustomPlot::resetGraphSlot);
    dialog.exec();
}

void MainWindow::settingSlot_2()
{
    SettingDialog_2 dialog(this);
    connect(&dialog, &SettingDialog_2::resetAxisSizeSignal, m_myPlot.get(), &MyCustomPlot::resetAxisSizeSlot);
    connect(&dialog, &SettingDialog_2::resetAxisSizeSignal, m_myPlot_2.get(), &MyCustomPlot::resetAxisSizeSlot);
    dialog.exec();
}

void MainWindow::moveLegend()
{
    const auto *action = qobject_cast<QAction *>(sender());
    if (!action)
        return;
    bool isInt = false;
    const int alignment = action->data().toInt(&isInt);
    // The legend stands below the axes, so that the inset layout may hold nothing.
    QCPLayoutInset *inset = m_ui->customPlot->axisRect()->insetLayout();
    if (!isInt || inset->elementCount() == 0)
        return;
    inset->setInsetAlignment(0, Qt::Alignment(alignment));
    m_ui->customPlot->replot();
}

void MainWindow::graphClicked(QCPAbstractPlottable *plottable, int dataIndex)
{
    const QString text = MyCustomPlot::clickedText(plottable, dataIndex);
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
    WindowSettingDialog dialog(this);
    dialog.exec();
}

void MainWindow::writeExcelSlot()
{
    startExport(QStringLiteral("%1/%2.xlsx"), true, tr("Excel export finished!"));
}

void MainWindow::writeTxtSlot()
{
    startExport(QStringLiteral("%1/%2-export.txt"), false, tr("Txt export finished!"));
}

void MainWindow::startExport(const QString &pathPattern, bool excel, const QString &finishedText)
{
    if (!dataRead) {
        QMessageBox::information(this, QStringLiteral("info"), tr("The data has not been read"), QMessageBox::Ok);
        return;
    }
    if (m_exportThread)
        return;
    m_exportThread = new ExportOperator; // no parent: deleted when its end is confirmed, or with the window
    m_exportThread->setExcel(excel);
    m_exportThread->setGroups(exportGroups());
    connect(m_exportThread, &ExportOperator::writeExcelFinished, this, [this, finishedText] {
        QMessageBox::information(this, QStringLiteral("info"), finishedText, QMessageBox::Ok);
        m_exportThread->terminate();
        delete m_exportThread; // waits for the thread
        m_exportThread = nullptr;
    });
    const QFileInfo source(m_filePath);
    m_exportThread->setFilePath(pathPattern.arg(source.absolutePath(), source.baseName()));
    m_exportThread->start(QThread::InheritPriority);
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
    // Stays a child of the window, hidden, until the window goes.
    (new MapWidget(this))->exec();
}

void MainWindow::on_actionAboutTriggered()
{
    logToBoth(info, "about page");
    AboutDialog(this).exec();
}

void MainWindow::startUpdate()
{
    if (!m_updaterProcess)
        m_updaterProcess = new QProcess; // no parent: it has to outlive the window, see the destructor
    m_updaterProcess->start(QStringLiteral("updater.exe"),
                            {QCoreApplication::applicationName(), QString::fromLatin1(kVersion),
                             buildDateText(buildDateTime()), QString::number(kBuildCounter)},
                            QIODevice::ReadWrite);
    if (!m_updaterProcess->waitForStarted(kUpdaterStartMilliseconds))
        logToBoth(error, "updater.exe does not start: {}", m_updaterProcess->errorString());
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
    // A read that is under way goes on to its end and then finds nobody to report to. The dialogs without a parent,
    // its progress dialog among them, must not keep the process alive.
    m_closed = true;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window != this)
            window->setAttribute(Qt::WA_QuitOnClose, false);
    }
}
