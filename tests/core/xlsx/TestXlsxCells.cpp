#include "XlsxCells.h"

#include <QTest>

#include <map>
#include <random>
#include <tuple>

using QXlsx::XlsxCells;

class TestXlsxCells : public QObject
{
    Q_OBJECT

private slots:
    void isEmptyByDefault();
    void lastWriteWinsInAnyOrder();
    void memoryIsLittleMoreThanTheNumbers();
    void otherFormatsOfACellTakeNoMoreMemory();
    void rowsAreInOrder();
    void equalTextsAreStoredOnce();
};

void TestXlsxCells::isEmptyByDefault()
{
    const XlsxCells cells;
    XlsxCells::Cell cell;
    QVERIFY(cells.isEmpty());
    QVERIFY(!cells.cell(1, 1, cell));
    QVERIFY(!cells.hasRow(1048576));
    QCOMPARE(cells.rowAfter(0), 0);
    QCOMPARE(cells.extent().lastRow, 0);
}

void TestXlsxCells::lastWriteWinsInAnyOrder()
{
    // A map is the independent second implementation.
    std::map<std::pair<int, int>, std::tuple<XlsxCells::Kind, double, quint32>> expected;
    XlsxCells cells;
    std::mt19937 random(7);
    const auto pick = [&random](int last) { return std::uniform_int_distribution<int>(0, last)(random); };
    for (int i = 0; i < 20000; ++i) {
        const int row = 1 + pick(40) * (pick(9) == 0 ? 700 : 1);
        const int column = 1 + pick(60);
        const auto format = static_cast<quint32>(pick(2));
        const int number = pick(1000);
        XlsxCells::Kind kind = XlsxCells::Kind::Number;
        switch (pick(9)) {
        case 0:
            kind = XlsxCells::Kind::Text;
            cells.setText(row, column, QString::number(number), format);
            break;
        case 1:
            kind = XlsxCells::Kind::Blank;
            cells.setBlank(row, column, format);
            break;
        default:
            cells.setNumber(row, column, number, format);
        }
        expected[{row, column}] = {kind, kind == XlsxCells::Kind::Blank ? 0 : number, format};
    }
    int row = 0;
    auto next = expected.begin();
    while ((row = cells.rowAfter(row)) != 0)
        cells.forRow(row, 1, 100, [&](int column, const XlsxCells::Cell &cell) {
            QVERIFY(next != expected.end());
            QCOMPARE(std::make_pair(row, column), next->first);
            const auto &[kind, number, format] = next->second;
            QCOMPARE(cell.kind, kind);
            QCOMPARE(cell.format, format);
            QCOMPARE(kind == XlsxCells::Kind::Text ? cells.text(cell.text).toDouble() : cell.number, number);
            XlsxCells::Cell single;
            QVERIFY(cells.cell(row, column, single));
            QCOMPARE(single.number, cell.number);
            ++next;
        });
    QVERIFY(next == expected.end());
}

void TestXlsxCells::memoryIsLittleMoreThanTheNumbers()
{
    constexpr int kRows = 36000;
    constexpr int kColumns = 18;
    XlsxCells cells;
    for (int row = 1; row <= kRows; ++row)
        for (int column = 1; column <= kColumns; ++column)
            cells.setNumber(row, column, row, 1);
    QVERIFY2(cells.bytes() < std::size_t(kRows) * (kColumns * 8 + 44), qPrintable(QString::number(cells.bytes())));
}

void TestXlsxCells::otherFormatsOfACellTakeNoMoreMemory()
{
    XlsxCells cells;
    cells.setNumber(1, 1, 0, 0);
    const std::size_t before = cells.bytes();
    for (int i = 1; i <= 1000; ++i)
        cells.setNumber(1, 1, i, static_cast<quint32>(i % 2));
    QCOMPARE(cells.bytes(), before);
}

void TestXlsxCells::rowsAreInOrder()
{
    XlsxCells cells;
    for (int row : {1048576, 3, 512, 511, 100000})
        cells.setNumber(row, 2, row, 0);
    QList<int> rows;
    for (int row = cells.rowAfter(0); row != 0; row = cells.rowAfter(row))
        rows.append(row);
    QCOMPARE(rows, QList<int>({3, 511, 512, 100000, 1048576}));
    QCOMPARE(cells.extent().firstRow, 3);
    QCOMPARE(cells.extent().lastRow, 1048576);
    QCOMPARE(cells.extent().firstColumn, 2);
}

void TestXlsxCells::equalTextsAreStoredOnce()
{
    XlsxCells cells;
    cells.setText(1, 1, QStringLiteral("a"), 0);
    cells.setText(2, 1, QStringLiteral("b"), 0);
    cells.setText(3, 1, QStringLiteral("a"), 0);
    XlsxCells::Cell first;
    XlsxCells::Cell third;
    QVERIFY(cells.cell(1, 1, first) && cells.cell(3, 1, third));
    QCOMPARE(first.text, third.text);
    QCOMPARE(cells.text(third.text), QStringLiteral("a"));
}

QTEST_GUILESS_MAIN(TestXlsxCells)
#include "TestXlsxCells.moc"
