#include "XlsxXmlReader.h"

#include <QTest>

using QXlsx::XlsxXmlReader;

namespace
{

/** Goes to the next start of an element. */
bool nextElement(XlsxXmlReader &reader)
{
    while (reader.next()) {
        if (reader.isStartElement())
            return true;
    }
    return false;
}

} // namespace

class TestXlsxXmlReader : public QObject
{
    Q_OBJECT

private slots:
    void attributeIsFoundWithAndWithoutAPrefix();
    void textIncludesThatOfChildren();
    void skippedElementEndsAtItsEnd();
    void elementsAreNestedAtMostTwoHundredDeep();
    void documentTypeIsAnError();
    void cancelledReadIsAnError();
};

void TestXlsxXmlReader::attributeIsFoundWithAndWithoutAPrefix()
{
    XlsxXmlReader reader(QByteArrayLiteral("<x:sheet r:id='3' name=''/>"));
    QVERIFY(nextElement(reader));
    QCOMPARE(reader.localName().toString(), QString("sheet"));
    QCOMPARE(reader.attribute(QLatin1String("id")), QString("3"));
    QVERIFY(!reader.attribute(QLatin1String("name")).isNull());
    QVERIFY(reader.attribute(QLatin1String("x")).isNull());
}

void TestXlsxXmlReader::textIncludesThatOfChildren()
{
    XlsxXmlReader reader(QByteArrayLiteral("<a>b<c>d</c>e</a>"));
    QVERIFY(nextElement(reader));
    QCOMPARE(reader.text(), QString("bde"));
    QCOMPARE(reader.depth(), 0);
}

void TestXlsxXmlReader::skippedElementEndsAtItsEnd()
{
    XlsxXmlReader reader(QByteArrayLiteral("<a><b><b/>text</b><c/></a>"));
    QVERIFY(nextElement(reader) && nextElement(reader));
    QVERIFY(reader.skipElement());
    QVERIFY(reader.isEndElement());
    QCOMPARE(reader.depth(), 1);
    QVERIFY(nextElement(reader));
    QCOMPARE(reader.localName().toString(), QString("c"));

    XlsxXmlReader cut(QByteArrayLiteral("<a><b>"));
    QVERIFY(nextElement(cut) && nextElement(cut));
    QVERIFY(!cut.skipElement());
}

void TestXlsxXmlReader::elementsAreNestedAtMostTwoHundredDeep()
{
    for (const int depth : {200, 201}) {
        XlsxXmlReader reader(QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth));
        while (reader.next()) { }
        QCOMPARE(reader.hasError(), depth > 200);
    }
}

void TestXlsxXmlReader::documentTypeIsAnError()
{
    XlsxXmlReader reader(QByteArrayLiteral("<!DOCTYPE a><a/>"));
    while (reader.next()) { }
    QVERIFY(reader.hasError());
}

void TestXlsxXmlReader::cancelledReadIsAnError()
{
    int asked = 0;
    XlsxXmlReader reader("<a>" + QByteArray("<b/>").repeated(1000) + "</a>", [&asked] { return ++asked == 2; });
    int tokens = 0;
    while (reader.next())
        ++tokens;
    QVERIFY(reader.hasError());
    QCOMPARE(asked, 2);
    QVERIFY(tokens >= 500 && tokens < 600);
}

QTEST_GUILESS_MAIN(TestXlsxXmlReader)
#include "TestXlsxXmlReader.moc"
