#include "IniText.h"

#include <QtTest>

class TestIniText : public QObject
{
    Q_OBJECT

private slots:
    void replacesEscapes_data();
    void replacesEscapes();
};

void TestIniText::replacesEscapes_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const char *ini, const char *text) {
        QTest::newRow(name) << QByteArray(ini) << QString::fromLatin1(text);
    };
    row("empty", "", "");
    row("plain", "[Global]\ntheme=darkTheme\n", "[Global]\ntheme=darkTheme\n");
    row("quotes", "a=\"b\"", "a=b");
    row("blanks behind a quote", "a=\"b\" \tc", "a=bc");
    row("hexadecimal number", "\\x41", "A");
    row("hexadecimal number ends at another character", "\\x41Z", "AZ");
    row("hexadecimal number beyond 16 bits", "\\x10041", "A");
    row("octal number", "\\101", "A");
    row("octal number ends at the digit 8", "\\1018", "A8");
    row("x without a digit", "\\xZ", "Z");
    row("characters with an escape of their own", "a\\nb\\tc\\\\d\\\"e", "a?b?c?d?e");
    row("unknown escape", "a\\qb", "ab");
    row("continued line", "a\\\nb", "ab");
    row("continued line with two characters at its end", "a\\\r\nb", "ab");
    row("empty line behind a continued one", "a\\\n\nb", "a\nb");
    row("backslash at the end", "a\\", "a\\");
    row("number cut off", "a\\x", "a");
    row("quote at the end", "a\"", "a");
}

void TestIniText::replacesEscapes()
{
    QFETCH(QByteArray, ini);
    QTEST(iniText(ini), "text");
}

QTEST_GUILESS_MAIN(TestIniText)
#include "TestIniText.moc"
