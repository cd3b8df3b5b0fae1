#include "XlsxColumnWidths.h"

#include <QTest>

#include <cmath>
#include <limits>

using QXlsx::columnWidths;
using QXlsx::Format;
using QXlsx::XlsxCells;

namespace
{

/** The width of so many digits at 11 points: a digit has 7 pixels, and 7 pixels are free around them. */
int widthOf(double columns, int points = 11)
{
    return std::max(9, int(std::ceil((columns * points * 7.0 / 11.0 + 7.0) / 7.0 - 1e-9)));
}

Format sized(int points)
{
    Format format;
    format.setFontSize(points);
    return format;
}

} // namespace

class TestXlsxColumnWidths : public QObject
{
    Q_OBJECT

private slots:
    void numbersAreAsWideAsTheyAreShown_data();
    void numbersAreAsWideAsTheyAreShown();
    void chineseCharacterCountsAsTwoColumns_data();
    void chineseCharacterCountsAsTwoColumns();
    void widestCellOfAColumnCounts();
    void columnsWithoutCellsHaveNoWidth();
    void largerFontIsWider();
    void noSheetHasNoWidths();
    void cancelEndsSoon();
};

void TestXlsxColumnWidths::numbersAreAsWideAsTheyAreShown_data()
{
    QTest::addColumn<QVector<double>>("numbers");
    QTest::addColumn<int>("characters");
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("short ones have the common width") << QVector<double>{1, 22, 333} << 3;
    QTest::newRow("whole") << QVector<double>{1, 12345678901.0, 2} << 11;
    QTest::newRow("negative whole") << QVector<double>{-12345678901.0, 1} << 12;
    QTest::newRow("powers of ten") << QVector<double>{9999999999.0, 10000000000.0} << 11;
    QTest::newRow("fraction") << QVector<double>{113.9137801234567} << 12;
    QTest::newRow("negative fraction") << QVector<double>{5, -113.9137801234567} << 13;
    QTest::newRow("more digits than are shown") << QVector<double>{1e300, 1e11} << 12;
    QTest::newRow("error") << QVector<double>{infinity, std::nan("")} << 7;
    QTest::newRow("error beside longer numbers") << QVector<double>{infinity, 12345678901.0} << 11;
}

void TestXlsxColumnWidths::numbersAreAsWideAsTheyAreShown()
{
    QFETCH(QVector<double>, numbers);
    QFETCH(int, characters);
    XlsxCells cells;
    for (int i = 0; i < numbers.size(); ++i)
        cells.setNumber(i + 1, 1, numbers.at(i), 0);
    QCOMPARE(columnWidths(cells, {Format()}, {}), (QVector<int>{0, widthOf(characters)}));
}

void TestXlsxColumnWidths::chineseCharacterCountsAsTwoColumns_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::newRow("letters") << QString(20, 'W') << 20;
    QTest::newRow("Chinese") << QString(20, QChar(0x98de)) << 40;
    QTest::newRow("both") << QStringLiteral("0x03 姿态位置信息 (deg)") << 5 + 12 + 6;
    QTest::newRow("full-width brackets") << QString(20, QChar(0xff08)) << 40;
    QTest::newRow("beyond the first plane") << QString::fromUtf8("\xf0\xa0\x80\x80").repeated(10) << 20;
    QTest::newRow("longest of its lines") << QStringLiteral("a\n%1\nbb").arg(QString(30, 'c')) << 30;
}

void TestXlsxColumnWidths::chineseCharacterCountsAsTwoColumns()
{
    QFETCH(QString, text);
    QFETCH(int, columns);
    XlsxCells cells;
    cells.setText(1, 1, text, 0);
    // At 12 points a Chinese character has 16 pixels; another character counts 8.
    const int width = columnWidths(cells, {sized(12)}, {}).at(1);
    QCOMPARE(width, int(std::ceil((columns * 8 + 7) / 7.0)));
    QVERIFY(width >= columns);
}

void TestXlsxColumnWidths::widestCellOfAColumnCounts()
{
    XlsxCells cells;
    cells.setText(1, 1, QString(30, 'a'), 0);
    cells.setNumber(2, 1, 0.5, 0);
    cells.setText(1, 2, QStringLiteral("a"), 0);
    cells.setNumber(100000, 2, 0.5, 0);
    cells.setBlank(1, 3, 0);
    const QVector<int> widths = columnWidths(cells, {Format()}, {});
    QCOMPARE(widths.at(1), int(std::ceil((30 * 11 * 2 / 3.0 + 7) / 7)));
    QCOMPARE(widths.at(2), widthOf(12));
}

void TestXlsxColumnWidths::columnsWithoutCellsHaveNoWidth()
{
    XlsxCells cells;
    cells.setNumber(1, 2, 1, 0);
    cells.setNumber(1, 5, 1, 0);
    QCOMPARE(columnWidths(cells, {Format()}, {}), (QVector<int>{0, 0, 9, 0, 0, 9}));
}

void TestXlsxColumnWidths::largerFontIsWider()
{
    XlsxCells cells;
    cells.setNumber(1, 1, 0.5, 1);
    cells.setNumber(1, 2, 0.5, 0);
    cells.setText(1, 3, QString(32767, 'a'), 1);
    const QVector<int> widths = columnWidths(cells, {Format(), sized(22)}, {});
    QCOMPARE(widths.at(1), widthOf(12, 22));
    QCOMPARE(widths.at(2), widthOf(12));
    QCOMPARE(widths.at(3), 255);
    // 100 characters of a point each are 67 pixels, with the margins 74: 11 digits of 7 pixels.
    cells.setText(1, 1, QString(100, 'a'), 1);
    QCOMPARE(columnWidths(cells, {Format(), sized(1)}, {}).at(1), 11);
    // 22 characters of 11 points are 162 pixels, with the margins 169: 24 digits and a pixel.
    cells.setText(1, 2, QString(22, 'a'), 0);
    QCOMPARE(columnWidths(cells, {Format(), sized(1)}, {}).at(2), 25);
}

void TestXlsxColumnWidths::noSheetHasNoWidths()
{
    QCOMPARE(columnWidths(XlsxCells(), {Format()}, {}), QVector<int>{0});
}

void TestXlsxColumnWidths::cancelEndsSoon()
{
    XlsxCells cells;
    for (int row = 1; row <= 100000; ++row)
        cells.setNumber(row, 1, row, 0);
    int asked = 0;
    columnWidths(cells, {Format()}, [&asked] { return ++asked == 3; });
    QCOMPARE(asked, 3);
}

QTEST_APPLESS_MAIN(TestXlsxColumnWidths)
#include "TestXlsxColumnWidths.moc"
