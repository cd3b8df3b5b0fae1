#include "LocalNames.h"

#include <QtTest>

using wmts::LocalNames;

class TestLocalNames : public QObject
{
    Q_OBJECT

private slots:
    void defaultPortMayBeOmitted();
    void otherPortsMustBeGiven();
    void originsNeedTheScheme();
};

void TestLocalNames::defaultPortMayBeOmitted()
{
    const LocalNames names(80);
    for (const char *const host : {"127.0.0.1", "localhost", "[::1]", "127.0.0.1:80", "localhost:80", "[::1]:80"})
        QVERIFY2(names.isHost(host), host);
    for (const char *const host : {"", "::1", "127.0.0.1:", "127.0.0.1:8", "localhost:800", "evil.example"})
        QVERIFY2(!names.isHost(host), host);
}

void TestLocalNames::otherPortsMustBeGiven()
{
    const LocalNames names(9800);
    for (const char *const host : {"127.0.0.1:9800", "localhost:9800", "[::1]:9800"})
        QVERIFY2(names.isHost(host), host);
    for (const char *const host : {"127.0.0.1", "localhost", "[::1]", "localhost:80", "evil.example:9800"})
        QVERIFY2(!names.isHost(host), host);
}

void TestLocalNames::originsNeedTheScheme()
{
    const LocalNames names(9800);
    QVERIFY(names.isOrigin("null"));
    QVERIFY(names.isOrigin("file://"));
    QVERIFY(names.isOrigin("http://localhost:9800"));
    for (const char *const origin : {"", "localhost:9800", "https://localhost:9800", "http://localhost", "http://",
                                     "http://evil.example:9800", "file://evil.example", "http://localhost:9800/"})
        QVERIFY2(!names.isOrigin(origin), origin);
}

QTEST_GUILESS_MAIN(TestLocalNames)
#include "TestLocalNames.moc"
