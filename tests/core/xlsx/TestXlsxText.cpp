#include "XlsxText.h"

#include <QTest>

class TestXlsxText : public QObject
{
    Q_OBJECT

private slots:
    void columnNamesAreLetters_data();
    void columnNamesAreLetters();
    void cellNamesAreParsed_data();
    void cellNamesAreParsed();
    void charactersThatXmlCannotContainAreEscaped_data();
    void charactersThatXmlCannotContainAreEscaped();
    void textThatLooksEscapedIsKept();
    void sheetNamesAreMadeSafe_data();
    void sheetNamesAreMadeSafe();
    void formulaMovesItsRelativeReferences_data();
    void formulaMovesItsRelativeReferences();
};

void TestXlsxText::columnNamesAreLetters_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("first") << 1 << QByteArray("A");
    QTest::newRow("last of one letter") << 26 << QByteArray("Z");
    QTest::newRow("first of two letters") << 27 << QByteArray("AA");
    QTest::newRow("inside two letters") << 52 << QByteArray("AZ");
    QTest::newRow("last of two letters") << 26 + 26 * 26 << QByteArray("ZZ");
    QTest::newRow("first of three letters") << 27 + 26 * 26 << QByteArray("AAA");
    QTest::newRow("last of a sheet") << 16384 << QByteArray("XFD");
}

void TestXlsxText::columnNamesAreLetters()
{
    QFETCH(int, column);
    QFETCH(QByteArray, name);
    QCOMPARE(QXlsx::columnName(column), name);
    QCOMPARE(QXlsx::cellName(7, column), name + '7');
    int row = 0;
    int parsed = 0;
    QVERIFY(QXlsx::parseCellName(QString::fromLatin1(name) + QLatin1Char('7'), row, parsed));
    QCOMPARE(parsed, column);
    QCOMPARE(row, 7);
}

void TestXlsxText::cellNamesAreParsed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column"); // 0: is none
    QTest::newRow("small letters") << "b3" << 3 << 2;
    QTest::newRow("fixed") << "$B$3" << 3 << 2;
    QTest::newRow("last cell") << "XFD1048576" << 1048576 << 16384;
    QTest::newRow("column beyond the last") << "XFE1" << 0 << 0;
    QTest::newRow("row beyond the last") << "A1048577" << 0 << 0;
    QTest::newRow("row beyond 32 bits") << "A99999999999" << 0 << 0;
    QTest::newRow("row 0") << "A0" << 0 << 0;
    QTest::newRow("no row") << "A" << 0 << 0;
    QTest::newRow("no column") << "5" << 0 << 0;
    QTest::newRow("nothing") << "" << 0 << 0;
    QTest::newRow("a tail") << "A1x" << 0 << 0;
    QTest::newRow("a letter of another script") << QStringLiteral("А1") << 0 << 0;
}

void TestXlsxText::cellNamesAreParsed()
{
    QFETCH(QString, name);
    QFETCH(int, row);
    QFETCH(int, column);
    int parsedRow = 0;
    int parsedColumn = 0;
    QCOMPARE(QXlsx::parseCellName(name, parsedRow, parsedColumn), column > 0);
    QCOMPARE(parsedRow, row);
    QCOMPARE(parsedColumn, column);
}

void TestXlsxText::charactersThatXmlCannotContainAreEscaped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");
    QTest::newRow("plain") << "time 时间"
                           << "time 时间";
    QTest::newRow("bell") << "a\ab"
                          << "a_x0007_b";
    QTest::newRow("zero") << QString(QChar(0)) << "_x0000_";
    QTest::newRow("line end of Windows") << "a\r\nb"
                                         << "a_x000D_\nb";
    QTest::newRow("tab stays") << "a\tb"
                               << "a\tb";
    QTest::newRow("looks escaped") << "_x0041_"
                                   << "_x005F_x0041_";
    QTest::newRow("looks escaped in small letters") << "_x00e9_"
                                                    << "_x005F_x00e9_";
    // The underscore in the middle belongs to both escapes; escaping each of them keeps them apart.
    QTest::newRow("looks escaped twice over") << "_x0041_x0042_"
                                              << "_x005F_x0041_x005F_x0042_";
    QTest::newRow("completed by an escape behind it") << "_x0041\f"
                                                      << "_x005F_x0041_x000C_";
    QTest::newRow("no character") << QString(QChar(0xffff)) << "_xFFFF_";
    QTest::newRow("half a pair") << QString(QChar(0xd83d)) << "_xD83D_";
    QTest::newRow("second half alone") << QString(QChar(0xde00)) << "_xDE00_";
    QTest::newRow("pair") << QString::fromUtf8("\xf0\x9f\x98\x80") << QString::fromUtf8("\xf0\x9f\x98\x80");
}

void TestXlsxText::charactersThatXmlCannotContainAreEscaped()
{
    QFETCH(QString, text);
    QFETCH(QString, escaped);
    QCOMPARE(QXlsx::escapeCharacters(text), escaped);
    QCOMPARE(QXlsx::unescapeCharacters(escaped), text);
}

void TestXlsxText::textThatLooksEscapedIsKept()
{
    for (const char *text : {"_x004_", "_x004G_", "_X0041_", "x0041_", "_x0041", "_x", "_"}) {
        QCOMPARE(QXlsx::escapeCharacters(QLatin1String(text)), QLatin1String(text));
        QCOMPARE(QXlsx::unescapeCharacters(QLatin1String(text)), QLatin1String(text));
    }
}

void TestXlsxText::sheetNamesAreMadeSafe_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("safe");
    QTest::newRow("as it stands") << "0x03-AttitudeAndPositionInfo"
                                  << "0x03-AttitudeAndPositionInfo";
    QTest::newRow("forbidden") << "a:b\\c/d?e*f[g]h"
                               << "a b c d e f g h";
    QTest::newRow("control character") << "a\nb"
                                       << "a b";
    QTest::newRow("31 characters") << QString(31, 'a') << QString(31, 'a');
    QTest::newRow("32 characters") << QString(32, 'a') << QString(31, 'a');
    QTest::newRow("cut beside a pair") << QString(30, 'a') + QString::fromUtf8("\xf0\x9f\x98\x80") << QString(30, 'a');
    QTest::newRow("apostrophes") << "'a'b'"
                                 << " a'b ";
    QTest::newRow("nothing") << ""
                             << "";
}

void TestXlsxText::sheetNamesAreMadeSafe()
{
    QFETCH(QString, name);
    QFETCH(QString, safe);
    QCOMPARE(QXlsx::safeSheetName(name), safe);
}

void TestXlsxText::formulaMovesItsRelativeReferences_data()
{
    QTest::addColumn<QString>("formula");
    QTest::addColumn<QString>("moved"); // by 2 rows and 1 column
    QTest::newRow("relative") << "A1+B2"
                              << "B3+C4";
    QTest::newRow("fixed") << "$A$1+$A1+A$1"
                           << "$A$1+$A3+B$1";
    QTest::newRow("function of a name like a cell") << "LOG10(A1)"
                                                    << "LOG10(B3)";
    QTest::newRow("range") << "SUM(A1:B2)"
                           << "SUM(B3:C4)";
    QTest::newRow("columns") << "SUM(A:$C)"
                             << "SUM(B:$C)";
    QTest::newRow("rows") << "SUM(1:$3)"
                          << "SUM(3:$3)";
    QTest::newRow("text") << "\"A1\"\"A1\"&A1"
                          << "\"A1\"\"A1\"&B3";
    QTest::newRow("quoted sheet") << "'A1 B2'!A1"
                                  << "'A1 B2'!B3";
    QTest::newRow("sheet like a cell") << "AB1!A1"
                                       << "AB1!B3";
    QTest::newRow("table") << "T[[#All],[A1]]+A1"
                           << "T[[#All],[A1]]+B3";
    QTest::newRow("name and number") << "ABC+12+1.5+_A1+A1_"
                                     << "ABC+12+1.5+_A1+A1_";
    QTest::newRow("names with other signs") << "my.A1+my\\A1+my?A1"
                                            << "my.A1+my\\A1+my?A1";
    QTest::newRow("leaves the sheet") << "XFD1+A1048576"
                                      << "#REF!+#REF!";
    QTest::newRow("an open quote") << "A1&\"A1"
                                   << "B3&\"A1";
}

void TestXlsxText::formulaMovesItsRelativeReferences()
{
    QFETCH(QString, formula);
    QFETCH(QString, moved);
    QCOMPARE(QXlsx::movedFormula(formula, 2, 1), moved);
}

QTEST_GUILESS_MAIN(TestXlsxText)
#include "TestXlsxText.moc"
