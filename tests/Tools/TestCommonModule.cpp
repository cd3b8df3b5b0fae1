#include "AppConfig.h"
#include "CommonModule.h"
#include "Fixture.h"
#include "MetaMethods.h"

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>
#include <QTimer>

#include <limits>
#include <memory>

Q_DECLARE_METATYPE(Fixture::Catalogue)

namespace
{

QLineEdit *edit(const QWidget &window, const char *objectName)
{
    auto *const found = window.findChild<QLineEdit *>(QString::fromLatin1(objectName));
    if (!found)
        qFatal("no edit %s", objectName);
    return found;
}

QString shown(const QWidget &window, const char *objectName)
{
    return edit(window, objectName)->text();
}

/** Replaces the text of an edit. */
void type(const QWidget &window, const char *objectName, const QString &text)
{
    QLineEdit *const target = edit(window, objectName);
    target->selectAll();
    if (text.isEmpty())
        QTest::keyClick(target, Qt::Key_Delete);
    else
        target->insert(text);
}

void press(const QWidget &window, const char *objectName)
{
    QTest::mouseClick(window.findChild<QPushButton *>(QString::fromLatin1(objectName)), Qt::LeftButton);
}

void typePositions(const QWidget &window, const QString &lat1, const QString &long1, const QString &lat2,
                   const QString &long2)
{
    type(window, "lineEdit_lat1", lat1);
    type(window, "lineEdit_long1", long1);
    type(window, "lineEdit_lat2", lat2);
    type(window, "lineEdit_long2", long2);
}

/** Left and right edge of an edit in window coordinates. */
QPair<int, int> edges(const QWidget &window, const char *objectName)
{
    const QLineEdit *const target = edit(window, objectName);
    const int left = target->mapTo(&window, QPoint(0, 0)).x();
    return {left, left + target->width()};
}

constexpr std::int32_t kMinInt = std::numeric_limits<std::int32_t>::min();

} // namespace

class TestCommonModule : public QObject
{
    Q_OBJECT

private slots:
    void negativeBearingIsNotNormalised();
    void negativeBearingIsShownAsItIs();
    void angleShowsItsUnit();
    void groupsFillTheHeight_data();
    void groupsFillTheHeight();
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup()
    {
        qApp->setStyleSheet(QString());
        m_fixture.reset();
    }

    void declaresItsSlots();
    void isASeparateWindowWithSizeAndTitle();
    void doesNotKeepTheProgramRunning();
    void groupsContainTheirControls_data();
    void groupsContainTheirControls();
    void labelsAreBesideTheirEdits_data();
    void labelsAreBesideTheirEdits();
    void vectorTitlesAreAboveTheirEdits_data();
    void vectorTitlesAreAboveTheirEdits();
    void resultsCannotBeTyped();
    void editsHaveAccessibleNames();
    void editsAreAligned_data();
    void editsAreAligned();
    void opensWithAllControlsVisible_data();
    void opensWithAllControlsVisible();
    void smallWindowScrollsInsteadOfCuttingCoordinates();
    void startsEmptyWithZeroPositions();
    void buttonReadsThePositions();
    void textBecomesTheScaledInteger_data();
    void textBecomesTheScaledInteger();
    void distanceAndBearingAreShownWithThreeDecimals();
    void identicalPositionsShowZero();
    void differenceIsFilledIntoTheOffsetCalculator();
    void positionsOfTheOffsetGroupAreNotFilledIn();
    void emptyEditsAreZero();
    void latitudeBeyondThePoleShowsNan();
    void offsetMovesNorthAndEast();
    void offsetByTheDifferenceReachesTheSecondPosition();
    void offsetCoordinatesHaveSevenDecimals();
    void invalidOffsetShowsTheMinimumInteger_data();
    void invalidOffsetShowsTheMinimumInteger();
    void vectorsAreComputed();
    void invalidVectorTextIsZero_data();
    void invalidVectorTextIsZero();
    void vectorsWithoutLengthHaveNoAngle();
    void infiniteVectorsShowTheirResults();
    void resultsAreKeptUntilTheNextPress();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestCommonModule::negativeBearingIsNotNormalised()
{
    QCOMPARE(QString::number(CommonModule::bearingDegrees(-123), 'f', 3), QStringLiteral("-1.230"));
}

void TestCommonModule::negativeBearingIsShownAsItIs()
{
    CommonModule window([](Location, Location) -> std::int32_t { return -123; });
    press(window, "pushButton_calDIstanc");
    QCOMPARE(edit(window, "lineEdit_bear")->text(), QStringLiteral("-1.230"));
    QCOMPARE(window.bearing(), -1.23);
}

void TestCommonModule::angleShowsItsUnit()
{
    const CommonModule window;
    for (const char *name : {"groupBox_8", "lineEdit_jiaodu"})
        QCOMPARE(window.findChild<QWidget *>(QString::fromLatin1(name))->toolTip(),
                 QStringLiteral("单位：度，0 至 180"));
}

void TestCommonModule::groupsFillTheHeight_data()
{
    editsAreAligned_data();
}

void TestCommonModule::groupsFillTheHeight()
{
    QFETCH(int, theme);
    QFETCH(QSize, size);
    if (theme == darkTheme)
        AppConfig::getInstance().applyDarkStyle();
    else
        AppConfig::getInstance().applyLightStyle();
    CommonModule window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // The test screen may be smaller than the window, which is then reduced when it is shown.
    if (size.isValid())
        window.resize(size);
    const QWidget *const page = window.findChild<QScrollArea *>()->widget();
    const auto geometry
        = [&window](const char *name) { return window.findChild<QGroupBox *>(QString::fromLatin1(name))->geometry(); };
    const QMargins margins = page->layout()->contentsMargins();
    for (const char *last : {"groupBox_6", "groupBox_7"})
        QTRY_COMPARE(page->height() - geometry(last).bottom() - 1, margins.bottom());
    // The four rows share the height of a large window.
    if (size.height() > 1000) {
        for (const char *name : {"groupBox_2", "groupBox_3", "groupBox_5", "groupBox_6"})
            QVERIFY2(geometry(name).height() > size.height() / 8, name);
    }
}

void TestCommonModule::declaresItsSlots()
{
    QCOMPARE(ownMethods(CommonModule::staticMetaObject),
             (QStringList{"slot on_pushButton_calDIstanc_clicked()", "slot on_pushButton_calVector_clicked()",
                          "slot on_pushButton_calDIstanc_2_clicked()"}));
}

void TestCommonModule::isASeparateWindowWithSizeAndTitle()
{
    const CommonModule window;
    QVERIFY(!window.parent());
    QVERIFY(window.isWindow());
    QVERIFY(!window.isModal());
    QCOMPARE(window.objectName(), QStringLiteral("CommonModule"));
    QCOMPARE(window.size(), QSize(1056, 895));
    QCOMPARE(window.windowTitle(), QStringLiteral("CommonModule"));
}

void TestCommonModule::doesNotKeepTheProgramRunning()
{
    QWidget mainWindow;
    mainWindow.show();
    CommonModule window;
    window.show();
    QTimer tooLate;
    connect(&tooLate, &QTimer::timeout, qApp, [] { QCoreApplication::exit(1); });
    tooLate.start(20000);
    // Closing this window does not end the program; closing the last other window does.
    QTimer::singleShot(0, &window, [&window] {
        window.close();
        window.show();
    });
    bool mainWindowClosed = false;
    QTimer::singleShot(100, &mainWindow, [&] { mainWindowClosed = mainWindow.close(); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(mainWindowClosed);
}

void TestCommonModule::groupsContainTheirControls_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("chinese");
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<QString>("button");
    const QString none;
    QTest::newRow("groupBox_2") << "groupBox_2"
                                << "LocationInput"
                                << "位置输入"
                                << QStringList{"lineEdit_long1", "lineEdit_lat1", "lineEdit_long2", "lineEdit_lat2"}
                                << "pushButton_calDIstanc";
    QTest::newRow("groupBox") << "groupBox"
                              << "DistanceAndBearing"
                              << "距离和方位" << QStringList{"lineEdit_distance", "lineEdit_bear"} << none;
    QTest::newRow("groupBox_3") << "groupBox_3"
                                << "Offset"
                                << "航点偏移量"
                                << QStringList{"lineEdit_long1_2", "lineEdit_lat1_2", "lineEdit_OFSNorth",
                                               "lineEdit_OFSEast"}
                                << "pushButton_calDIstanc_2";
    QTest::newRow("groupBox_4") << "groupBox_4"
                                << "OffsetRoute"
                                << "偏移航点位置" << QStringList{"lineEdit_offsetLng", "lineEdit_offsetLat"} << none;
    QTest::newRow("groupBox_5") << "groupBox_5"
                                << "Vector2Input"
                                << "向量输入" << QStringList{"lineEdit_a1", "lineEdit_a2", "lineEdit_b1", "lineEdit_b2"}
                                << "pushButton_calVector";
    QTest::newRow("groupBox_8") << "groupBox_8"
                                << "Angle"
                                << "角度" << QStringList{"lineEdit_jiaodu"} << none;
    QTest::newRow("groupBox_6") << "groupBox_6"
                                << "AddAndSub"
                                << "加减"
                                << QStringList{"lineEdit_add1", "lineEdit_add2", "lineEdit_sub1", "lineEdit_sub2"}
                                << none;
    QTest::newRow("groupBox_7") << "groupBox_7"
                                << "MulAndDot"
                                << "叉积和点积" << QStringList{"lineEdit_chaji1", "lineEdit_dianji1"} << none;
}

void TestCommonModule::groupsContainTheirControls()
{
    QFETCH(QString, group);
    QFETCH(QString, english);
    QFETCH(QString, chinese);
    QFETCH(QStringList, edits);
    QFETCH(QString, button);
    for (const auto catalogue : {Fixture::Catalogue::Installed, Fixture::Catalogue::Missing}) {
        const bool isChinese = catalogue == Fixture::Catalogue::Installed;
        m_fixture.reset();
        m_fixture = std::make_unique<Fixture>(catalogue);
        const CommonModule window;
        QCOMPARE(window.findChildren<QGroupBox *>().size(), 8);
        const auto *const box = window.findChild<QGroupBox *>(group);
        QVERIFY(box);
        QCOMPARE(box->title(), isChinese ? chinese : english);
        QStringList found;
        for (const QLineEdit *lineEdit : box->findChildren<QLineEdit *>())
            found.append(lineEdit->objectName());
        QStringList expected = edits;
        found.sort();
        expected.sort();
        QCOMPARE(found, expected);
        const QList<QPushButton *> buttons = box->findChildren<QPushButton *>();
        QCOMPARE(buttons.size(), button.isEmpty() ? 0 : 1);
        if (!button.isEmpty()) {
            QCOMPARE(buttons.first()->objectName(), button);
            QCOMPARE(buttons.first()->text(), isChinese ? QStringLiteral("计算") : QStringLiteral("calculate"));
        }
    }
}

void TestCommonModule::labelsAreBesideTheirEdits_data()
{
    QTest::addColumn<QByteArray>("lineEdit");
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("chinese");
    QTest::addColumn<QString>("unit"); // English, then Chinese
    const auto row = [](const char *lineEdit, const char *english, const char *chinese, const char *unit = "") {
        QTest::newRow(lineEdit) << QByteArray(lineEdit) << QString::fromUtf8(english) << QString::fromUtf8(chinese)
                                << QString::fromUtf8(unit);
    };
    row("lineEdit_long1", "Loc1_lng：", "1点经度：");
    row("lineEdit_lat1", "Loc1_lat：", "1点纬度：");
    row("lineEdit_long2", "Loc2_lng：", "2点经度：");
    row("lineEdit_lat2", "Loc2_lat：", "2点纬度：");
    row("lineEdit_distance", "Distance：", "相对距离：", "m 米");
    row("lineEdit_bear", "Bearing：", "相对方位：", "° 度");
    row("lineEdit_long1_2", "Loc1_lng：", "1点经度：");
    row("lineEdit_lat1_2", "Loc1_lat：", "1点纬度：");
    row("lineEdit_OFSNorth", "Offset_North：", "北向偏移量：", "m 米");
    row("lineEdit_OFSEast", "Offset_East：", "东向偏移量：", "m 米");
    row("lineEdit_offsetLng", "Offset_Lng：", "偏移航点经度：");
    row("lineEdit_offsetLat", "Offset_Lat：", "偏移航点纬度：");
}

void TestCommonModule::labelsAreBesideTheirEdits()
{
    QFETCH(QByteArray, lineEdit);
    QFETCH(QString, english);
    QFETCH(QString, chinese);
    QFETCH(QString, unit);
    for (const auto catalogue : {Fixture::Catalogue::Installed, Fixture::Catalogue::Missing}) {
        const bool isChinese = catalogue == Fixture::Catalogue::Installed;
        m_fixture.reset();
        m_fixture = std::make_unique<Fixture>(catalogue);
        CommonModule window;
        window.show();
        const QLineEdit *const target = edit(window, lineEdit);
        // The visible labels on the same line, left and right of the edit.
        QStringList before, behind;
        for (const QLabel *label : target->parentWidget()->findChildren<QLabel *>()) {
            if (label->text().isEmpty() || qAbs(label->geometry().center().y() - target->geometry().center().y()) > 1)
                continue;
            QVERIFY(!label->geometry().intersects(target->geometry()));
            (label->x() < target->x() ? before : behind).append(label->text());
        }
        QCOMPARE(before, QStringList{isChinese ? chinese : english});
        QCOMPARE(behind.join(QString()), unit.section(QLatin1Char(' '), isChinese ? 1 : 0, isChinese ? 1 : 0));
    }
}

void TestCommonModule::vectorTitlesAreAboveTheirEdits_data()
{
    QTest::addColumn<QString>("english");
    QTest::addColumn<QString>("chinese");
    QTest::addColumn<QStringList>("edits");
    QTest::newRow("a") << "Vector2 a"
                       << "二维向量a" << QStringList{"lineEdit_a1", "lineEdit_a2"};
    QTest::newRow("b") << "Vector2 b"
                       << "二维向量b" << QStringList{"lineEdit_b1", "lineEdit_b2"};
    QTest::newRow("sum") << "a+b"
                         << "a+b" << QStringList{"lineEdit_add1", "lineEdit_add2"};
    QTest::newRow("difference") << "a-b"
                                << "a-b" << QStringList{"lineEdit_sub1", "lineEdit_sub2"};
    QTest::newRow("cross") << "a×b"
                           << "a×b" << QStringList{"lineEdit_chaji1"};
    QTest::newRow("dot") << "a·b"
                         << "a·b" << QStringList{"lineEdit_dianji1"};
}

void TestCommonModule::vectorTitlesAreAboveTheirEdits()
{
    QFETCH(QString, english);
    QFETCH(QString, chinese);
    QFETCH(QStringList, edits);
    for (const auto catalogue : {Fixture::Catalogue::Installed, Fixture::Catalogue::Missing}) {
        m_fixture.reset();
        m_fixture = std::make_unique<Fixture>(catalogue);
        CommonModule window;
        window.show();
        int bottom = -1;
        QRect title;
        for (const QString &name : edits) {
            const QLineEdit *const target = edit(window, name.toLatin1());
            for (const QLabel *label : target->parentWidget()->findChildren<QLabel *>()) {
                if (label->text() == (catalogue == Fixture::Catalogue::Installed ? chinese : english))
                    title = label->geometry();
            }
            QVERIFY(title.isValid());
            QVERIFY(title.bottom() < target->y());
            QVERIFY(qAbs(title.center().x() - target->geometry().center().x()) <= 1);
            QVERIFY(bottom < target->y());
            bottom = target->geometry().bottom();
        }
    }
}

void TestCommonModule::resultsCannotBeTyped()
{
    const CommonModule window;
    const QStringList results{"lineEdit_distance", "lineEdit_bear",   "lineEdit_offsetLng", "lineEdit_offsetLat",
                              "lineEdit_jiaodu",   "lineEdit_add1",   "lineEdit_add2",      "lineEdit_sub1",
                              "lineEdit_sub2",     "lineEdit_chaji1", "lineEdit_dianji1"};
    int editable = 0;
    for (const QLineEdit *lineEdit : window.findChildren<QLineEdit *>()) {
        QVERIFY2(lineEdit->isReadOnly() == results.contains(lineEdit->objectName()),
                 qPrintable(lineEdit->objectName()));
        editable += lineEdit->isReadOnly() ? 0 : 1;
    }
    QCOMPARE(editable, 12);
}

void TestCommonModule::editsHaveAccessibleNames()
{
    const CommonModule window;
    for (const QLineEdit *lineEdit : window.findChildren<QLineEdit *>())
        QVERIFY2(!lineEdit->accessibleName().isEmpty(), qPrintable(lineEdit->objectName()));
    QCOMPARE(edit(window, "lineEdit_OFSNorth")->accessibleName(), QStringLiteral("北向偏移量："));
    QCOMPARE(edit(window, "lineEdit_a1")->accessibleName(), QStringLiteral("二维向量a x"));
    QCOMPARE(edit(window, "lineEdit_b2")->accessibleName(), QStringLiteral("二维向量b y"));
    QCOMPARE(edit(window, "lineEdit_sub2")->accessibleName(), QStringLiteral("a-b y"));
    QCOMPARE(edit(window, "lineEdit_dianji1")->accessibleName(), QStringLiteral("a·b"));
    QCOMPARE(edit(window, "lineEdit_jiaodu")->accessibleName(), QStringLiteral("角度"));
}

void TestCommonModule::editsAreAligned_data()
{
    QTest::addColumn<int>("theme");
    QTest::addColumn<QSize>("size");
    for (const int theme : {int(lightTheme), int(darkTheme)}) {
        const QByteArray name = theme == darkTheme ? "dark " : "light ";
        QTest::newRow(name + "as opened") << theme << QSize();
        QTest::newRow(name + "small") << theme << QSize(400, 300);
        QTest::newRow(name + "large") << theme << QSize(2500, 1400);
    }
}

void TestCommonModule::editsAreAligned()
{
    QFETCH(int, theme);
    QFETCH(QSize, size);
    if (theme == darkTheme)
        AppConfig::getInstance().applyDarkStyle();
    else
        AppConfig::getInstance().applyLightStyle();
    CommonModule window;
    if (size.isValid())
        window.resize(size);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto left = edges(window, "lineEdit_long1");
    for (const char *name : {"lineEdit_lat1", "lineEdit_long2", "lineEdit_lat2", "lineEdit_long1_2", "lineEdit_lat1_2",
                             "lineEdit_OFSNorth", "lineEdit_OFSEast"})
        QCOMPARE(edges(window, name), left);
    const auto right = edges(window, "lineEdit_distance");
    for (const char *name : {"lineEdit_bear", "lineEdit_offsetLng", "lineEdit_offsetLat"})
        QCOMPARE(edges(window, name), right);
    QCOMPARE(left.second - left.first, right.second - right.first);
    QCOMPARE(edges(window, "lineEdit_a1"), edges(window, "lineEdit_add2"));
    QCOMPARE(edges(window, "lineEdit_b1"), edges(window, "lineEdit_sub2"));
    // The first row does not cover the title of the group.
    for (const QGroupBox *box : window.findChildren<QGroupBox *>()) {
        for (const QWidget *child : box->findChildren<QWidget *>())
            QVERIFY2(child->y() >= box->fontMetrics().height(), qPrintable(box->title()));
    }
}

void TestCommonModule::opensWithAllControlsVisible_data()
{
    QTest::addColumn<bool>("dark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

void TestCommonModule::opensWithAllControlsVisible()
{
    QFETCH(bool, dark);
    if (dark)
        AppConfig::getInstance().applyDarkStyle();
    else
        AppConfig::getInstance().applyLightStyle();
    CommonModule window;
    const QSize design = window.size();
    QCOMPARE(design, QSize(1056, 895));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // The test screen may be smaller than the window, which is then reduced when it is shown.
    window.resize(design);
    for (const QGroupBox *box : window.findChildren<QGroupBox *>())
        QTRY_COMPARE(box->visibleRegion().boundingRect(), box->rect());
}

void TestCommonModule::smallWindowScrollsInsteadOfCuttingCoordinates()
{
    CommonModule window;
    window.resize(400, 300);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.size(), QSize(400, 300));
    const QLineEdit *const target = edit(window, "lineEdit_offsetLng");
    QVERIFY(target->width() > target->fontMetrics().horizontalAdvance(QStringLiteral("-123.1234567")));
    window.findChild<QScrollArea *>()->ensureWidgetVisible(edit(window, "lineEdit_dianji1"));
    QVERIFY(!edit(window, "lineEdit_dianji1")->visibleRegion().isEmpty());
}

void TestCommonModule::startsEmptyWithZeroPositions()
{
    const CommonModule window;
    for (const QLineEdit *lineEdit : window.findChildren<QLineEdit *>())
        QVERIFY2(lineEdit->text().isEmpty(), qPrintable(lineEdit->objectName()));
    for (const Location location : {window.loc1(), window.loc2()}) {
        QCOMPARE(location.latitude, 0);
        QCOMPARE(location.longitude, 0);
    }
}

void TestCommonModule::buttonReadsThePositions()
{
    CommonModule window;
    typePositions(window, "29.5", "106.25", "-33.9470710", "-113.91378");
    press(window, "pushButton_calDIstanc");
    QCOMPARE(window.loc1().latitude, 295000000);
    QCOMPARE(window.loc1().longitude, 1062500000);
    QCOMPARE(window.loc2().latitude, -339470710);
    QCOMPARE(window.loc2().longitude, -1139137800);
}

void TestCommonModule::textBecomesTheScaledInteger_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("scaled");
    QTest::newRow("29.5") << "29.5" << 295000000;
    QTest::newRow("blanks around") << "  29.5 " << 295000000;
    QTest::newRow("exponent") << "2.95e1" << 295000000;
    QTest::newRow("below the unit") << "-0.00000001" << 0;
    QTest::newRow("cut and not rounded") << "0.00000019" << 1;
    QTest::newRow("cut toward zero") << "-0.00000019" << -1;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("word") << "north" << 0;
    QTest::newRow("number and unit") << "29.5m" << 0;
    QTest::newRow("comma") << "29,5" << 0;
    QTest::newRow("degree sign") << "29.5°" << 0;
    QTest::newRow("two points") << "2.9.5" << 0;
    QTest::newRow("largest") << "214.7483647" << 2147483647;
    QTest::newRow("beyond 32 bits") << "214.7483649" << kMinInt;
    QTest::newRow("beyond 32 bits below") << "-214.75" << kMinInt;
    QTest::newRow("1e300") << "1e300" << kMinInt;
    QTest::newRow("1e400") << "1e400" << kMinInt;
    QTest::newRow("full-width digits") << "２９．５" << 0;
    QTest::newRow("inf") << "inf" << kMinInt;
    QTest::newRow("nan") << "nan" << kMinInt;
}

void TestCommonModule::textBecomesTheScaledInteger()
{
    QFETCH(QString, text);
    QFETCH(int, scaled);
    CommonModule window;
    typePositions(window, text, text, text, text);
    window.getLocation();
    QCOMPARE(window.loc1().latitude, scaled);
    QCOMPARE(window.loc1().longitude, scaled);
    QCOMPARE(window.loc2().latitude, scaled);
    QCOMPARE(window.loc2().longitude, scaled);
}

void TestCommonModule::distanceAndBearingAreShownWithThreeDecimals()
{
    CommonModule window;
    typePositions(window, "40.6", "-73.8", "51.6", "-0.5");
    press(window, "pushButton_calDIstanc");
    // The published values are 5551759.400 m and 51.198882845579 degrees. The float resolution is half a metre there;
    // bearings have hundredths of a degree.
    QCOMPARE(shown(window, "lineEdit_distance"), QStringLiteral("5551759.500"));
    QCOMPARE(shown(window, "lineEdit_bear"), QStringLiteral("51.200"));
    QVERIFY(window.distance() == 5551759.5);
    QVERIFY(window.bearing() == 51.2);
}

void TestCommonModule::identicalPositionsShowZero()
{
    CommonModule window;
    typePositions(window, "-33.9", "113.9", "-33.9", "113.9");
    press(window, "pushButton_calDIstanc");
    for (const char *name : {"lineEdit_distance", "lineEdit_bear", "lineEdit_OFSNorth", "lineEdit_OFSEast"})
        QCOMPARE(shown(window, name), QStringLiteral("0.000"));
}

void TestCommonModule::differenceIsFilledIntoTheOffsetCalculator()
{
    CommonModule window;
    typePositions(window, "0", "10", "0", "9");
    press(window, "pushButton_calDIstanc");
    // One degree of the equator: 6378137 m * pi / 180 = 111319.490793, as a float 111319.4921875.
    QCOMPARE(shown(window, "lineEdit_OFSNorth"), QStringLiteral("0.000"));
    QCOMPARE(shown(window, "lineEdit_OFSEast"), QStringLiteral("-111319.492"));
    QCOMPARE(shown(window, "lineEdit_bear"), QStringLiteral("270.000"));
    QVERIFY(window.diff().x == 0.0f && window.diff().y == -111319.4921875f);
}

void TestCommonModule::positionsOfTheOffsetGroupAreNotFilledIn()
{
    CommonModule window;
    type(window, "lineEdit_lat1_2", "12");
    typePositions(window, "1", "2", "3", "4");
    press(window, "pushButton_calDIstanc");
    QCOMPARE(shown(window, "lineEdit_lat1_2"), QStringLiteral("12"));
    QVERIFY(shown(window, "lineEdit_long1_2").isEmpty());
    QVERIFY(shown(window, "lineEdit_offsetLat").isEmpty());
}

void TestCommonModule::emptyEditsAreZero()
{
    CommonModule window;
    press(window, "pushButton_calDIstanc");
    QCOMPARE(shown(window, "lineEdit_distance"), QStringLiteral("0.000"));
    press(window, "pushButton_calDIstanc_2");
    QCOMPARE(shown(window, "lineEdit_offsetLng"), QStringLiteral("0.0000000"));
    QCOMPARE(shown(window, "lineEdit_offsetLat"), QStringLiteral("0.0000000"));
    press(window, "pushButton_calVector");
    for (const char *name :
         {"lineEdit_add1", "lineEdit_sub2", "lineEdit_chaji1", "lineEdit_dianji1", "lineEdit_jiaodu"})
        QCOMPARE(shown(window, name), QStringLiteral("0.000"));
}

void TestCommonModule::latitudeBeyondThePoleShowsNan()
{
    CommonModule window;
    typePositions(window, "90.5", "0", "10", "0");
    press(window, "pushButton_calDIstanc");
    QCOMPARE(shown(window, "lineEdit_distance"), QStringLiteral("nan"));
    QCOMPARE(shown(window, "lineEdit_bear"), QStringLiteral("0.000"));
    QCOMPARE(shown(window, "lineEdit_OFSNorth"), QStringLiteral("nan"));
    // NaN values can be entered as the offset; the result is invalid.
    press(window, "pushButton_calDIstanc_2");
    QCOMPARE(shown(window, "lineEdit_offsetLat"), QStringLiteral("-214.7483648"));
}

void TestCommonModule::offsetMovesNorthAndEast()
{
    CommonModule window;
    type(window, "lineEdit_lat1_2", "0");
    type(window, "lineEdit_long1_2", "100");
    type(window, "lineEdit_OFSNorth", "0");
    type(window, "lineEdit_OFSEast", "111319.492");
    press(window, "pushButton_calDIstanc_2");
    QCOMPARE(shown(window, "lineEdit_offsetLat"), QStringLiteral("0.0000000"));
    QCOMPARE(shown(window, "lineEdit_offsetLng"), QStringLiteral("101.0000000"));
    // The meridian from 0 to 1 degree: a (1 - e^2) pi / 180 = 110574.2758 m, plus about 1e-6 of it.
    type(window, "lineEdit_OFSNorth", "110574.3886");
    type(window, "lineEdit_OFSEast", "0");
    press(window, "pushButton_calDIstanc_2");
    QCOMPARE(shown(window, "lineEdit_offsetLat"), QStringLiteral("1.0000000"));
    QCOMPARE(shown(window, "lineEdit_offsetLng"), QStringLiteral("100.0000000"));
}

void TestCommonModule::offsetByTheDifferenceReachesTheSecondPosition()
{
    CommonModule window;
    typePositions(window, "33.9470710", "113.9137801", "34.5", "114.75");
    press(window, "pushButton_calDIstanc");
    type(window, "lineEdit_lat1_2", "33.9470710");
    type(window, "lineEdit_long1_2", "113.9137801");
    press(window, "pushButton_calDIstanc_2");
    // 0.05 m is less than five units in the sixth decimal.
    QVERIFY(qAbs(shown(window, "lineEdit_offsetLat").toDouble() - 34.5) < 5e-7);
    QVERIFY(qAbs(shown(window, "lineEdit_offsetLng").toDouble() - 114.75) < 5e-7);
}

void TestCommonModule::offsetCoordinatesHaveSevenDecimals()
{
    CommonModule window;
    type(window, "lineEdit_lat1_2", "-33.9470711");
    type(window, "lineEdit_long1_2", "-0.0000007");
    press(window, "pushButton_calDIstanc_2");
    QCOMPARE(shown(window, "lineEdit_offsetLat"), QStringLiteral("-33.9470711"));
    QCOMPARE(shown(window, "lineEdit_offsetLng"), QStringLiteral("-0.0000007"));
}

void TestCommonModule::invalidOffsetShowsTheMinimumInteger_data()
{
    QTest::addColumn<QString>("latitude");
    QTest::addColumn<QString>("north");
    QTest::newRow("no number") << "30"
                               << "nan";
    QTest::newRow("infinite") << "30"
                              << "-inf";
    QTest::newRow("latitude beyond the pole") << "90.1"
                                              << "0";
    QTest::newRow("latitude beyond 32 bits") << "1e300"
                                             << "0";
}

void TestCommonModule::invalidOffsetShowsTheMinimumInteger()
{
    QFETCH(QString, latitude);
    QFETCH(QString, north);
    CommonModule window;
    type(window, "lineEdit_lat1_2", latitude);
    type(window, "lineEdit_long1_2", "110");
    type(window, "lineEdit_OFSNorth", north);
    press(window, "pushButton_calDIstanc_2");
    QCOMPARE(shown(window, "lineEdit_offsetLat"), QStringLiteral("-214.7483648"));
    QCOMPARE(shown(window, "lineEdit_offsetLng"), QStringLiteral("-214.7483648"));
}

void TestCommonModule::vectorsAreComputed()
{
    CommonModule window;
    type(window, "lineEdit_a1", "3");
    type(window, "lineEdit_a2", "4");
    type(window, "lineEdit_b1", "-1");
    type(window, "lineEdit_b2", "2.5");
    press(window, "pushButton_calVector");
    QVERIFY(window.a().x == 3.0f && window.a().y == 4.0f);
    QVERIFY(window.b().x == -1.0f && window.b().y == 2.5f);
    QCOMPARE(shown(window, "lineEdit_add1"), QStringLiteral("2.000"));
    QCOMPARE(shown(window, "lineEdit_add2"), QStringLiteral("6.500"));
    QCOMPARE(shown(window, "lineEdit_sub1"), QStringLiteral("4.000"));
    QCOMPARE(shown(window, "lineEdit_sub2"), QStringLiteral("1.500"));
    // 3 * 2.5 + 4 * 1 and -3 + 10. The angle is atan(11.5 / 7) = 58.671 degrees.
    QCOMPARE(shown(window, "lineEdit_chaji1"), QStringLiteral("11.500"));
    QCOMPARE(shown(window, "lineEdit_dianji1"), QStringLiteral("7.000"));
    QCOMPARE(shown(window, "lineEdit_jiaodu"), QStringLiteral("58.671"));
    QVERIFY(window.add().x == 2.0f && window.sub().y == 1.5f);
    QVERIFY(window.cross() == 11.5f && window.dot() == 7.0f);
    QVERIFY(qAbs(window.angle() - 58.671f) < 0.001f);
}

void TestCommonModule::invalidVectorTextIsZero_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("word") << "east";
    QTest::newRow("comma") << "1,5";
    QTest::newRow("two numbers") << "1 2";
}

void TestCommonModule::invalidVectorTextIsZero()
{
    QFETCH(QString, text);
    CommonModule window;
    type(window, "lineEdit_a1", text);
    type(window, "lineEdit_a2", "2");
    type(window, "lineEdit_b1", "5");
    type(window, "lineEdit_b2", text);
    press(window, "pushButton_calVector");
    QVERIFY(window.a().x == 0.0f && window.a().y == 2.0f);
    QVERIFY(window.b().x == 5.0f && window.b().y == 0.0f);
    QCOMPARE(shown(window, "lineEdit_jiaodu"), QStringLiteral("90.000"));
}

void TestCommonModule::vectorsWithoutLengthHaveNoAngle()
{
    CommonModule window;
    type(window, "lineEdit_b1", "-5");
    press(window, "pushButton_calVector");
    QCOMPARE(shown(window, "lineEdit_jiaodu"), QStringLiteral("0.000"));
}

void TestCommonModule::infiniteVectorsShowTheirResults()
{
    CommonModule window;
    type(window, "lineEdit_a1", "inf");
    type(window, "lineEdit_b1", "nan");
    type(window, "lineEdit_b2", "1");
    press(window, "pushButton_calVector");
    QCOMPARE(shown(window, "lineEdit_add1"), QStringLiteral("nan"));
    QCOMPARE(shown(window, "lineEdit_add2"), QStringLiteral("1.000"));
    QCOMPARE(shown(window, "lineEdit_chaji1"), QStringLiteral("nan"));
    type(window, "lineEdit_b1", "1");
    press(window, "pushButton_calVector");
    QCOMPARE(shown(window, "lineEdit_sub1"), QStringLiteral("inf"));
    QCOMPARE(shown(window, "lineEdit_chaji1"), QStringLiteral("inf"));
}

void TestCommonModule::resultsAreKeptUntilTheNextPress()
{
    CommonModule window;
    type(window, "lineEdit_a1", "3");
    press(window, "pushButton_calVector");
    type(window, "lineEdit_a1", "7");
    QCOMPARE(shown(window, "lineEdit_add1"), QStringLiteral("3.000"));
    QVERIFY(window.add().x == 3.0f);
    press(window, "pushButton_calDIstanc");
    QCOMPARE(shown(window, "lineEdit_add1"), QStringLiteral("3.000"));
    press(window, "pushButton_calVector");
    QCOMPARE(shown(window, "lineEdit_add1"), QStringLiteral("7.000"));
}

QTEST_MAIN(TestCommonModule)
#include "TestCommonModule.moc"
