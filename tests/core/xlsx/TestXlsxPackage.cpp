#include "XlsxPackage.h"

#include "WorkbookFiles.h"

#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <memory>

using QXlsx::XlsxPackage;

namespace
{

/** The attributes of all elements of a name, in their order, by one attribute each. */
QStringList attributesOf(const QByteArray &xml, const char *element, const char *attribute)
{
    QStringList result;
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString name = reader.qualifiedName().toString();
        if (name.mid(name.indexOf(':') + 1) == element)
            result.append(reader.attributes().value(attribute).toString());
    }
    return reader.hasError() ? QStringList{reader.errorString()} : result;
}

XlsxPackage::Sheet newSheet(const char *name)
{
    XlsxPackage::Sheet sheet;
    sheet.name = name;
    sheet.isNew = true;
    return sheet;
}

/** The parts with one replaced, or left out when the bytes are null. */
Parts withPart(Parts parts, const QByteArray &name, const QByteArray &bytes)
{
    for (int i = 0; i < parts.size(); ++i) {
        if (parts[i].first != name)
            continue;
        if (bytes.isNull())
            parts.remove(i);
        else
            parts[i].second = bytes;
        return parts;
    }
    qFatal("no part %s", name.constData());
    return parts;
}

} // namespace

class TestXlsxPackage : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void newPackageHasNoSheets();
    void newPackageListsItsSheets();
    void workbookOfAnotherProgramIsRead();
    void addedSheetAvoidsNamesThatAreTaken();
    void listsKeepWhatWasThere();
    void droppedPartIsInNoList();
    void otherArchiveIsNoWorkbook_data();
    void otherArchiveIsNoWorkbook();

private:
    QString path() const { return m_dir->filePath("x.xlsx"); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestXlsxPackage::newPackageHasNoSheets()
{
    const XlsxPackage package;
    QVERIFY(package.isNew());
    QVERIFY(package.sheets().isEmpty());
    QCOMPARE(package.workbookPart(), QByteArray("xl/workbook.xml"));
    QCOMPARE(attributesOf(package.workbook({}), "sheet", "name"), QStringList());
}

void TestXlsxPackage::newPackageListsItsSheets()
{
    const XlsxPackage package;
    QSet<QByteArray> taken;
    QVector<XlsxPackage::Sheet> sheets{newSheet("One"), newSheet("Two & more")};
    for (XlsxPackage::Sheet &sheet : sheets)
        package.placeSheet(sheet, taken);
    QCOMPARE(sheets[0].part, QByteArray("xl/worksheets/sheet1.xml"));
    QCOMPARE(sheets[1].part, QByteArray("xl/worksheets/sheet2.xml"));

    QCOMPARE(attributesOf(package.workbook(sheets), "sheet", "name"), QStringList({"One", "Two & more"}));
    QCOMPARE(attributesOf(package.workbook(sheets), "sheet", "sheetId"), QStringList({"1", "2"}));
    QCOMPARE(attributesOf(package.workbook(sheets), "sheet", "r:id"), QStringList({"rId1", "rId2"}));
    const QByteArray relations = package.relations(sheets, "xl/styles.xml", {});
    QCOMPARE(attributesOf(relations, "Relationship", "Id"), QStringList({"rId1", "rId2", "rId3"}));
    QCOMPARE(attributesOf(relations, "Relationship", "Target"),
             QStringList({"worksheets/sheet1.xml", "worksheets/sheet2.xml", "styles.xml"}));
    QCOMPARE(
        attributesOf(package.contentTypes(sheets, "xl/styles.xml", {}), "Override", "PartName"),
        QStringList({"/xl/workbook.xml", "/xl/worksheets/sheet1.xml", "/xl/worksheets/sheet2.xml", "/xl/styles.xml"}));
    QCOMPARE(attributesOf(XlsxPackage::rootRelations(), "Relationship", "Target"), QStringList{"xl/workbook.xml"});
}

void TestXlsxPackage::workbookOfAnotherProgramIsRead()
{
    QVERIFY(writeParts(path(), foreignWorkbook("<worksheet/>")));
    XlsxPackage package;
    QString reason;
    QVERIFY2(package.load(path(), reason), qPrintable(reason));
    QVERIFY(!package.isNew());
    QCOMPARE(package.sheets().size(), 2);
    QCOMPARE(package.sheets()[0].name, QString("Plan & Ist"));
    QCOMPARE(package.sheets()[1].name, QString("Other"));
    QVERIFY(!package.sheets()[0].part.isEmpty());
    QVERIFY(package.sheets()[0].part != package.sheets()[1].part);
    QCOMPARE(package.calcChainPart(), QByteArray("xl/calcChain.xml"));
    QCOMPARE(package.sharedTextsPart(), QByteArray("xl/sharedStrings.xml"));
    QByteArray styles;
    QVERIFY(package.styles(styles));
    QVERIFY(styles.contains("styleSheet"));
}

void TestXlsxPackage::addedSheetAvoidsNamesThatAreTaken()
{
    QVERIFY(writeParts(path(), foreignWorkbook("<worksheet/>")));
    XlsxPackage package;
    QString reason;
    QVERIFY(package.load(path(), reason));
    QSet<QByteArray> taken;
    XlsxPackage::Sheet sheet = newSheet("New");
    package.placeSheet(sheet, taken);
    for (const XlsxPackage::Sheet &old : package.sheets())
        QVERIFY(sheet.part != old.part);
    const QStringList ids = attributesOf(package.relations({sheet}, {}, {}), "Relationship", "Id");
    QCOMPARE(ids.count(sheet.relation), 1);
    // One more than the highest, which is 9.
    QCOMPARE(attributesOf(package.workbook({sheet}), "sheet", "sheetId"), QStringList({"4", "9", "10"}));
}

void TestXlsxPackage::listsKeepWhatWasThere()
{
    QVERIFY(writeParts(path(), foreignWorkbook("<worksheet/>")));
    XlsxPackage package;
    QString reason;
    QVERIFY(package.load(path(), reason));
    QCOMPARE(attributesOf(package.workbook({}), "sheet", "name"), QStringList({"Plan & Ist", "Other"}));
    const QStringList types = attributesOf(package.contentTypes({}, {}, {}), "Override", "PartName");
    QCOMPARE(types.size(), 6);
    QCOMPARE(types.last(), QString("/xl/styles.xml"));
}

void TestXlsxPackage::droppedPartIsInNoList()
{
    QVERIFY(writeParts(path(), foreignWorkbook("<worksheet/>")));
    XlsxPackage package;
    QString reason;
    QVERIFY(package.load(path(), reason));
    const QByteArray chain = package.calcChainPart();
    QVERIFY(package.relations({}, {}, {}).contains("calcChain"));
    QVERIFY(!package.relations({}, {}, chain).contains("calcChain"));
    QVERIFY(package.contentTypes({}, {}, {}).contains("/xl/calcChain.xml"));
    QVERIFY(!package.contentTypes({}, {}, chain).contains("/xl/calcChain.xml"));
}

void TestXlsxPackage::otherArchiveIsNoWorkbook_data()
{
    QTest::addColumn<Parts>("parts");
    QTest::addColumn<QString>("expected");
    const Parts whole = foreignWorkbook("<worksheet/>");
    const QString lists = "its lists of parts and sheets cannot be read";
    QTest::newRow("no list of types") << withPart(whole, "[Content_Types].xml", {}) << lists;
    QTest::newRow("no way to the workbook") << withPart(whole, "_rels/.rels", {}) << lists;
    QTest::newRow("no workbook") << withPart(whole, "xl/workbook.xml", {}) << lists;
    QTest::newRow("another root") << withPart(whole, "xl/workbook.xml", "<document/>") << lists;
    QTest::newRow("no list of sheets") << withPart(whole, "xl/workbook.xml", "<workbook/>") << lists;
    QTest::newRow("broken off") << withPart(whole, "xl/workbook.xml", "<workbook><sheets>") << lists;
    QTest::newRow("too many sheets") << withPart(whole, "xl/workbook.xml",
                                                 "<workbook><sheets>" + QByteArray("<sheet name='a'/>").repeated(10001)
                                                     + "</sheets></workbook>")
                                     << "it has more than 10000 sheets";
}

void TestXlsxPackage::otherArchiveIsNoWorkbook()
{
    QFETCH(Parts, parts);
    QFETCH(QString, expected);
    QVERIFY(writeParts(path(), parts));
    XlsxPackage package;
    QString reason;
    QVERIFY(!package.load(path(), reason));
    QCOMPARE(reason, expected);
}

QTEST_GUILESS_MAIN(TestXlsxPackage)
#include "TestXlsxPackage.moc"
