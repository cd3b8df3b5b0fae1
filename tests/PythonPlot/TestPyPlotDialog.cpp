#include "Fixture.h"
#include "LogFile.h"
#include "MetaMethods.h"
#include "PyPlotDialog.h"
#include "StandIn.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTest>

Q_DECLARE_METATYPE(Fixture::Catalogue)

class TestPyPlotDialog : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSignalsAndSlotsInOrder();
    void formIsALabelAboveFiveButtons_data();
    void formIsALabelAboveFiveButtons();
    void labelMentionsTheLastDataBeforeARead();
    void labelIsEnglishWithoutTheCatalogue();
    void labelIsBlankAfterARead();
    void buttonsCallThePlotter_data();
    void buttonsCallThePlotter();
    void newDialogStartsANewShell();
    void figuresOpenBesideTheDialog();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestPyPlotDialog::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(ownMethods(PyPlotDialog::staticMetaObject),
             (QStringList{"signal plotHeightSignal()", "signal plotXYSignal()", "signal plotXYZSignal()",
                          "signal plotAttackSignal()", "slot on_pushButton_clicked()", "slot on_pushButton_2_clicked()",
                          "slot on_pushButton_3_clicked()", "slot on_pushButton_4_clicked()",
                          "slot on_pushButton_5_clicked()"}));
}

void TestPyPlotDialog::formIsALabelAboveFiveButtons_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed
                             << QStringList{"高度", "二维航迹", "三维-全阶段", "三维-末端攻击", "demo"};
    QTest::newRow("English") << Fixture::Catalogue::Missing
                             << QStringList{"Height", "Two-dimensional track", "Three-dimensional - full stage",
                                            "Three-dimensional-attack", "demo"};
}

void TestPyPlotDialog::formIsALabelAboveFiveButtons()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QStringList, texts);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);
    PyPlotDialog dialog(nullptr);
    QCOMPARE(dialog.size(), QSize(405, 433));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("PyPlot"));
    dialog.show();
    const auto *const label = dialog.findChild<QLabel *>("label");
    QCOMPARE(label->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    int above = label->y();
    QStringList shown;
    for (const char *name : {"pushButton", "pushButton_2", "pushButton_3", "pushButton_4", "pushButton_5"}) {
        const auto *const button = dialog.findChild<QPushButton *>(name);
        QVERIFY2(button, name);
        QVERIFY2(button->y() > above && button->isEnabled(), name);
        above = button->y();
        shown.append(button->text());
    }
    QCOMPARE(shown, texts);
}

void TestPyPlotDialog::labelMentionsTheLastDataBeforeARead()
{
    const LogFile log;
    PyPlotDialog dialog(nullptr);
    dialog.init();
    const auto *const label = dialog.findChild<QLabel *>("label");
    QCOMPARE(label->text(), QStringLiteral("使用上次数据"));
    QCOMPARE(label->size(), label->sizeHint());
    QCOMPARE(log.leveledMessages(), QStringList{"warning: data has not been read,use last data"});
}

void TestPyPlotDialog::labelIsEnglishWithoutTheCatalogue()
{
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(Fixture::Catalogue::Missing);
    PyPlotDialog dialog(nullptr);
    dialog.init();
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), QStringLiteral("use last data"));
}

void TestPyPlotDialog::labelIsBlankAfterARead()
{
    PyPlotDialog dialog(nullptr);
    dialog.init();
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), QStringLiteral("使用上次数据"));
    dataRead = true;
    const LogFile log;
    dialog.init();
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), QStringLiteral(" "));
    QCOMPARE(log.messages(), QStringList());
}

void TestPyPlotDialog::buttonsCallThePlotter_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<bool>("read");
    const QStringList arguments{"Height", "XY", "XYZ", "Attack", "Demo1"};
    for (const bool read : {true, false}) {
        for (int i = 0; i < arguments.size(); ++i)
            QTest::addRow("%s, %s", qPrintable(arguments[i]), read ? "read" : "not read")
                << (i == 0 ? QStringLiteral("pushButton") : QStringLiteral("pushButton_%1").arg(i + 1)) << arguments[i]
                << read;
    }
}

void TestPyPlotDialog::buttonsCallThePlotter()
{
    QFETCH(QString, button);
    QFETCH(QString, argument);
    QFETCH(bool, read);
    dataRead = read;
    StandIn standIn;
    standIn.program("sh", "exec cat > $here/told");
    PyPlotDialog dialog(nullptr);
    dialog.init();
    dialog.show();
    QTest::mouseClick(dialog.findChild<QPushButton *>(button), Qt::LeftButton);
    const QString lines = QStringLiteral("cd %1/myPlot\npython pythonPlot.py %2\n")
                              .arg(QCoreApplication::applicationDirPath(), argument);
    QTRY_COMPARE(QString::fromUtf8(standIn.text("told")), lines);
}

void TestPyPlotDialog::newDialogStartsANewShell()
{
    StandIn standIn;
    standIn.program("sh", "exec cat > $here/told.$$");
    for (int opened = 1; opened <= 2; ++opened) {
        PyPlotDialog dialog(nullptr);
        dialog.show();
        auto *const button = dialog.findChild<QPushButton *>("pushButton");
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_COMPARE(standIn.files("told.*").size(), opened);
        const QString latest = QDir(standIn.path(".")).entryList({"told.*"}, QDir::Files, QDir::Time).first();
        QTRY_COMPARE(standIn.text(latest).count("python pythonPlot.py Height\n"), 2);
        QCOMPARE(standIn.text(latest).count("cd "), 1);
    }
}

void TestPyPlotDialog::figuresOpenBesideTheDialog()
{
    StandIn standIn;
    standIn.program("sh", "echo \"$OSTRAVEL_FIGURE_AREA\" > $here/area; exec cat > /dev/null");
    PyPlotDialog dialog(nullptr);
    dialog.init();
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QRect screen = dialog.screen()->availableGeometry();
    QCOMPARE(dialog.frameGeometry().left(), screen.left());
    QCOMPARE(dialog.frameGeometry().top(), screen.top() + (screen.height() - dialog.height()) / 2);
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButton"), Qt::LeftButton);
    QTRY_VERIFY(standIn.text("area").endsWith('\n'));
    const QList<QByteArray> numbers = standIn.text("area").simplified().split(' ');
    QCOMPARE(numbers.size(), 4);
    const QRect area(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt());
    QVERIFY(screen.contains(area));
    QVERIFY(!area.intersects(dialog.frameGeometry()));
    QVERIFY(area.width() + dialog.frameGeometry().width() >= screen.width()
            || area.height() + dialog.frameGeometry().height() >= screen.height());
}

QTEST_MAIN(TestPyPlotDialog)
#include "TestPyPlotDialog.moc"
