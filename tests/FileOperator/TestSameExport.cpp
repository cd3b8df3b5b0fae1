#include "DataHandler.h"
#include "DemoFlight.h"
#include "ExcelOperator.h"
#include "Fixture.h"
#include "ReadFlight.h"
#include "TextWriter.h"
#include "TxtOperator.h"
#include "WorkbookWriter.h"

#include <QApplication>
#include <QDir>
#include <QTest>

using ostravel::Flight;

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

QByteArray logOf(const QString &kind)
{
    demo::DemoOptions options;
    options.minutes = 3;
    options.seed = 7;
    options.backupFrames = true;
    if (kind == "damaged")
        return demo::makeDamagedLog(options);
    return kind == "empty" ? QByteArray() : demo::makeTextLog(options);
}

/** Reads a log as the program does, and as a flight. */
Flight readTwice(const QString &path, const QByteArray &log)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(log) != log.size() || !file.flush())
        qFatal("cannot write %s", qPrintable(path));
    DataHandler().readDataSlot(path);
    auto result = ostravel::readFlight(path);
    if (const auto *const error = std::get_if<ostravel::ReadError>(&result))
        qFatal("%s", qPrintable(error->message));
    return std::get<Flight>(std::move(result));
}

void logs()
{
    QTest::addColumn<QString>("kind");
    for (const char *const kind : {"whole", "damaged", "empty"})
        QTest::newRow(kind) << kind;
}

} // namespace

/** The program and the core write the same bytes for the same log. */
class TestSameExport : public QObject
{
    Q_OBJECT

private slots:
    void textIsTheSame_data() { logs(); }
    void textIsTheSame();
    void workbookIsTheSame_data() { logs(); }
    void workbookIsTheSame();
    void workbookThatIsWrittenOverIsTheSame();
};

void TestSameExport::textIsTheSame()
{
    QFETCH(QString, kind);
    const Fixture fixture;
    const Flight flight = readTwice(fixture.path("flight.txt"), logOf(kind));
    TxtOperator().writeTxtSlot(fixture.path("program-export.txt"));
    QVERIFY(!ostravel::writeText(flight, fixture.path("core-export")).has_value());
    const QStringList names = QDir(fixture.path("program-export")).entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(names.size(), 9);
    QCOMPARE(QDir(fixture.path("core-export")).entryList(QDir::Files | QDir::Hidden), names);
    for (const QString &name : names) {
        const QByteArray expected = content(fixture.path("program-export/" + name));
        QVERIFY(expected.contains('\t'));
        QCOMPARE(expected.contains('\n'), kind != "empty");
        QVERIFY2(content(fixture.path("core-export/" + name)) == expected, qPrintable(name));
    }
}

void TestSameExport::workbookIsTheSame()
{
    QFETCH(QString, kind);
    const Fixture fixture;
    const Flight flight = readTwice(fixture.path("flight.txt"), logOf(kind));
    QVERIFY(ExcelOperator(nullptr).writeExcel(fixture.path("program.xlsx")));
    QVERIFY(!ostravel::writeWorkbook(flight, fixture.path("core.xlsx")).has_value());
    const QByteArray expected = content(fixture.path("program.xlsx"));
    QVERIFY(expected.startsWith("PK"));
    QVERIFY(content(fixture.path("core.xlsx")) == expected);
}

void TestSameExport::workbookThatIsWrittenOverIsTheSame()
{
    const Fixture fixture;
    const Flight first = readTwice(fixture.path("flight.txt"), logOf("whole"));
    QVERIFY(!ostravel::writeWorkbook(first, fixture.path("core.xlsx")).has_value());
    QVERIFY(QFile::copy(fixture.path("core.xlsx"), fixture.path("program.xlsx")));
    Fixture::renewStore();
    const Flight second = readTwice(fixture.path("flight.txt"), logOf("damaged"));
    QVERIFY(ExcelOperator(nullptr).writeExcel(fixture.path("program.xlsx")));
    QVERIFY(!ostravel::writeWorkbook(second, fixture.path("core.xlsx")).has_value());
    QVERIFY(content(fixture.path("core.xlsx")) == content(fixture.path("program.xlsx")));
}

QTEST_MAIN(TestSameExport)
#include "TestSameExport.moc"
