#include "ChannelStore.h"
#include "CommonModule.h"
#include "DecodeRoutes.h"
#include "ExportOperator.h"
#include "LogFile.h"
#include "MapWidget.h"
#include "ModalAnswer.h"
#include "OrdinaryUser.h"
#include "QXlsx.h"
#include "WindowFixture.h"

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>
#include <QtTest>
#include <algorithm>

namespace
{

constexpr char kFileMenu[] = "menuFile";
constexpr char kWriteExcel[] = "写Excel";
constexpr char kWriteTxt[] = "写Txt";

/** Title, text and buttons of a message box. */
struct BoxContent {
    QString title;
    QString text;
    int buttons = 0;
};

ModalAnswer::Answer listen(BoxContent &content)
{
    return [&content](QDialog *dialog) {
        auto *const box = qobject_cast<QMessageBox *>(dialog);
        if (box == nullptr)
            return;
        content = {box->windowTitle(), box->text(), static_cast<int>(box->standardButtons())};
        box->accept();
    };
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

} // namespace

class TestMainWindowExport : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<WindowFixture>();
        m_answer = std::make_unique<ModalAnswer>();
    }
    void cleanup()
    {
        m_answer.reset();
        m_fixture.reset();
    }

    void exportBeforeAReadShowsABoxAndStartsNothing_data();
    void exportBeforeAReadShowsABoxAndStartsNothing();
    void workbookIsBesideTheLogWithItsNameUpToTheFirstDot();
    void textFilesAreInAFolderBesideTheLog();
    void secondExportOfAnyFormatIsIgnoredWhileOneRuns_data();
    void secondExportOfAnyFormatIsIgnoredWhileOneRuns();
    void chineseAndBlanksInTheNameAreKept();
    void nextExportStartsAfterTheBoxIsClosed();
    void noExportStartsWhileTheBoxIsOpen_data();
    void noExportStartsWhileTheBoxIsOpen();
    void missingReadIsReportedEvenWhileAnExportRuns_data();
    void missingReadIsReportedEvenWhileAnExportRuns();
    void rowsAfterTheLastOfASheetAreLoggedAndAreInTheTextFile();
    void finishedBoxIsShownEvenIfTheFolderIsMissing();
    void finishedBoxIsShownEvenIfTheFolderIsReadOnly_data();
    void finishedBoxIsShownEvenIfTheFolderIsReadOnly();
    void exportAfterACancelledFileDialogUsesAnEmptyName_data();
    void exportAfterACancelledFileDialogUsesAnEmptyName();
    void exportUsesTheSamplesOfItsStart();
    void closingTheWindowDuringAnExportLeavesNoUnfinishedWorkbook();
    void routeConverterIsCreatedOnceAndReused();
    void aboutPageIsShownAndLogged();
    void plotDialogsHaveNoParentAndBlockTheProgram_data();
    void plotDialogsHaveNoParentAndBlockTheProgram();
    void plotDialogsOfferTheLastData_data();
    void plotDialogsOfferTheLastData();
    void calculatorsAreNotModalAndDoNotKeepTheProgramRunning();
    void everyCallOfTheMapAddsAHiddenChild();
    void toolBarOpensTheTool_data();
    void toolBarOpensTheTool();

private:
    MainWindow &window() { return m_fixture->window(); }
    void select(const QString &path);
    void fill(int samples);

    std::unique_ptr<WindowFixture> m_fixture;
    std::unique_ptr<ModalAnswer> m_answer;
};

/** Drops a file on the window, which makes it the current log. */
void TestMainWindowExport::select(const QString &path)
{
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(path)});
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject &>(window()).event(&drop); // bypasses the drag manager, which has no drag
    QCOMPARE(window().filePath(), path);
}

/** Sets the samples of the attitude channels to 1000 * row + sample index. */
void TestMainWindowExport::fill(int samples)
{
    for (int row = 0; row < 18; ++row) {
        QVector<double> &series = attitudeGraphs[row]->yvalue();
        series.clear();
        for (int i = 0; i < samples; ++i)
            series.append(1000.0 * row + i);
    }
    dataRead = true;
}

void TestMainWindowExport::exportBeforeAReadShowsABoxAndStartsNothing_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::newRow("workbook") << QByteArray(kWriteExcel);
    QTest::newRow("text") << QByteArray(kWriteTxt);
}

void TestMainWindowExport::exportBeforeAReadShowsABoxAndStartsNothing()
{
    QFETCH(QByteArray, entry);
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, entry.constData())->trigger();
    QVERIFY(m_answer->allAnswered());
    QCOMPARE(content.title, QStringLiteral("info"));
    QCOMPARE(content.text, QStringLiteral("还未读取数据"));
    QCOMPARE(content.buttons, int(QMessageBox::Ok));
    QVERIFY(window().exportThread() == nullptr);
}

void TestMainWindowExport::workbookIsBesideTheLogWithItsNameUpToTheFirstDot()
{
    fill(3);
    select(m_fixture->path(QStringLiteral("flight.2023.log")));
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteExcel)->trigger();
    QVERIFY(window().exportThread() != nullptr);
    QTRY_VERIFY(window().exportThread() == nullptr);
    QCOMPARE(content.title, QStringLiteral("info"));
    QCOMPARE(content.text, QStringLiteral("Excel导出完成！"));
    QCOMPARE(content.buttons, int(QMessageBox::Ok));

    QXlsx::Document workbook(m_fixture->path(QStringLiteral("flight.xlsx")));
    QCOMPARE(
        workbook.sheetNames(),
        QStringList({"0x01-HeartBeat", "0x02-ControlSystemStatus", "0x03-AttitudeAndPositionInfo", "0x04-SensorValue",
                     "0x05-FlightTargetValue", "0x41-PayloadInfo", "0x51-Difference", "0x53-EquipmentStatus"}));
    workbook.selectSheet(QStringLiteral("0x03-AttitudeAndPositionInfo"));
    QCOMPARE(workbook.read(1, 2).toString(), QStringLiteral("俯仰"));
    QCOMPARE(workbook.read(4, 2).toDouble(), 1002.0);
}

void TestMainWindowExport::textFilesAreInAFolderBesideTheLog()
{
    fill(2);
    select(m_fixture->path(QStringLiteral("flight.2023.log")));
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteTxt)->trigger();
    QTRY_VERIFY(window().exportThread() == nullptr);
    QCOMPARE(content.text, QStringLiteral("Txt导出完成！"));
    const QString folder = m_fixture->path(QStringLiteral("flight-export"));
    QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 9);
    const QByteArray text = contentOf(folder + QStringLiteral("/0x03-AttitudeAndPositionInfo.txt"));
    QVERIFY(text.startsWith(QStringLiteral("横滚\t俯仰\t").toLocal8Bit()));
    QVERIFY(text.contains("\n1\t1001\t2001\t"));
}

void TestMainWindowExport::secondExportOfAnyFormatIsIgnoredWhileOneRuns_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QString>("finished");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("workbook") << QByteArray(kWriteExcel) << "Excel导出完成！" << QStringList{"flight.xlsx"};
    QTest::newRow("text") << QByteArray(kWriteTxt) << "Txt导出完成！" << QStringList{"flight-export"};
}

void TestMainWindowExport::secondExportOfAnyFormatIsIgnoredWhileOneRuns()
{
    QFETCH(QByteArray, entry);
    QFETCH(QString, finished);
    QFETCH(QStringList, left);
    fill(20000);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, entry.constData())->trigger();
    const ExportOperator *const first = window().exportThread();
    for (const char *const other : {kWriteTxt, kWriteExcel}) {
        m_fixture->entry(kFileMenu, other)->trigger();
        QCOMPARE(window().exportThread(), first);
    }
    QTRY_VERIFY_WITH_TIMEOUT(window().exportThread() == nullptr, 60000);
    QVERIFY(m_answer->allAnswered());
    QCOMPARE(content.text, finished);
    QCOMPARE(QDir(m_fixture->path(QString())).entryList({QStringLiteral("flight*")}), left);
}

void TestMainWindowExport::chineseAndBlanksInTheNameAreKept()
{
    fill(2);
    QVERIFY(QDir().mkdir(m_fixture->path(QStringLiteral("飞 行"))));
    select(m_fixture->path(QStringLiteral("飞 行/第 一 次.2023.txt")));
    BoxContent content;
    for (const char *const entry : {kWriteExcel, kWriteTxt}) {
        m_answer->next(listen(content));
        m_fixture->entry(kFileMenu, entry)->trigger();
        QTRY_VERIFY(window().exportThread() == nullptr);
    }
    QCOMPARE(QDir(m_fixture->path(QStringLiteral("飞 行"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{"第 一 次-export", "第 一 次.xlsx"}));
    QCOMPARE(QXlsx::Document(m_fixture->path(QStringLiteral("飞 行/第 一 次.xlsx"))).sheetNames().size(), 8);
    QCOMPARE(QDir(m_fixture->path(QStringLiteral("飞 行/第 一 次-export"))).entryList(QDir::Files).size(), 9);
}

void TestMainWindowExport::nextExportStartsAfterTheBoxIsClosed()
{
    fill(1);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    BoxContent content;
    for (const char *const entry : {kWriteTxt, kWriteExcel, kWriteTxt}) {
        m_answer->next(listen(content));
        m_fixture->entry(kFileMenu, entry)->trigger();
        QVERIFY(window().exportThread() != nullptr);
        QTRY_VERIFY(window().exportThread() == nullptr);
    }
    QVERIFY(m_answer->allAnswered());
}

void TestMainWindowExport::noExportStartsWhileTheBoxIsOpen_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QString>("finished");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("workbook") << QByteArray(kWriteExcel) << "Excel导出完成！" << QStringList{"flight.xlsx"};
    QTest::newRow("text") << QByteArray(kWriteTxt) << "Txt导出完成！" << QStringList{"flight-export"};
}

void TestMainWindowExport::noExportStartsWhileTheBoxIsOpen()
{
    QFETCH(QByteArray, entry);
    QFETCH(QString, finished);
    QFETCH(QStringList, left);
    fill(2);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    QList<const ExportOperator *> meanwhile;
    BoxContent content;
    m_answer->next([&](QDialog *dialog) {
        for (const char *const other : {kWriteExcel, kWriteTxt}) {
            m_fixture->entry(kFileMenu, other)->trigger();
            meanwhile.append(window().exportThread());
        }
        listen(content)(dialog);
    });
    m_fixture->entry(kFileMenu, entry.constData())->trigger();
    const ExportOperator *const first = window().exportThread();
    QVERIFY(first != nullptr);
    QTRY_VERIFY(window().exportThread() == nullptr);
    QCOMPARE(content.text, finished);
    QCOMPARE(meanwhile, (QList<const ExportOperator *>{first, first}));
    QVERIFY2(m_answer->allAnswered(), qPrintable(m_answer->unexpected().join(", ")));
    QCOMPARE(QDir(m_fixture->path(QString())).entryList({QStringLiteral("flight*")}), left);
}

void TestMainWindowExport::missingReadIsReportedEvenWhileAnExportRuns_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::newRow("workbook") << QByteArray(kWriteExcel);
    QTest::newRow("text") << QByteArray(kWriteTxt);
}

void TestMainWindowExport::missingReadIsReportedEvenWhileAnExportRuns()
{
    QFETCH(QByteArray, entry);
    fill(20000);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    m_fixture->entry(kFileMenu, kWriteExcel)->trigger();
    QVERIFY(window().exportThread() != nullptr);
    dataRead = false;
    QStringList texts;
    for (int i = 0; i < 2; ++i) {
        m_answer->next([&](QDialog *dialog) {
            BoxContent content;
            listen(content)(dialog);
            texts.append(content.text);
        });
    }
    m_fixture->entry(kFileMenu, entry.constData())->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(window().exportThread() == nullptr, 60000);
    QVERIFY(m_answer->allAnswered());
    QCOMPARE(texts, (QStringList{"还未读取数据", "Excel导出完成！"}));
    QXlsx::Document workbook(m_fixture->path(QStringLiteral("flight.xlsx")));
    workbook.selectSheet(QStringLiteral("0x03-AttitudeAndPositionInfo"));
    QCOMPARE(workbook.read(20001, 1).toDouble(), 19999.0);
}

void TestMainWindowExport::rowsAfterTheLastOfASheetAreLoggedAndAreInTheTextFile()
{
    constexpr int kRows = 1048576; // of a sheet, one of them for the labels
    QVector<double> samples(kRows + 4, 1.0);
    samples[kRows - 2] = 2.0; // in the last row
    for (int row = 0; row < 5; ++row)
        heartBeatGraphs[row]->setYvalue(samples);
    dataRead = true;
    select(m_fixture->path(QStringLiteral("flight.txt")));
    const LogFile log;
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteExcel)->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(window().exportThread() == nullptr, 120000);
    QCOMPARE(content.text, QStringLiteral("Excel导出完成！"));
    QCOMPARE(log.lines().size(), 1);
    QVERIFY2(log.messages().constFirst().contains(QStringLiteral("5 rows of sheet 0x01-HeartBeat")),
             qPrintable(log.messages().constFirst()));
    {
        QXlsx::Document document(m_fixture->path(QStringLiteral("flight.xlsx")));
        QVERIFY(document.selectSheet(QStringLiteral("0x01-HeartBeat")));
        QCOMPARE(document.read(kRows, 5), QVariant(2.0));
        QCOMPARE(document.read(kRows - 1, 5), QVariant(1.0));
    }
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteTxt)->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(window().exportThread() == nullptr, 120000);
    QCOMPARE(content.text, QStringLiteral("Txt导出完成！"));
    // Each row begins with a line feed.
    const QByteArray text = contentOf(m_fixture->path(QStringLiteral("flight-export/0x01-HeartBeat.txt")));
    QCOMPARE(text.count('\n'), kRows + 4);
    QVERIFY(text.endsWith("\n2\t2\t2\t2\t2\t" + QByteArray("\n1\t1\t1\t1\t1\t").repeated(5)));
}

void TestMainWindowExport::finishedBoxIsShownEvenIfTheFolderIsMissing()
{
    fill(1);
    select(m_fixture->path(QStringLiteral("no such folder/flight.txt")));
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteTxt)->trigger();
    QTRY_VERIFY(window().exportThread() == nullptr);
    QCOMPARE(content.text, QStringLiteral("Txt导出完成！"));
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteExcel)->trigger();
    QTRY_VERIFY(window().exportThread() == nullptr);
    QCOMPARE(content.text, QStringLiteral("Excel导出完成！"));
}

void TestMainWindowExport::finishedBoxIsShownEvenIfTheFolderIsReadOnly_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("logged");
    QTest::newRow("workbook") << QByteArray(kWriteExcel) << QStringLiteral("Excel导出完成！") << QString();
    QTest::newRow("text") << QByteArray(kWriteTxt) << QStringLiteral("Txt导出完成！") << QStringLiteral("mkdir failed");
}

void TestMainWindowExport::finishedBoxIsShownEvenIfTheFolderIsReadOnly()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    QFETCH(QByteArray, entry);
    QFETCH(QString, text);
    QFETCH(QString, logged);
    fill(3);
    const QString folder = m_fixture->path(QStringLiteral("dvd"));
    QVERIFY(QDir().mkdir(folder));
    select(folder + QStringLiteral("/flight.txt"));
    QVERIFY(letOthersRead(m_fixture->fixture().dir()));
    QVERIFY(letOthersRead(folder));
    const LogFile log;
    const int code = asOrdinaryUser([&] {
        BoxContent content;
        m_answer->next(listen(content));
        m_fixture->entry(kFileMenu, entry.constData())->trigger();
        if (!QTest::qWaitFor([&] { return window().exportThread() == nullptr; }, 50000))
            return 1;
        if (!logged.isEmpty() && !log.messages().contains(logged))
            return 2;
        return content.text == text ? 0 : 3;
    });
    QCOMPARE(code, 0);
    QVERIFY(QDir(folder).isEmpty());
}

void TestMainWindowExport::exportAfterACancelledFileDialogUsesAnEmptyName_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("text");
    QTest::newRow("workbook") << QByteArray(kWriteExcel) << QStringLiteral("/.xlsx")
                              << QStringLiteral("Excel导出完成！");
    QTest::newRow("text") << QByteArray(kWriteTxt) << QStringLiteral("/-export.txt") << QStringLiteral("Txt导出完成！");
}

void TestMainWindowExport::exportAfterACancelledFileDialogUsesAnEmptyName()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    QFETCH(QByteArray, entry);
    QFETCH(QString, path);
    QFETCH(QString, text);
    fill(3);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    m_answer->next([](QDialog *dialog) { dialog->reject(); });
    m_fixture->entry(kFileMenu, "选择文件(O)")->trigger();
    QVERIFY(m_answer->allAnswered());
    QVERIFY(window().filePath().isEmpty());
    // Runs as a user without write permission for the root folder, because the path is in the root folder.
    const int code = asOrdinaryUser([&] {
        BoxContent content;
        m_answer->next(listen(content));
        m_fixture->entry(kFileMenu, entry.constData())->trigger();
        if (window().exportThread()->filePath() != path)
            return 1;
        if (!QTest::qWaitFor([&] { return window().exportThread() == nullptr; }, 50000))
            return 2;
        return content.text == text ? 0 : 3;
    });
    QCOMPARE(code, 0);
}

void TestMainWindowExport::exportUsesTheSamplesOfItsStart()
{
    fill(20000);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    BoxContent content;
    m_answer->next(listen(content));
    m_fixture->entry(kFileMenu, kWriteExcel)->trigger();
    // A new read does the same to the store.
    clearData();
    initData();
    fill(5);
    QTRY_VERIFY_WITH_TIMEOUT(window().exportThread() == nullptr, 60000);
    QXlsx::Document workbook(m_fixture->path(QStringLiteral("flight.xlsx")));
    workbook.selectSheet(QStringLiteral("0x03-AttitudeAndPositionInfo"));
    QCOMPARE(workbook.read(20001, 1).toDouble(), 19999.0);
}

void TestMainWindowExport::closingTheWindowDuringAnExportLeavesNoUnfinishedWorkbook()
{
    fill(100000);
    const QString old = m_fixture->path(QStringLiteral("flight.xlsx"));
    {
        QXlsx::Document workbook;
        workbook.addSheet(QStringLiteral("old"));
        workbook.write(1, 1, QStringLiteral("kept"));
        QVERIFY(workbook.saveAs(old));
    }
    const QByteArray before = contentOf(old);
    select(m_fixture->path(QStringLiteral("flight.txt")));
    m_fixture->entry(kFileMenu, kWriteExcel)->trigger();
    m_fixture->closeWindow();
    QCOMPARE(contentOf(old), before);
    QCOMPARE(QDir(QFileInfo(old).path()).entryList({QStringLiteral("flight*")}, QDir::Files | QDir::Hidden),
             QStringList(QStringLiteral("flight.xlsx")));
}

void TestMainWindowExport::routeConverterIsCreatedOnceAndReused()
{
    QVERIFY(window().decodeRoutes() == nullptr);
    QDialog *first = nullptr;
    QDialog *second = nullptr;
    m_answer->next([&first](QDialog *dialog) { first = dialog; });
    m_answer->next([&second](QDialog *dialog) { second = dialog; });
    QAction *const entry = m_fixture->entry("menuOther", "航线解析(R)");
    entry->trigger();
    entry->trigger();
    QVERIFY(m_answer->allAnswered());
    QVERIFY(first != nullptr);
    QCOMPARE(first, second);
    QCOMPARE(first, static_cast<QDialog *>(window().decodeRoutes()));
    QCOMPARE(first->parentWidget(), static_cast<QWidget *>(&window()));
}

void TestMainWindowExport::aboutPageIsShownAndLogged()
{
    const LogFile log;
    QString title;
    const QWidget *parent = nullptr;
    m_answer->next([&](QDialog *dialog) {
        title = dialog->windowTitle();
        parent = dialog->parentWidget();
    });
    m_fixture->entry("menuHelp", "关于(A)")->trigger();
    QCOMPARE(title, QStringLiteral("About Ostravel"));
    QCOMPARE(parent, static_cast<const QWidget *>(&window()));
    QVERIFY(log.messages().contains(QStringLiteral("about page")));
}

void TestMainWindowExport::plotDialogsHaveNoParentAndBlockTheProgram_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QByteArray>("className");
    QTest::newRow("MATLAB") << QByteArray("matlib(M)") << QByteArray("MPlotDialog");
    QTest::newRow("Python") << QByteArray("python(P)") << QByteArray("PyPlotDialog");
}

void TestMainWindowExport::plotDialogsHaveNoParentAndBlockTheProgram()
{
    QFETCH(QByteArray, entry);
    QFETCH(QByteArray, className);
    QByteArray shown;
    bool alone = false;
    Qt::WindowModality modality = Qt::NonModal;
    m_answer->next([&](QDialog *dialog) {
        shown = dialog->metaObject()->className();
        alone = dialog->parentWidget() == nullptr;
        modality = dialog->windowModality();
    });
    m_fixture->entry("menuTrace", entry.constData())->trigger();
    QCOMPARE(shown, className);
    QVERIFY(alone);
    QCOMPARE(modality, Qt::ApplicationModal);
}

void TestMainWindowExport::plotDialogsOfferTheLastData_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<bool>("read");
    QTest::addColumn<QStringList>("warnings");
    const QStringList warnings{"warning: data has not been read,use last data"};
    QTest::newRow("MATLAB, not read") << QByteArray("matlib(M)") << false << warnings;
    QTest::newRow("MATLAB, read") << QByteArray("matlib(M)") << true << QStringList();
    QTest::newRow("Python, not read") << QByteArray("python(P)") << false << warnings;
    QTest::newRow("Python, read") << QByteArray("python(P)") << true << QStringList();
}

void TestMainWindowExport::plotDialogsOfferTheLastData()
{
    QFETCH(QByteArray, entry);
    QFETCH(bool, read);
    QFETCH(QStringList, warnings);
    dataRead = read;
    const LogFile log;
    QStringList before; // log entries when the dialog opens
    QString text;
    m_answer->next([&](QDialog *dialog) {
        before = log.leveledMessages().filter("warning: ");
        // The worker that loads MATLAB's library may have reported already that there is none.
        before.erase(std::remove_if(before.begin(), before.end(),
                                    [](const QString &line) { return line.startsWith("warning: matlab library "); }),
                     before.end());
        text = dialog->findChild<QLabel *>("label")->text();
    });
    m_fixture->entry("menuTrace", entry.constData())->trigger();
    QVERIFY(m_answer->allAnswered());
    QCOMPARE(before, warnings);
    // Without the fake MATLAB library its dialog shows an error text instead.
    if (entry.startsWith("python"))
        QCOMPARE(text, read ? QStringLiteral(" ") : QStringLiteral("使用上次数据"));
}

void TestMainWindowExport::calculatorsAreNotModalAndDoNotKeepTheProgramRunning()
{
    QVERIFY(window().commonModule() == nullptr);
    QAction *const entry = m_fixture->entry("menuOther", "共用模块(M)");
    entry->trigger();
    CommonModule *const calculators = window().commonModule();
    QVERIFY(calculators != nullptr);
    QVERIFY(calculators->isVisible());
    QVERIFY(!calculators->isModal());
    QVERIFY(calculators->parentWidget() == nullptr);
    QVERIFY(!calculators->testAttribute(Qt::WA_QuitOnClose));
    calculators->close();
    entry->trigger();
    QCOMPARE(window().commonModule(), calculators);
    QVERIFY(calculators->isVisible());
}

void TestMainWindowExport::everyCallOfTheMapAddsAHiddenChild()
{
    const auto *bar = window().findChild<QWidget *>(QStringLiteral("toolBar"));
    const QList<QAction *> actions = bar->actions();
    const auto map = std::find_if(actions.begin(), actions.end(),
                                  [](const QAction *action) { return action->text() == QLatin1String("Map"); });
    QVERIFY(map != actions.end());
    QVERIFY(window().findChildren<MapWidget *>().isEmpty());
    for (int calls = 1; calls <= 3; ++calls) {
        bool modal = false;
        m_answer->next([&](QDialog *dialog) { modal = qobject_cast<MapWidget *>(dialog) && dialog->isModal(); });
        (*map)->trigger();
        QVERIFY(modal);
        const QList<MapWidget *> left = window().findChildren<MapWidget *>(QString(), Qt::FindDirectChildrenOnly);
        QCOMPARE(left.size(), calls);
        for (const MapWidget *dialog : left)
            QVERIFY(!dialog->isVisible());
    }
    const QPointer<MapWidget> last = window().findChild<MapWidget *>();
    m_fixture->closeWindow();
    QVERIFY(!last);
}

void TestMainWindowExport::toolBarOpensTheTool_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("className");
    QTest::newRow("MPlot") << "MPlot" << QByteArray("MPlotDialog");
    QTest::newRow("PyPlot") << "PyPlot" << QByteArray("PyPlotDialog");
    QTest::newRow("Route2Excel") << "Route2Excel" << QByteArray("DecodeRoutes");
    QTest::newRow("MathLib") << "MathLib" << QByteArray("CommonModule");
}

void TestMainWindowExport::toolBarOpensTheTool()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, className);
    // Modal dialogs are answered during trigger(); the calculators are not modal and stay open.
    QByteArray shown;
    m_answer->next([&](QDialog *dialog) { shown = dialog->metaObject()->className(); });
    const QList<QAction *> actions = window().findChild<QWidget *>(QStringLiteral("toolBar"))->actions();
    const auto found
        = std::find_if(actions.begin(), actions.end(), [&](const QAction *action) { return action->text() == text; });
    QVERIFY(found != actions.end());
    (*found)->trigger();
    if (window().commonModule() != nullptr && window().commonModule()->isVisible())
        shown = window().commonModule()->metaObject()->className();
    QCOMPARE(shown, className);
}

QTEST_MAIN(TestMainWindowExport)
#include "TestMainWindowExport.moc"
