#include "Fixture.h"
#include "MapWidget.h"
#include "MetaMethods.h"
#include "ModalAnswer.h"
#include "RecordingEngine.h"
#include "WebWidget.h"
#include "ui_MapWidget.h"

#include <QBoxLayout>
#include <QDesktopServices>
#include <QGroupBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QResizeEvent>
#include <QTest>
#include <QUrl>
#include <limits>

namespace
{

struct Button {
    const char *object;
    const char *english;
    const char *chinese;
};

constexpr Button kButtons[] = {
    {"btn_callWmts", "CallWMTS", "启功WMTS"},
    {"pushButton", "DrawUavTrace", "画无人机航迹"},
    {"btn_enableRoutes", "EnableRoutesLine", "航线使能"},
    {"btn_measureDis", "measureDis", "测距"},
    {"btn_clear", "ClearAllLines", "清除所有航线"},
    {"btn_browser", "OpenInBrowser", "在浏览器中打开"},
};

constexpr char kLat[] = "纬度(Latitude)";
constexpr char kLng[] = "经度(Longitude)";

void press(const MapWidget &map, const char *object)
{
    QTest::mouseClick(map.findChild<QPushButton *>(object), Qt::LeftButton);
}

/** The scripts that the page received, without the view's name. */
QStringList scripts()
{
    QStringList result;
    for (const QString &call : recording::engine().calls) {
        if (call.startsWith("run "))
            result.append(call.section(' ', 2));
    }
    recording::engine().calls.clear();
    return result;
}

/** Replaces the system's browser. */
class UrlHandler : public QObject
{
    Q_OBJECT

public:
    UrlHandler() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~UrlHandler() override { QDesktopServices::unsetUrlHandler("file"); }

    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened.append(url); }
};

} // namespace

class TestMapWidget : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_fixture.reset(); }

    void declaresItsSignalAndSlotsInOrder();
    void formHasItsButtonsFromTopToBottom_data();
    void formHasItsButtonsFromTopToBottom();
    void formHasItsInitialSize();
    void opensMaximisedAndModalWithThePage();
    void engineIsLoadedBeforeItsWindowIsMade();
    void missingEngineIsShownInTheMapArea();
    void trackIsSentAsLatitudeLongitudePairs();
    void trackTextIsTheIndentedArray();
    void emptyStoreSendsAnEmptyArray();
    void everyClickSendsTheWholeTrack();
    void nanAndInfinityAreSentAsNull();
    void latitudesMayBeFewerThanLongitudes();
    void switchingOneModeOnClearsTheFlagOfTheOther();
    void secondClickSwitchesAModeOff();
    void clearSendsNoArgument();
    void onePointIsSentWithSwappedArguments_data();
    void onePointIsSentWithSwappedArguments();
    void otherPageCallsAreForwarded();
    void tileServiceButtonStartsOrReports();
    void browserOpensThePageAsALocalFile();
    void doubleClickMaximises();
    void pressAndResizeEventsAreNotPassedOn();
    void secondDialogHasItsOwnWindowAndFlags();
    void destructorShutsTheEngineDownOnce();
    void closingKeepsTheDialog();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestMapWidget::init()
{
    m_fixture = std::make_unique<Fixture>();
    recording::install();
}

void TestMapWidget::declaresItsSignalAndSlotsInOrder()
{
    QCOMPARE(ownMethods(MapWidget::staticMetaObject),
             QStringList({"signal doSendMessage(QString)", "slot onWebSocketClosed()", "slot on_btn_callWmts_clicked()",
                          "slot on_pushButton_clicked()", "slot on_btn_enableRoutes_clicked()",
                          "slot on_btn_measureDis_clicked()", "slot on_btn_clear_clicked()",
                          "slot on_btn_browser_clicked()"}));
}

void TestMapWidget::formHasItsButtonsFromTopToBottom_data()
{
    QTest::addColumn<bool>("translated");
    QTest::newRow("Chinese") << true;
    QTest::newRow("English") << false;
}

void TestMapWidget::formHasItsButtonsFromTopToBottom()
{
    QFETCH(bool, translated);
    if (!translated) {
        m_fixture.reset();
        m_fixture = std::make_unique<Fixture>(Fixture::Catalogue::Missing);
    }
    const MapWidget map(nullptr);
    QCoreApplication::processEvents();
    QCOMPARE(map.objectName(), QString("MapWidget"));
    QCOMPARE(map.windowTitle(), QString("Form"));
    auto *const box = map.findChild<QGroupBox *>("groupBox");
    QCOMPARE(box->title(), translated ? QString("控制") : QString("GroupBox"));
    int y = 0;
    for (const Button &row : kButtons) {
        auto *const button = box->findChild<QPushButton *>(row.object);
        QVERIFY2(button, row.object);
        QCOMPARE(button->text(), QString::fromUtf8(translated ? row.chinese : row.english));
        QVERIFY(button->y() > y);
        y = button->y();
    }
    auto *const place = map.findChild<QVBoxLayout *>("verticalLayout");
    QCOMPARE(place->count(), 1);
    QCOMPARE(place->contentsMargins(), QMargins());
    QCOMPARE(place->spacing(), 0);
    auto *const web = qobject_cast<WebWidget *>(place->itemAt(0)->widget());
    QVERIFY(web);
    QVERIFY(web->mapTo(&map, QPoint()).x() + web->width() <= box->mapTo(&map, QPoint()).x());
    QVERIFY(web->width() > box->width());
}

void TestMapWidget::formHasItsInitialSize()
{
    QDialog dialog;
    Ui::MapWidget form;
    form.setupUi(&dialog);
    QCOMPARE(dialog.size(), QSize(1386, 1030));
}

void TestMapWidget::opensMaximisedAndModalWithThePage()
{
    const MapWidget map(nullptr);
    QVERIFY(map.isVisible());
    QVERIFY(map.isMaximized());
    QCOMPARE(QApplication::activeModalWidget(), &map);
    QCOMPARE(recording::engine().url, m_fixture->applicationPath("Leaflet/demo.html").toUtf8());
    QCOMPARE(recording::engine().parent, reinterpret_cast<WkeWindow>(map.winId()));
    QVERIFY(!map.drawRoutesEnabled());
    QVERIFY(!map.measureEnabled());
}

void TestMapWidget::engineIsLoadedBeforeItsWindowIsMade()
{
    const MapWidget map(nullptr);
    QCOMPARE(QString::fromWCharArray(wkeDllPath), QString("node.dll"));
    QCOMPARE(recording::engine().calls.value(0), QString("initialize"));
    QVERIFY(recording::engine().calls.value(1).startsWith("create 2 0 0 "));
    QCOMPARE(recording::engine().calls.value(2), QString("show view1 1"));
    QCOMPARE(recording::engine().calls.value(3), QString("load view1 "));
}

void TestMapWidget::missingEngineIsShownInTheMapArea()
{
    wkeDllHandle = nullptr;
    MapWidget map(nullptr);
    QCoreApplication::processEvents();
    auto *const label = map.findChild<QLabel *>("label_noWebEngine");
    QVERIFY(label);
    QVERIFY(label->isVisible());
    QVERIFY2(label->text().contains("缺少网页引擎"), qPrintable(label->text()));
    for (const char *object : {"pushButton", "btn_enableRoutes", "btn_measureDis", "btn_clear"})
        press(map, object);
    map.addOnePoint(1, 2);
}

void TestMapWidget::trackIsSentAsLatitudeLongitudePairs()
{
    setSamples(kLat, {34.5, 34.25, 0, -91});
    setSamples(kLng, {113.5, 113.75, 0, 181});
    const MapWidget map(nullptr);
    press(map, "pushButton");
    const QStringList sent = scripts();
    QCOMPARE(sent.size(), 1);
    QVERIFY(sent[0].startsWith("addRoutes(["));
    QVERIFY(sent[0].endsWith(");"));
    const QByteArray argument = sent[0].mid(10, sent[0].size() - 12).toUtf8();
    QCOMPARE(QJsonDocument::fromJson(argument).array(), QJsonArray({34.5, 113.5, 34.25, 113.75, 0, 0, -91, 181}));
}

void TestMapWidget::trackTextIsTheIndentedArray()
{
    setSamples(kLat, {33.9470712});
    setSamples(kLng, {113.9137801});
    const MapWidget map(nullptr);
    press(map, "pushButton");
    QCOMPARE(scripts(), QStringList({"addRoutes([\n    33.9470712,\n    113.9137801\n]\n);"}));
}

void TestMapWidget::emptyStoreSendsAnEmptyArray()
{
    const MapWidget map(nullptr);
    press(map, "pushButton");
    QCOMPARE(scripts(), QStringList({"addRoutes([\n]\n);"}));
}

void TestMapWidget::everyClickSendsTheWholeTrack()
{
    setSamples(kLat, {1, 2});
    setSamples(kLng, {3, 4});
    const MapWidget map(nullptr);
    press(map, "pushButton");
    press(map, "pushButton");
    const QString text = "addRoutes([\n    1,\n    3,\n    2,\n    4\n]\n);";
    QCOMPARE(scripts(), QStringList({text, text}));
}

void TestMapWidget::nanAndInfinityAreSentAsNull()
{
    setSamples(kLat, {qQNaN(), 1});
    setSamples(kLng, {2, std::numeric_limits<double>::infinity()});
    const MapWidget map(nullptr);
    press(map, "pushButton");
    QCOMPARE(scripts(), QStringList({"addRoutes([\n    null,\n    2,\n    1,\n    null\n]\n);"}));
}

void TestMapWidget::latitudesMayBeFewerThanLongitudes()
{
    setSamples(kLat, {1});
    setSamples(kLng, {2, 3});
    const MapWidget map(nullptr);
    press(map, "pushButton");
    QCOMPARE(scripts(), QStringList({"addRoutes([\n    1,\n    2,\n    null,\n    3\n]\n);"}));
}

void TestMapWidget::switchingOneModeOnClearsTheFlagOfTheOther()
{
    const MapWidget map(nullptr);
    press(map, "btn_enableRoutes");
    QVERIFY(map.drawRoutesEnabled() && !map.measureEnabled());
    press(map, "btn_measureDis");
    QVERIFY(!map.drawRoutesEnabled() && map.measureEnabled());
    press(map, "btn_enableRoutes");
    QVERIFY(map.drawRoutesEnabled() && !map.measureEnabled());
    press(map, "btn_measureDis");
    QCOMPARE(
        scripts(),
        QStringList({"enableDrawLines(1);", "enableMeasureDis(1);", "enableDrawLines(1);", "enableMeasureDis(1);"}));
}

void TestMapWidget::secondClickSwitchesAModeOff()
{
    const MapWidget map(nullptr);
    for (const char *object : {"btn_enableRoutes", "btn_measureDis"}) {
        press(map, object);
        press(map, object);
        QVERIFY(!map.drawRoutesEnabled() && !map.measureEnabled());
    }
    QCOMPARE(
        scripts(),
        QStringList({"enableDrawLines(1);", "enableDrawLines(0);", "enableMeasureDis(1);", "enableMeasureDis(0);"}));
}

void TestMapWidget::clearSendsNoArgument()
{
    const MapWidget map(nullptr);
    press(map, "btn_enableRoutes");
    press(map, "btn_clear");
    QVERIFY(map.drawRoutesEnabled());
    QCOMPARE(scripts(), QStringList({"enableDrawLines(1);", "clearAllLine();"}));
}

void TestMapWidget::onePointIsSentWithSwappedArguments_data()
{
    QTest::addColumn<double>("first");
    QTest::addColumn<double>("second");
    QTest::addColumn<QString>("script");
    QTest::newRow("longitude, latitude") << 106.567 << 29.1234 << "addOnePoint(29.1234,106.567)";
    QTest::newRow("six digits") << 113.9137801 << -33.9470712 << "addOnePoint(-33.9471,113.914)";
    QTest::newRow("no numbers") << qQNaN() << qInf() << "addOnePoint(inf,nan)";
    QTest::newRow("large and small") << 12345678.0 << 0.00001234 << "addOnePoint(1.234e-05,1.23457e+07)";
}

void TestMapWidget::onePointIsSentWithSwappedArguments()
{
    QFETCH(double, first);
    QFETCH(double, second);
    QFETCH(QString, script);
    MapWidget map(nullptr);
    map.addOnePoint(first, second);
    QCOMPARE(scripts(), QStringList({script}));
}

void TestMapWidget::otherPageCallsAreForwarded()
{
    MapWidget map(nullptr);
    map.runJs("f", "1, 2");
    map.onWebSocketClosed();
    QCOMPARE(scripts(), QStringList({"f(1, 2);"}));
}

void TestMapWidget::tileServiceButtonStartsOrReports()
{
    QFile::remove(m_fixture->applicationPath("wmts.exe"));
    const MapWidget map(nullptr);
    ModalAnswer answer;
    answer.next([](QDialog *dialog) {
        auto *const box = qobject_cast<QMessageBox *>(dialog);
        QVERIFY(box);
        QCOMPARE(box->text(), QString("wmts doesnot exists"));
    });
    press(map, "btn_callWmts");
    QVERIFY(answer.allAnswered());
    QCOMPARE(scripts(), QStringList());
}

void TestMapWidget::browserOpensThePageAsALocalFile()
{
    UrlHandler handler;
    const MapWidget map(nullptr);
    press(map, "btn_browser");
    QCOMPARE(handler.opened, QList<QUrl>({QUrl::fromLocalFile(m_fixture->applicationPath("Leaflet/demo.html"))}));
    QCOMPARE(scripts(), QStringList());
}

void TestMapWidget::doubleClickMaximises()
{
    MapWidget map(nullptr);
    map.showNormal();
    QVERIFY(!map.isMaximized());
    QTest::mouseDClick(&map, Qt::LeftButton, {}, QPoint(2, 2));
    QVERIFY(map.isMaximized());
    QTest::mouseDClick(&map, Qt::LeftButton, {}, QPoint(2, 2));
    QVERIFY(map.isMaximized());
}

void TestMapWidget::pressAndResizeEventsAreNotPassedOn()
{
    MapWidget map(nullptr);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(2, 2), Qt::LeftButton, Qt::LeftButton, {});
    QApplication::sendEvent(&map, &press);
    QVERIFY(press.isAccepted());
    QResizeEvent resize(QSize(800, 600), QSize(10, 10));
    QApplication::sendEvent(&map, &resize);
    QVERIFY(!resize.isAccepted());
    // The layout still resizes the web widget.
    auto *const web = map.findChild<WebWidget *>();
    map.showNormal();
    map.resize(900, 700);
    QTRY_VERIFY(web->height() > 600 && web->height() <= 700);
    map.resize(1000, 500);
    QTRY_VERIFY(web->height() > 400 && web->height() <= 500);
}

void TestMapWidget::secondDialogHasItsOwnWindowAndFlags()
{
    QWidget parent;
    auto *const first = new MapWidget(&parent);
    press(*first, "btn_enableRoutes");
    first->close();
    auto *const second = new MapWidget(&parent);
    QVERIFY(!second->drawRoutesEnabled());
    QCOMPARE(recording::engine().windows, 2);
    QCOMPARE(recording::engine().initialized, 2);
    press(*second, "btn_clear");
    QVERIFY(recording::engine().calls.contains("run view2 clearAllLine();"));
}

void TestMapWidget::destructorShutsTheEngineDownOnce()
{
    auto map = std::make_unique<MapWidget>(nullptr);
    QCOMPARE(recording::engine().finalized, 0);
    map.reset();
    QCOMPARE(recording::engine().finalized, 1);
}

void TestMapWidget::closingKeepsTheDialog()
{
    QWidget parent;
    auto *const map = new MapWidget(&parent);
    QTimer::singleShot(0, map, &QDialog::reject);
    QCOMPARE(map->exec(), int(QDialog::Rejected));
    QCOMPARE(parent.findChildren<MapWidget *>(), QList<MapWidget *>({map}));
    QCOMPARE(recording::engine().finalized, 0);
}

QTEST_MAIN(TestMapWidget)
#include "TestMapWidget.moc"
