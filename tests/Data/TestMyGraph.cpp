#include "ChannelStore.h"
#include "Fixture.h"
#include "MyGraph.h"

#include <QTest>
#include <QVector>

#include <type_traits>

namespace
{

// Expected properties of the channels of a triad. The names are the catalogue's texts, as in the store.
struct Named {
    const char *source; // text before translation
    const char *label;
    int role;
    const char *diff;
    const char *target;
    const char *actual;
    QRgb color;
};

const Named kNamed[] = {
    {"Roll", "横滚", 0, "横滚差值", "目标横滚", "", qRgb(255, 255, 0)},
    {"Pitch", "俯仰", 0, "俯仰差值", "目标俯仰", "", qRgb(0, 255, 0)},
    {"Yaw", "航向", 0, "航向差值", "目标航向", "", qRgb(37, 190, 255)},
    {"IndicatedAirspeed", "指示空速", 0, "速度差值", "目标速度", "", qRgb(255, 130, 0)},
    {"RelativeHeight", "相对高度", 0, "高度差值", "目标高度", "", qRgb(255, 103, 0)},
    {"RollDiff", "横滚差值", 2, "", "目标横滚", "横滚", qRgb(1, 2, 3)},
    {"PitchDiff", "俯仰差值", 2, "", "目标俯仰", "俯仰", qRgb(1, 2, 3)},
    {"YawDiff", "航向差值", 2, "", "目标航向", "航向", qRgb(1, 2, 3)},
    {"SpeedDiff", "速度差值", 2, "", "目标速度", "指示空速", qRgb(1, 2, 3)},
    {"HeightDiff", "高度差值", 2, "", "目标高度", "相对高度", qRgb(1, 2, 3)},
    {"TargetRoll", "目标横滚", 1, "横滚差值", "", "横滚", qRgb(55, 200, 155)},
    {"TargetPitch", "目标俯仰", 1, "俯仰差值", "", "俯仰", qRgb(255, 0, 255)},
    {"TargetYaw", "目标航向", 1, "航向差值", "", "航向", qRgb(255, 114, 121)},
    {"TargetSpeed", "目标速度", 1, "速度差值", "", "指示空速", qRgb(0, 250, 255)},
    {"TargetHeight", "目标高度", 1, "高度差值", "", "相对高度", qRgb(198, 255, 46)},
};

} // namespace

class TestMyGraph : public QObject
{
    Q_OBJECT

private slots:
    void startsEmptyAndHidden();
    void intervalIsTakenFromTheStore();
    void triadNamesSetRolePartnersAndColour_data();
    void triadNamesSetRolePartnersAndColour();
    void sourceTextsAreOrdinaryWithTheCatalogue();
    void labelsAreOrdinaryWithoutTheCatalogue_data();
    void labelsAreOrdinaryWithoutTheCatalogue();
    void sourceTextsAreTriadNamesWithoutTheCatalogue_data();
    void sourceTextsAreTriadNamesWithoutTheCatalogue();
    void otherNamesAreOrdinary_data();
    void otherNamesAreOrdinary();
    void ordinaryColourIsRandomWithComponentsBelow255();
    void secondCanvasCodesUseTargetColour_data();
    void secondCanvasCodesUseTargetColour();
    void defaultColourIsUnusedInTheStore();
    void samplesAreReturnedByReference();
    void everyFieldHasItsSetter();
    void isNoQObject();
};

void TestMyGraph::startsEmptyAndHidden()
{
    const Fixture fixture;
    const MyGraph graph(QStringLiteral("x"), 7, 0x04);
    QVERIFY(graph.yvalue().isEmpty());
    QVERIFY(graph.xvalue().isEmpty());
    QCOMPARE(graph.graphName(), QStringLiteral("x"));
    QCOMPARE(int(graph.planeId()), 7);
    QCOMPARE(int(graph.functionCode()), 0x04);
    QCOMPARE(graph.width(), 1);
    QCOMPARE(graph.style(), int(Qt::SolidLine));
    QCOMPARE(graph.style(), 1);
    QCOMPARE(graph.shown(), false);
}

void TestMyGraph::intervalIsTakenFromTheStore()
{
    const Fixture fixture;
    QCOMPARE(MyGraph(QStringLiteral("x"), 0, 0x04).interval(), 200);
    sampleInterval = 40;
    QCOMPARE(MyGraph(QStringLiteral("x"), 0, 0x04).interval(), 40);
}

void TestMyGraph::triadNamesSetRolePartnersAndColour_data()
{
    QTest::addColumn<int>("position");
    for (int i = 0; i < int(std::size(kNamed)); ++i)
        QTest::newRow(kNamed[i].source) << i;
}

void TestMyGraph::triadNamesSetRolePartnersAndColour()
{
    const Fixture fixture;
    QFETCH(int, position);
    const Named &named = kNamed[position];
    defaultColor = QColor(1, 2, 3);

    // A code of the first canvas keeps the colour of the table.
    const MyGraph graph(QString::fromUtf8(named.label), 0, 0x03);
    QCOMPARE(graph.role(), named.role);
    QCOMPARE(graph.diffName(), QString::fromUtf8(named.diff));
    QCOMPARE(graph.targetName(), QString::fromUtf8(named.target));
    QCOMPARE(graph.actualName(), QString::fromUtf8(named.actual));
    QCOMPARE(graph.color().rgba(), named.color);
    QCOMPARE(graph.position(), 0);
}

void TestMyGraph::sourceTextsAreOrdinaryWithTheCatalogue()
{
    const Fixture fixture;
    for (const Named &named : kNamed) {
        const MyGraph graph(QString::fromUtf8(named.source), 0, 0x03);
        QCOMPARE(graph.role(), 3);
        QVERIFY(graph.diffName().isEmpty() && graph.targetName().isEmpty() && graph.actualName().isEmpty());
    }
}

void TestMyGraph::labelsAreOrdinaryWithoutTheCatalogue_data()
{
    triadNamesSetRolePartnersAndColour_data();
}

void TestMyGraph::labelsAreOrdinaryWithoutTheCatalogue()
{
    const Fixture fixture(Fixture::Catalogue::Missing);
    QFETCH(int, position);
    const MyGraph graph(QString::fromUtf8(kNamed[position].label), 0, 0x03);
    QCOMPARE(graph.role(), 3);
    QVERIFY(graph.diffName().isEmpty() && graph.targetName().isEmpty() && graph.actualName().isEmpty());
}

void TestMyGraph::sourceTextsAreTriadNamesWithoutTheCatalogue_data()
{
    triadNamesSetRolePartnersAndColour_data();
}

void TestMyGraph::sourceTextsAreTriadNamesWithoutTheCatalogue()
{
    const Fixture fixture(Fixture::Catalogue::Missing);
    QFETCH(int, position);
    const Named &named = kNamed[position];
    const auto untranslated = [](const char *label) {
        for (const Named &other : kNamed) {
            if (qstrcmp(other.label, label) == 0)
                return QString::fromLatin1(other.source);
        }
        return QString();
    };
    const MyGraph graph(QString::fromLatin1(named.source), 0, 0x03);
    QCOMPARE(graph.role(), named.role);
    QCOMPARE(graph.diffName(), untranslated(named.diff));
    QCOMPARE(graph.targetName(), untranslated(named.target));
    QCOMPARE(graph.actualName(), untranslated(named.actual));
}

void TestMyGraph::otherNamesAreOrdinary_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("empty") << QString();
    QTest::newRow("a label without a triad") << QStringLiteral("地速");
    QTest::newRow("a label with a trailing blank") << QStringLiteral("横滚 ");
    QTest::newRow("the true airspeed") << QStringLiteral("真空速");
}

void TestMyGraph::otherNamesAreOrdinary()
{
    const Fixture fixture;
    QFETCH(QString, name);
    const MyGraph graph(name, 0, 0x03);
    QCOMPARE(graph.role(), 3);
    QVERIFY(graph.diffName().isEmpty() && graph.targetName().isEmpty() && graph.actualName().isEmpty());
    QCOMPARE(graph.color().alpha(), 255);
}

void TestMyGraph::ordinaryColourIsRandomWithComponentsBelow255()
{
    const Fixture fixture;
    // The probability that 20000 colours miss one of 255 values is about 255 * exp(-78). Two equal colours in a row
    // have a probability of 1e-7.
    QVector<int> seen(256);
    QColor before;
    int changes = 0;
    for (int i = 0; i < 20000; ++i) {
        const QColor color = MyGraph(QStringLiteral("x"), 0, 0x03).color();
        QCOMPARE(color.alpha(), 255);
        for (const int part : {color.red(), color.green(), color.blue()})
            ++seen[part];
        changes += color != before ? 1 : 0;
        before = color;
    }
    QCOMPARE(seen[255], 0);
    for (int value = 0; value < 255; ++value)
        QVERIFY2(seen[value] > 0, qPrintable(QString::number(value)));
    QVERIFY(changes > 19990);
}

void TestMyGraph::secondCanvasCodesUseTargetColour_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("canvas");
    for (const int code : {0x01, 0x51, 0x53})
        QTest::addRow("0x%02x", code) << code << 1;
    for (const int code : {0x00, 0x02, 0x03, 0x04, 0x05, 0x10, 0x41, 0x52, 0xFF})
        QTest::addRow("0x%02x", code) << code << 0;
}

void TestMyGraph::secondCanvasCodesUseTargetColour()
{
    const Fixture fixture;
    QFETCH(int, code);
    QFETCH(int, canvas);
    targetColor = QColor(9, 8, 7);
    const MyGraph roll(QStringLiteral("横滚"), 0, quint8(code));
    QCOMPARE(roll.position(), canvas);
    QCOMPARE(roll.color(), canvas == 1 ? QColor(9, 8, 7) : QColor(255, 255, 0));
    // The role still depends on the name.
    QCOMPARE(roll.role(), 0);
}

void TestMyGraph::defaultColourIsUnusedInTheStore()
{
    const Fixture fixture;
    // Random components are below 255, and no fixed colour has these values.
    defaultColor = QColor(255, 255, 254);
    targetColor = QColor(255, 254, 255);
    Fixture::renewStore();
    for (const ChannelGroup &group : channelGroups()) {
        const bool second = group.code == 0x01 || group.code == 0x51 || group.code == 0x53;
        for (const MyGraph *graph : group) {
            QVERIFY(graph->color() != defaultColor);
            QCOMPARE(graph->color() == targetColor, second);
            QCOMPARE(graph->position(), second ? 1 : 0);
        }
    }
}

void TestMyGraph::samplesAreReturnedByReference()
{
    const Fixture fixture;
    MyGraph graph(QStringLiteral("x"), 0, 0x03);
    graph.yvalue().append(1.5);
    graph.xvalue() = {10.0, 11.0};
    QCOMPARE(graph.yvalue(), (QVector<double>{1.5}));
    QCOMPARE(graph.xvalue(), (QVector<double>{10.0, 11.0}));
    // Reading must not detach a shared series.
    const QVector<double> shared(1000, 2.0);
    graph.setYvalue(shared);
    QVERIFY(std::as_const(graph).yvalue().constData() == shared.constData());
}

void TestMyGraph::everyFieldHasItsSetter()
{
    const Fixture fixture;
    MyGraph graph(QStringLiteral("x"), 0, 0x03);
    graph.setXvalue({1.0});
    graph.setRole(2);
    graph.setGraphName(QStringLiteral("y"));
    graph.setPlaneId(200);
    graph.setFunctionCode(0x41);
    graph.setPosition(1);
    graph.setGraphIndex(5);
    graph.setInterval(50);
    graph.setColor(Qt::cyan);
    graph.setWidth(3);
    graph.setStyle(Qt::DashLine);
    graph.setShown(true);
    graph.setDiffName(QStringLiteral("d"));
    graph.setTargetName(QStringLiteral("t"));
    graph.setActualName(QStringLiteral("a"));
    QCOMPARE(graph.xvalue(), (QVector<double>{1.0}));
    QCOMPARE(graph.role(), 2);
    QCOMPARE(graph.graphName(), QStringLiteral("y"));
    QCOMPARE(int(graph.planeId()), 200);
    QCOMPARE(int(graph.functionCode()), 0x41);
    QCOMPARE(graph.position(), 1);
    QCOMPARE(graph.graphIndex(), 5);
    QCOMPARE(graph.interval(), 50);
    QCOMPARE(graph.color(), QColor(Qt::cyan));
    QCOMPARE(graph.width(), 3);
    QCOMPARE(graph.style(), int(Qt::DashLine));
    QCOMPARE(graph.shown(), true);
    QCOMPARE(graph.diffName(), QStringLiteral("d"));
    QCOMPARE(graph.targetName(), QStringLiteral("t"));
    QCOMPARE(graph.actualName(), QStringLiteral("a"));
}

void TestMyGraph::isNoQObject()
{
    QVERIFY(!std::is_polymorphic<MyGraph>::value);
    QVERIFY(!(std::is_base_of<QObject, MyGraph>::value));
}

QTEST_GUILESS_MAIN(TestMyGraph)
#include "TestMyGraph.moc"
