#include "RequestTarget.h"

#include <QtTest>

using wmts::RequestTarget;

class TestRequestTarget : public QObject
{
    Q_OBJECT

private slots:
    void decodesThePath_data();
    void decodesThePath();
    void findsParameters_data();
    void findsParameters();
};

void TestRequestTarget::decodesThePath_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("path");
    const auto row = [](const char *name, const QByteArray &target, const QByteArray &path) {
        QTest::newRow(name) << target << path;
    };
    row("empty", "", "");
    row("plain", "/demo/1/0/0", "/demo/1/0/0");
    row("escapes in both cases", "/%E5%9c%b0", "/\xe5\x9c\xb0");
    row("escape of a slash", "/a%2Fb", "/a/b");
    row("escape of a percent sign is decoded once", "/%2541", "/%41");
    row("null", "/a%00b", QByteArray("/a\0b", 4));
    row("plus is no space", "/a+b", "/a+b");
    row("no hexadecimal digits", "/%zz/%4g", "/%zz/%4g");
    row("sign instead of a digit", "/%-1/%+1", "/%-1/%+1");
    row("cut off", "/%", "/%");
    row("cut off in the middle", "/%4", "/%4");
    row("query", "/a?b=c", "/a");
    row("escaped question mark", "/a%3fb=c", "/a?b=c");
    row("fragment", "/a#b?c", "/a");
}

void TestRequestTarget::decodesThePath()
{
    QFETCH(QByteArray, target);
    QTEST(QByteArray::fromStdString(RequestTarget(target.toStdString()).path()), "path");
}

void TestRequestTarget::findsParameters_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QByteArray>("value");
    const auto row = [](const char *name, const QByteArray &query, bool found, const QByteArray &value) {
        QTest::newRow(name) << query << found << value;
    };
    row("none", "", false, "");
    row("other", "a=b", false, "");
    row("longer name", "layers=b", false, "");
    row("shorter name", "laye=b", false, "");
    row("as asked", "layer=demo", true, "demo");
    row("other case", "LaYeR=demo", true, "demo");
    row("escaped name", "l%61yer=demo", true, "demo");
    row("among others", "a=b&layer=demo&c=d", true, "demo");
    row("first of two", "LAYER=first&layer=second", true, "first");
    row("escaped value", "layer=a%26b%3Dc+d%2Be", true, "a&b=c d+e");
    row("equals sign in the value", "layer=a=b", true, "a=b");
    row("no value", "layer", true, "");
    row("empty value", "layer=", true, "");
    row("empty pairs", "&&=&layer=demo&", true, "demo");
    row("fragment", "layer=demo#&layer=a", true, "demo");
    row("in the fragment", "a=b#&layer=demo", false, "");
}

void TestRequestTarget::findsParameters()
{
    QFETCH(QByteArray, query);
    const RequestTarget target("/wmts?" + query.toStdString());
    const std::string *const value = target.parameter("layer");
    QTEST(value != nullptr, "found");
    QTEST(value ? QByteArray::fromStdString(*value) : QByteArray(""), "value");
}

QTEST_GUILESS_MAIN(TestRequestTarget)
#include "TestRequestTarget.moc"
