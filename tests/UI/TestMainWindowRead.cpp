#include "FrameText.h"
#include "LogFile.h"
#include "ModalAnswer.h"
#include "WindowFixture.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QUrl>

#include <algorithm>
#include <functional>
#include <memory>

namespace
{

/** The rows of the report, joined by "|": the title, then "name value". */
QString rows(const QDialog *report)
{
    const auto *grid = qobject_cast<QGridLayout *>(report->layout());
    if (!grid)
        return QStringLiteral("no grid");
    const auto text = [](const QLayoutItem *item) {
        const auto *label = qobject_cast<QLabel *>(const_cast<QLayoutItem *>(item)->widget());
        return label ? label->text() : QStringLiteral("no label");
    };
    QStringList result;
    for (int row = 0; row < grid->rowCount(); ++row) {
        QLayoutItem *item = grid->itemAtPosition(row, 0);
        if (!item)
            result.append(QStringLiteral("nothing"));
        else if (const auto *line = qobject_cast<QHBoxLayout *>(item->layout()))
            result.append(line->count() == 2 ? text(line->itemAt(0)) + QLatin1Char(' ') + text(line->itemAt(1))
                                             : QStringLiteral("%1 items").arg(line->count()));
        else
            result.append(text(item));
    }
    return result.join(QLatin1Char('|'));
}

const char kReportOfNothing[] = "解析完成:|总帧数: 0|错误帧： 0|所有飞机的帧数： 0|"
                                "0x01: 0|0x02: 0|0x03: 0|0x04: 0|0x05: 0|0x41: 0";

class Mime : public QMimeData
{
public:
    explicit Mime(const QList<QUrl> &urls) { setUrls(urls); }
};

} // namespace

class TestMainWindowRead : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<WindowFixture>(); }
    void cleanup()
    {
        m_poll.stop();
        m_fixture.reset();
    }

    void fileDialogAsksForLogsInTheWorkingDirectory();
    void chosenFileIsStoredAndShownWithoutTimeLimit();
    void cancelledFileDialogEmptiesThePath();
    void cancellingAfterAReadKeepsTheDataAndPreventsTheNextRead();
    void dragIsAcceptedOnlyWithUrls();
    void droppedFileIsStoredAndShown();
    void dropUsesOnlyTheFirstUrl();
    void dropWithoutUrlsIsIgnored();
    void dropOfAnEmptyListOfUrlsIsIgnored();
    void dropOfARemoteUrlIsIgnored();
    void selectingAFileStartsNoRead();
    void readWithoutAFileShowsABox();
    void readHasTheExpectedSteps();
    void storeIsEmptyAndClosedWhenTheReadStarts();
    void reportShowsTheCountsOfAllPlanes();
    void reportShowsTheCountOfTheSelectedPlane();
    void reportIsASeparateDialogWithLargeCentredLabels();
    void handlerExistsUntilTheReportIsClosed();
    void boxesAreUpdatedAtTheEndOfARead();
    void storeIsOpenAndBoxesAreUpdatedWhileTheReportIsShown();
    void progressDialogIsModalAndCannotBeCancelled();
    void progressDialogReachesTheFileSizeAndCloses();
    void progressStartsInTheInitialRange();
    void progressDialogIsCreatedOnceAndReused();
    void readingAgainClearsTheBoxesWithTheNotReadMessage();
    void fileOfAnotherSuffixIsReportedAsEmpty_data();
    void fileOfAnotherSuffixIsReportedAsEmpty();
    void deletedLogIsReportedTwice();
    void unreadableLogDoesNotBlockItsReport();
    void smallLogLeavesNoProgressDialogOpen_data();
    void smallLogLeavesNoProgressDialogOpen();
    void secondReadDuringAReadIsIgnored();
    void moreErrorsThanTheWrappedTotalAreReportedUnchanged();
    void countersOfALongLogWrapAndItsSamplesDoNot();
    void closingDuringAReadAnsweredNoContinuesTheRead();
    void closingDuringAReadAnsweredYesReadsToTheEndThenQuits();

private:
    MainWindow &window() { return m_fixture->window(); }
    void trigger(const char *text) { m_fixture->entry("menuFile", text)->trigger(); }
    void drop(const QString &path) { drop(QList<QUrl>{QUrl::fromLocalFile(path)}); }
    bool drop(const QList<QUrl> &urls)
    {
        const Mime mime(urls);
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject &>(window()).event(&event); // bypasses the drag manager, which has no drag
        return event.isAccepted();
    }
    /** Writes a log with a valid clock. Each sample has the four frames of the common time axis. */
    QString log(int samples)
    {
        QStringList lines;
        for (int i = 0; i < samples; ++i)
            lines += oneCycle();
        lines.replaceInStrings(FrameText(0x02).text(), FrameText(0x02).set("FSS_Month", 7).set("FSS_Date", 5).text());
        const QString path = m_fixture->path(QStringLiteral("flight.txt"));
        writeLines(path, lines);
        return path;
    }
    /** Reads the dropped file. Returns the rows of each report. */
    QStringList read(int reports = 1)
    {
        ModalAnswer answer;
        QStringList result;
        for (int i = 0; i < reports; ++i)
            answer.next([&](QDialog *report) { result.append(rows(report)); });
        trigger("读取数据(R)");
        if (!answer.allAnswered())
            result += answer.unexpected() + QStringList{QStringLiteral("not as many reports as expected")};
        return result;
    }
    /** Calls the action during a read, when the progress dialog is visible. */
    void duringRead(std::function<void()> action)
    {
        m_whileReading = std::move(action);
        m_poll.start(0);
    }

    std::unique_ptr<WindowFixture> m_fixture;
    std::function<void()> m_whileReading;
    QTimer m_poll;

public:
    TestMainWindowRead()
    {
        connect(&m_poll, &QTimer::timeout, this, [this] {
            if (!window().progressDialog() || !window().progressDialog()->isVisible())
                return;
            m_poll.stop();
            m_whileReading();
        });
    }
};

void TestMainWindowRead::fileDialogAsksForLogsInTheWorkingDirectory()
{
    ModalAnswer answer;
    answer.next([this](QDialog *modal) {
        auto *dialog = qobject_cast<QFileDialog *>(modal);
        QVERIFY(dialog);
        QCOMPARE(dialog->parentWidget(), &window());
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Select data file"));
        QCOMPARE(dialog->nameFilters(), QStringList({"*.txt *.db *.sqlite"}));
        QCOMPARE(dialog->directory().canonicalPath(), QDir::current().canonicalPath());
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptOpen);
    });
    trigger("选择文件(O)");
    QVERIFY(answer.allAnswered());
}

void TestMainWindowRead::chosenFileIsStoredAndShownWithoutTimeLimit()
{
    const QString path = log(1);
    const LogFile messages;
    ModalAnswer answer;
    answer.next([&](QDialog *modal) {
        modal->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(modal, "accept");
    });
    trigger("选择文件(O)");
    QVERIFY(answer.allAnswered());
    QCOMPARE(window().filePath(), path);
    QCOMPARE(m_fixture->status(), QStringLiteral("Selected file is ") + path);
    QCOMPARE(messages.leveledMessages(),
             QStringList({"info: start select data file", QStringLiteral("info: file selected is:") + path}));
    // A message with a time limit runs a timer in the status bar.
    for (const QTimer *timer : window().statusBar()->findChildren<QTimer *>())
        QVERIFY(!timer->isActive());
}

void TestMainWindowRead::cancelledFileDialogEmptiesThePath()
{
    drop(m_fixture->path(QStringLiteral("before.txt")));
    QVERIFY(!window().filePath().isEmpty());
    const LogFile messages;
    ModalAnswer answer;
    answer.next([](QDialog *modal) { modal->reject(); });
    trigger("选择文件(O)");
    QVERIFY(answer.allAnswered());
    QVERIFY(window().filePath().isEmpty());
    QCOMPARE(m_fixture->status(), QStringLiteral("未选择文件"));
    QCOMPARE(m_fixture->statusInterval(), -1);
    QCOMPARE(messages.leveledMessages(),
             QStringList({"info: start select data file", "warning: file selected is empty"}));
}

void TestMainWindowRead::cancellingAfterAReadKeepsTheDataAndPreventsTheNextRead()
{
    drop(log(3));
    read();
    m_fixture->box("checkBox_roll")->setChecked(true);
    ModalAnswer answer;
    answer.next([](QDialog *modal) { modal->reject(); });
    QString text;
    answer.next([&](QDialog *modal) { text = qobject_cast<QMessageBox *>(modal)->text(); });
    trigger("选择文件(O)");
    trigger("读取数据(R)");
    QVERIFY(answer.allAnswered());
    QCOMPARE(text, QStringLiteral("未选择文件"));
    QVERIFY(dataRead);
    QCOMPARE(channelGroup(0x03)->length(), 3);
    QCOMPARE(WindowFixture::curves(m_fixture->canvas()), QStringList({"横滚"}));
    QVERIFY(m_fixture->box("checkBox_roll")->isChecked());
}

void TestMainWindowRead::dragIsAcceptedOnlyWithUrls()
{
    const auto accepted = [this](const QMimeData &mime) {
        QDragEnterEvent event(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window(), &event);
        return event.isAccepted();
    };
    QVERIFY(accepted(Mime({QUrl::fromLocalFile(QStringLiteral("/x.txt"))})));
    QVERIFY(accepted(Mime({QUrl::fromLocalFile(QStringLiteral("/x.pdf"))})));
    QVERIFY(accepted(Mime({QUrl(QStringLiteral("https://example.org/x.txt"))})));
    QMimeData text;
    text.setText(QStringLiteral("file:///x.txt"));
    QVERIFY(!accepted(text));
}

void TestMainWindowRead::droppedFileIsStoredAndShown()
{
    const LogFile messages;
    const QString path = m_fixture->path(QStringLiteral("航迹.pdf"));
    QVERIFY(drop({QUrl::fromLocalFile(path)}));
    QCOMPARE(window().filePath(), path);
    QCOMPARE(m_fixture->status(), QStringLiteral("selected file is ") + path);
    QCOMPARE(messages.leveledMessages(), QStringList({QStringLiteral("info: file selected is: ") + path}));
    for (const QTimer *timer : window().statusBar()->findChildren<QTimer *>())
        QVERIFY(!timer->isActive());
}

void TestMainWindowRead::dropUsesOnlyTheFirstUrl()
{
    drop({QUrl::fromLocalFile(QStringLiteral("/first.txt")), QUrl::fromLocalFile(QStringLiteral("/second.txt"))});
    QCOMPARE(window().filePath(), QStringLiteral("/first.txt"));
    QVERIFY(!drop({QUrl(QStringLiteral("https://example.org/a")), QUrl::fromLocalFile(QStringLiteral("/third.txt"))}));
    QCOMPARE(window().filePath(), QStringLiteral("/first.txt"));
}

void TestMainWindowRead::dropOfAnEmptyListOfUrlsIsIgnored()
{
    QVERIFY(drop({QUrl::fromLocalFile(QStringLiteral("/before.txt"))}));
    QVERIFY(Mime(QList<QUrl>()).hasUrls());
    const LogFile messages;
    QVERIFY(!drop(QList<QUrl>()));
    QCOMPARE(window().filePath(), QStringLiteral("/before.txt"));
    QCOMPARE(messages.messages(), QStringList());
}

void TestMainWindowRead::dropWithoutUrlsIsIgnored()
{
    drop(QStringLiteral("/before.txt"));
    const LogFile messages;
    QMimeData text;
    text.setText(QStringLiteral("/after.txt"));
    QDropEvent event(QPointF(5, 5), Qt::CopyAction, &text, Qt::LeftButton, Qt::NoModifier);
    static_cast<QObject &>(window()).event(&event);
    QVERIFY(!event.isAccepted());
    QCOMPARE(window().filePath(), QStringLiteral("/before.txt"));
    QCOMPARE(messages.messages(), QStringList());
}

void TestMainWindowRead::dropOfARemoteUrlIsIgnored()
{
    drop(QStringLiteral("/before.txt"));
    const LogFile messages;
    const QString status = m_fixture->status();
    drop({QUrl(QStringLiteral("https://example.org/after.txt"))});
    QCOMPARE(window().filePath(), QStringLiteral("/before.txt"));
    QCOMPARE(m_fixture->status(), status);
    QCOMPARE(messages.messages(), QStringList());
}

void TestMainWindowRead::selectingAFileStartsNoRead()
{
    const QSignalSpy reads(&window(), &MainWindow::readDataSignal);
    const QString path = log(1);
    drop(path);
    ModalAnswer answer;
    answer.next([&](QDialog *modal) {
        modal->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(modal, "accept");
    });
    trigger("选择文件(O)");
    QVERIFY(answer.allAnswered());
    QCOMPARE(reads.count(), 0);
    QVERIFY(!dataRead);
}

void TestMainWindowRead::readWithoutAFileShowsABox()
{
    const QSignalSpy reads(&window(), &MainWindow::readDataSignal);
    dataRead = true; // as after an earlier read; it does not change
    const LogFile messages;
    ModalAnswer answer;
    answer.next([this](QDialog *modal) {
        auto *box = qobject_cast<QMessageBox *>(modal);
        QVERIFY(box);
        QCOMPARE(box->parentWidget(), &window());
        QCOMPARE(box->windowTitle(), QStringLiteral("Info"));
        QCOMPARE(box->text(), QStringLiteral("未选择文件"));
        QCOMPARE(box->icon(), QMessageBox::Information);
        QCOMPARE(box->standardButtons(), QMessageBox::Ok);
        QCOMPARE(m_fixture->status(), QStringLiteral("未选择文件"));
    });
    trigger("读取数据(R)");
    QVERIFY(answer.allAnswered());
    QCOMPARE(messages.leveledMessages(),
             QStringList({"info: start decode data file", "warning: file selected is empty"}));
    QCOMPARE(reads.count(), 0);
    QVERIFY(dataRead);
}

void TestMainWindowRead::readHasTheExpectedSteps()
{
    drop(log(2));
    const LogFile messages;
    const QSignalSpy reads(&window(), &MainWindow::readDataSignal);
    QStringList status;
    connect(window().statusBar(), &QStatusBar::messageChanged, &window(),
            [&](const QString &text) { status.append(text); });
    QCOMPARE(read().size(), 1);
    QCOMPARE(reads.count(), 1);
    QCOMPARE(reads.at(0).at(0).toString(), window().filePath());
    QCOMPARE(messages.messages(),
             QStringList({"start decode data file", "remove all Graph", "remove all Graph", "clear data;",
                          "init global data", "start decode data", "total frame cnt is 8", "error frame cnt is 0",
                          "All plane's frame is 8", "start cal factors", "decode data finished"}));
    // Both canvases report the same text, and the status bar emits only changes.
    QCOMPARE(status, QStringList({"移除所有曲线", "开始解析数据", "文件解析成功,处理数据...", "数据处理完成"}));
    QVERIFY(dataRead);
}

void TestMainWindowRead::storeIsEmptyAndClosedWhenTheReadStarts()
{
    drop(log(2));
    read();
    m_fixture->box("checkBox_roll")->setChecked(true);
    m_fixture->box("checkBox_rollDiff")->setChecked(true);
    bool asked = false;
    // This slot is connected before the reader's slot, so it runs first.
    connect(&window(), &MainWindow::readDataSignal, &window(), [&] {
        asked = true;
        QVERIFY(!dataRead);
        QCOMPARE(channelGroup(0x03)->length(), 0);
        QVERIFY(!channelGroup(0x03)->channels[0]->shown());
        QCOMPARE(WindowFixture::curves(m_fixture->canvas()), QStringList({QString()}));
        QCOMPARE(WindowFixture::curves(m_fixture->canvas_2()), QStringList({QString()}));
    });
    read();
    QVERIFY(asked);
    QCOMPARE(channelGroup(0x03)->length(), 2);
}

void TestMainWindowRead::reportShowsTheCountsOfAllPlanes()
{
    // Two cycles, three heartbeats and one payload frame of two planes, and two lines without a frame.
    QStringList lines = oneCycle(1) + oneCycle(2);
    for (int i = 0; i < 3; ++i)
        lines.append(FrameText(0x01).text());
    lines.append(FrameText(0x41).text());
    lines.append(QStringLiteral("00112233445566"));
    lines.append(QString());
    const QString path = m_fixture->path(QStringLiteral("mixed.txt"));
    writeLines(path, lines);
    drop(path);
    // 14 lines; two of them give no sample.
    QCOMPARE(read(),
             QStringList({"解析完成:|总帧数: 14|错误帧： 2|所有飞机的帧数： 12|"
                          "0x01: 3|0x02: 2|0x03: 2|0x04: 2|0x05: 2|0x41: 1"}));
}

void TestMainWindowRead::reportShowsTheCountOfTheSelectedPlane()
{
    QStringList lines = oneCycle(1) + oneCycle(2) + oneCycle(2);
    const QString path = m_fixture->path(QStringLiteral("planes.txt"));
    writeLines(path, lines);
    drop(path);
    selectedPlaneEnabled = true;
    selectedPlaneId = 2;
    QCOMPARE(read(),
             QStringList({"解析完成:|总帧数: 12|错误帧： 0|2#飞机的帧数： 8|"
                          "0x01: 0|0x02: 2|0x03: 2|0x04: 2|0x05: 2|0x41: 0"}));
}

void TestMainWindowRead::reportIsASeparateDialogWithLargeCentredLabels()
{
    drop(log(1));
    ModalAnswer answer;
    QPointer<QDialog> seen;
    answer.next([&](QDialog *report) {
        seen = report;
        QVERIFY(!report->parentWidget());
        QVERIFY(report->isModal());
        QCOMPARE(report->size(), QSize(600, 400));
        const QList<QLabel *> labels = report->findChildren<QLabel *>();
        QCOMPARE(labels.size(), 19);
        for (const QLabel *label : labels) {
            QCOMPARE(label->alignment(), Qt::AlignCenter);
            QCOMPARE(label->font().pointSize(), 16);
            QCOMPARE(label->font().family(), QApplication::font().family());
        }
    });
    trigger("读取数据(R)");
    QVERIFY(answer.allAnswered());
    QVERIFY(seen.isNull());
}

void TestMainWindowRead::handlerExistsUntilTheReportIsClosed()
{
    drop(log(1));
    ModalAnswer answer;
    // Only the handler is connected, so disconnect() returns whether it still exists.
    bool alive = false;
    answer.next([&](QDialog *) { alive = window().disconnect(SIGNAL(readDataSignal(QString))); });
    trigger("读取数据(R)");
    QVERIFY(answer.allAnswered());
    QVERIFY(alive);
    read();
    QVERIFY(!window().disconnect(SIGNAL(readDataSignal(QString))));
}

void TestMainWindowRead::boxesAreUpdatedAtTheEndOfARead()
{
    // A box ticked before a read stays ticked without a curve; the end of a read unticks it.
    QCheckBox *const box = m_fixture->box("checkBox_pitch");
    box->setChecked(true);
    drop(log(1));
    read();
    QVERIFY(!box->isChecked());
}

void TestMainWindowRead::storeIsOpenAndBoxesAreUpdatedWhileTheReportIsShown()
{
    QCheckBox *const box = m_fixture->box("checkBox_pitch");
    box->setChecked(true); // before a read, so it has no curve
    dataRead = false;
    ModalAnswer answer;
    bool open = false;
    bool ticked = true;
    answer.next([&](QDialog *) {
        open = dataRead;
        ticked = box->isChecked();
    });
    window().readDataFinishedSlot(0, 0, 0);
    QVERIFY(answer.allAnswered());
    QVERIFY(open);
    QVERIFY(!ticked);
}

void TestMainWindowRead::progressDialogIsModalAndCannotBeCancelled()
{
    drop(log(200));
    bool looked = false;
    duringRead([&] {
        const QProgressDialog *dialog = window().progressDialog();
        QVERIFY(!dialog->parentWidget());
        QVERIFY(dialog->isModal());
        QCOMPARE(QApplication::activeModalWidget(), static_cast<const QWidget *>(dialog));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Please waiting..."));
        QCOMPARE(dialog->labelText(), QStringLiteral("Decoding data..."));
        QCOMPARE(dialog->width(), 500);
        QCOMPARE(dialog->minimumWidth(), 500);
        QCOMPARE(dialog->maximumWidth(), 500);
        QCOMPARE(dialog->minimumDuration(), 0);
        QCOMPARE(dialog->minimum(), 1);
        QVERIFY(dialog->findChildren<QPushButton *>().isEmpty());
        QVERIFY(dialog->windowFlags().testFlag(Qt::CustomizeWindowHint));
        QVERIFY(dialog->windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
        QVERIFY(!dialog->windowFlags().testFlag(Qt::WindowCloseButtonHint));
        QVERIFY(!dialog->windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
        // The dialog cannot be closed in another way, and it blocks the program.
        QTest::keyClick(window().progressDialog(), Qt::Key_Escape);
        QVERIFY(!window().progressDialog()->close());
        QVERIFY(dialog->isVisible());
        QCOMPARE(QApplication::activeModalWidget(), static_cast<const QWidget *>(dialog));
        looked = true;
    });
    read();
    QVERIFY(looked);
}

void TestMainWindowRead::progressDialogReachesTheFileSizeAndCloses()
{
    const QString path = log(200);
    drop(path);
    int maximum = 0;
    duringRead([&] { maximum = window().progressDialog()->maximum(); });
    read();
    QCOMPARE(qint64(maximum), QFileInfo(path).size());
    QVERIFY(!window().progressDialog()->isVisible());
}

void TestMainWindowRead::progressStartsInTheInitialRange()
{
    drop(log(3));
    read();
    // Each value is set before its maximum, so the first value of a read is limited by the initial range.
    const auto *bar = window().progressDialog()->findChild<QProgressBar *>();
    QVector<QPair<int, int>> shown;
    const auto connection = connect(bar, &QProgressBar::valueChanged, this, [&](int value) {
        shown.append({value, bar->maximum()});
    });
    read();
    disconnect(connection);
    // The initial value of the bar is its minimum minus one, which means no value.
    shown.erase(std::remove_if(shown.begin(), shown.end(), [](const auto &each) { return each.first < 1; }),
                shown.end());
    QVERIFY(shown.size() > 1);
    QCOMPARE(shown[0], qMakePair(1, 50));
    QVERIFY(shown[1].second > 50);
}

void TestMainWindowRead::progressDialogIsCreatedOnceAndReused()
{
    drop(log(200));
    QVERIFY(!window().progressDialog());
    read();
    const QPointer<QProgressDialog> first = window().progressDialog();
    QVERIFY(first);
    bool again = false;
    duringRead([&] { again = true; });
    QCOMPARE(read().size(), 1);
    QVERIFY(again);
    QCOMPARE(window().progressDialog(), first.data());
    QVERIFY(first->findChildren<QPushButton *>().isEmpty());
    QVERIFY(!first->isVisible());
}

void TestMainWindowRead::readingAgainClearsTheBoxesWithTheNotReadMessage()
{
    drop(log(2));
    read();
    for (const char *name : {"checkBox_pitch", "checkBox_pitchDiff", "checkBox_speedTarget"})
        m_fixture->box(name)->setChecked(true);
    QCOMPARE(m_fixture->canvas()->graphCount(), 2);
    QCOMPARE(WindowFixture::curves(m_fixture->canvas_2()), QStringList({"俯仰差值"}));

    const LogFile messages;
    QStringList status;
    connect(window().statusBar(), &QStatusBar::messageChanged, &window(),
            [&](const QString &text) { status.append(text); });
    read();
    QCOMPARE(messages.messages().mid(0, 7),
             QStringList({"start decode data file", "remove all Graph", "show 俯仰 ,but has not read data",
                          "show 俯仰差值 ,but has not read data", "show 目标速度 ,but has not read data",
                          "remove all Graph", "clear data;"}));
    QVERIFY(status.contains(QStringLiteral("还未读取数据")));
    for (const QCheckBox *box : window().checkBoxes())
        QVERIFY(!box->isChecked());
    QVERIFY(dataRead);
}

void TestMainWindowRead::fileOfAnotherSuffixIsReportedAsEmpty_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"flight.pdf", "flight.sqlite", "flight.TXT", "flight", "flight.txt.gz"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestMainWindowRead::fileOfAnotherSuffixIsReportedAsEmpty()
{
    QFETCH(QString, name);
    const QString path = m_fixture->path(name);
    writeLines(path, oneCycle());
    drop(path);
    QCOMPARE(read(), QStringList({kReportOfNothing}));
    QVERIFY(dataRead);
    QVERIFY(!window().progressDialog());
}

void TestMainWindowRead::deletedLogIsReportedTwice()
{
    const QString path = log(1);
    drop(path);
    QVERIFY(QFile::remove(path));
    QCOMPARE(read(2), QStringList({kReportOfNothing, kReportOfNothing}));
    QVERIFY(!window().progressDialog()->isVisible());
}

void TestMainWindowRead::unreadableLogDoesNotBlockItsReport()
{
    // A folder has a size but cannot be opened, so the progress starts before the first report.
    const QString path = m_fixture->path(QStringLiteral("x.txt"));
    QVERIFY(QDir().mkdir(path));
    drop(path);
    ModalAnswer answer;
    int reports = 0;
    const auto look = [&](QDialog *report) {
        ++reports;
        // Pending events could show the progress dialog here.
        QCoreApplication::processEvents();
        QVERIFY(!window().progressDialog()->isVisible());
        QCOMPARE(QApplication::activeModalWidget(), static_cast<QWidget *>(report));
    };
    answer.next(look);
    answer.next(look);
    trigger("读取数据(R)");
    QVERIFY(answer.allAnswered());
    QCOMPARE(reports, 2);
    QCoreApplication::processEvents();
    QVERIFY(!window().progressDialog()->isVisible());
}

void TestMainWindowRead::smallLogLeavesNoProgressDialogOpen_data()
{
    QTest::addColumn<int>("bytes");
    for (int bytes : {0, 1, 2, 29, 30, 31, 49, 50, 51})
        QTest::addRow("%d bytes", bytes) << bytes;
}

void TestMainWindowRead::smallLogLeavesNoProgressDialogOpen()
{
    QFETCH(int, bytes);
    QFile file(m_fixture->path(QStringLiteral("tiny.txt")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(bytes, '0'));
    file.close();
    drop(file.fileName());
    const QString lines = QString::number(bytes > 0 ? 1 : 0);
    const QString report = read().join(QLatin1Char('\n'));
    QVERIFY2(report.startsWith(QStringLiteral("解析完成:|总帧数: %1|错误帧： %1|").arg(lines)), qPrintable(report));
    QCoreApplication::processEvents();
    QVERIFY(!window().progressDialog()->isVisible());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestMainWindowRead::secondReadDuringAReadIsIgnored()
{
    drop(log(200));
    const LogFile messages;
    bool asked = false;
    duringRead([&] {
        asked = true;
        const QString before = m_fixture->status();
        QMetaObject::invokeMethod(&window(), "readDataSlot_1");
        QCOMPARE(m_fixture->status(), before);
        QVERIFY(!dataRead);
    });
    QCOMPARE(read().size(), 1);
    QVERIFY(asked);
    QCOMPARE(messages.messages().count(QStringLiteral("start decode data file")), 1);
    QCOMPARE(messages.messages().count(QStringLiteral("decode data finished")), 1);
    // After the read it is allowed again.
    QCOMPARE(read().size(), 1);
}

void TestMainWindowRead::moreErrorsThanTheWrappedTotalAreReportedUnchanged()
{
    ModalAnswer answer;
    QString report;
    answer.next([&](QDialog *modal) { report = rows(modal); });
    // 65,540 frames with 10 errors; both counters have 16 bits.
    QVERIFY(QMetaObject::invokeMethod(&window(), "readDataFinishedSlot", Q_ARG(ushort, 4), Q_ARG(ushort, 10),
                                      Q_ARG(ushort, 0)));
    QVERIFY(answer.allAnswered());
    QVERIFY2(report.startsWith(QStringLiteral("解析完成:|总帧数: 4|错误帧： 10|所有飞机的帧数： -6|")),
             qPrintable(report));
}

void TestMainWindowRead::countersOfALongLogWrapAndItsSamplesDoNot()
{
    // 70,000 target frames, to which the repair adds samples of 0x04, 0x02 and 0x03; then 66,000 lines without a
    // header. The counters have 16 bits: 136,000 - 2 * 65,536 = 4,928 and 66,000 - 65,536 = 464.
    QStringList lines;
    lines.reserve(136000);
    for (int i = 0; i < 70000; ++i)
        lines.append(QStringLiteral("AAEC0105"));
    for (int i = 0; i < 66000; ++i)
        lines.append(QStringLiteral("00"));
    writeLines(m_fixture->path(QStringLiteral("flight.txt")), lines);
    drop(m_fixture->path(QStringLiteral("flight.txt")));
    QCOMPARE(read(),
             QStringList{QStringLiteral("解析完成:|总帧数: 4928|错误帧： 464|所有飞机的帧数： 4464|"
                                        "0x01: 0|0x02: 70000|0x03: 70000|0x04: 70000|0x05: 70000|0x41: 0")});
}

void TestMainWindowRead::closingDuringAReadAnsweredNoContinuesTheRead()
{
    drop(log(200));
    ModalAnswer answer;
    answer.next([](QDialog *modal) { qobject_cast<QMessageBox *>(modal)->button(QMessageBox::No)->click(); });
    QString report;
    answer.next([&](QDialog *modal) { report = rows(modal); });
    bool closed = true;
    duringRead([&] { closed = window().close(); });
    trigger("读取数据(R)");
    QVERIFY(!closed);
    QVERIFY(answer.allAnswered());
    QVERIFY2(report.startsWith(QStringLiteral("解析完成:|总帧数: 800|")), qPrintable(report));
    QVERIFY(window().isVisible());
    QVERIFY(dataRead);
}

void TestMainWindowRead::closingDuringAReadAnsweredYesReadsToTheEndThenQuits()
{
    drop(log(200));
    const LogFile messages;
    ModalAnswer answer;
    answer.next([](QDialog *modal) { qobject_cast<QMessageBox *>(modal)->button(QMessageBox::Yes)->click(); });
    bool closed = false;
    bool readWhenClosed = true;
    duringRead([&] {
        closed = window().close();
        readWhenClosed = dataRead;
    });
    QTimer::singleShot(0, &window(), [this] { trigger("读取数据(R)"); });
    QTimer::singleShot(60000, &window(), [] { QCoreApplication::exit(99); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(closed);
    QVERIFY(!readWhenClosed);
    QVERIFY(answer.allAnswered()); // no report was shown
    QVERIFY(dataRead);
    QCOMPARE(messages.messages().constLast(), QStringLiteral("decode data finished"));
    QCOMPARE(channelGroup(0x03)->length(), 200);
    QVERIFY(!window().isVisible());
    QVERIFY(!window().progressDialog()->isVisible());
    QVERIFY(QFile::exists(AppConfig::getInstance().getDataPath()));
}

QTEST_MAIN(TestMainWindowRead)
#include "TestMainWindowRead.moc"
