#include "XlsxColor.h"

#include <QColor>
#include <QTest>

using QXlsx::Color;

class TestXlsxColor : public QObject
{
    Q_OBJECT

private slots:
    void isInvalidByDefault();
    void namedColoursAreThoseOfQt_data();
    void namedColoursAreThoseOfQt();
    void takesAColorOfQtAndLeavesItsOpacity();
    void invalidColorIsNone();
    void blackIsNotNone();
};

void TestXlsxColor::isInvalidByDefault()
{
    QVERIFY(!Color().isValid());
    QCOMPARE(Color().rgb(), 0U);
    QCOMPARE(Color().name(), QStringLiteral("#000000"));
}

void TestXlsxColor::namedColoursAreThoseOfQt_data()
{
    QTest::addColumn<int>("name");
    for (int name = Qt::color0; name < Qt::transparent; ++name)
        QTest::addRow("%d", name) << name;
}

void TestXlsxColor::namedColoursAreThoseOfQt()
{
    QFETCH(int, name);
    const auto color = static_cast<Qt::GlobalColor>(name);
    QVERIFY(Color(color).isValid());
    QCOMPARE(Color(color).name(), QColor(color).name());
    QVERIFY(Color(color) == QColor(color));
}

void TestXlsxColor::takesAColorOfQtAndLeavesItsOpacity()
{
    QCOMPARE(Color(QColor(0x12, 0xAB, 0x05, 0x80)).rgb(), 0x12AB05U);
    QCOMPARE(Color(0xFF12AB05U).name(), QStringLiteral("#12ab05"));
}

void TestXlsxColor::invalidColorIsNone()
{
    QVERIFY(!Color(QColor()).isValid());
    QVERIFY(Color(QColor()) == Color());
    QVERIFY(!Color(Qt::transparent).isValid());
}

void TestXlsxColor::blackIsNotNone()
{
    QVERIFY(Color(Qt::black).isValid());
    QVERIFY(Color(Qt::black) != Color());
    QVERIFY(Color(0U).isValid());
}

QTEST_GUILESS_MAIN(TestXlsxColor)
#include "TestXlsxColor.moc"
