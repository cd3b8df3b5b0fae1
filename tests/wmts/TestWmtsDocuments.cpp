#include "WmtsDocuments.h"

#include "MBTilesFile.h"
#include "Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

namespace
{

/** Texts of all elements with a name, in their order; fails the test when the document is not well-formed. */
QStringList textsOf(const std::string &document, const QString &element)
{
    QXmlStreamReader reader(QByteArray::fromStdString(document));
    QStringList texts;
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == element)
            texts.append(reader.readElementText(QXmlStreamReader::IncludeChildElements));
    if (reader.hasError())
        qFatal("%s", qPrintable(reader.errorString()));
    return texts;
}

} // namespace

class TestWmtsDocuments : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void capabilitiesAreWellFormedAndTellTheLayers();
    void capabilitiesHaveTheScalesOfTheStandard();
    void jsonTellsTheLayers();
    void documentsWithoutLayersAreWellFormed();
    void exceptionsAreWellFormed();
    void plainText_data();
    void plainText();
    void urlSegments();

private:
    QTemporaryDir m_folder;
    // All that mark-up gives a meaning to and the file system lets into a name.
    const QString m_strange = QSysInfo::productType() == QLatin1String("windows") ? QStringLiteral("a&b ' 地图%")
                                                                                  : QStringLiteral("a&b <\"'> 地图\\%");
    wmts::Layers m_layers;
};

void TestWmtsDocuments::initTestCase()
{
    MBTilesFile::writeWorld(m_folder.filePath(m_strange + ".mbtiles"));
    {
        MBTilesFile file(m_folder.filePath("photo.mbtiles"));
        file.makeTables();
        file.addMetadata("name", "A <photo> & more");
        file.addMetadata("minzoom", "2");
        file.addMetadata("maxzoom", "5");
        file.addMetadata("bounds", "113.25,33.5,114.5,34.125");
        file.addTile(2, 3, 2, "\xff\xd8\xff");
    }
    m_layers
        = wmts::openLayers(m_folder.path().toStdString(), [](const std::string &line) { qFatal("%s", line.c_str()); });
    QCOMPARE(int(m_layers.size()), 2);
}

void TestWmtsDocuments::capabilitiesAreWellFormedAndTellTheLayers()
{
    const std::string text = wmts::capabilitiesXml(m_layers, "http://127.0.0.1:9800");
    const QStringList identifiers = textsOf(text, "Identifier");
    QVERIFY(identifiers.contains(m_strange));
    QVERIFY(identifiers.contains("photo"));
    QVERIFY(textsOf(text, "Title").contains("A <photo> & more"));
    QCOMPARE(textsOf(text, "Format"), (QStringList{"image/png", "image/jpeg"}));
    QCOMPARE(textsOf(text, "LowerCorner"), (QStringList{"-180 -85", "113.25 33.5"}));
    QCOMPARE(textsOf(text, "UpperCorner"), (QStringList{"180 85", "114.5 34.125"}));
    const QByteArray bytes = QByteArray::fromStdString(text);
    QVERIFY(bytes.contains("template=\"http://127.0.0.1:9800/photo/{TileMatrix}/{TileCol}/{TileRow}\""));
    QVERIFY(bytes.contains("xlink:href=\"http://127.0.0.1:9800/wmts?\""));
}

void TestWmtsDocuments::capabilitiesHaveTheScalesOfTheStandard()
{
    const std::string text = wmts::capabilitiesXml(m_layers, "http://127.0.0.1:9800");
    const QStringList scales = textsOf(text, "ScaleDenominator");
    // Levels 0 to 5 as the standard lists them for this set (OGC 07-057r7, table E.4).
    const double listed[] = {559082264.0287178, 279541132.0143589, 139770566.0071794,
                             69885283.00358972, 34942641.50179486, 17471320.75089743};
    QCOMPARE(scales.size(), 6);
    for (int zoom = 0; zoom < 6; ++zoom)
        QVERIFY(qAbs(scales.at(zoom).toDouble() / listed[zoom] - 1) < 1e-12);
    QCOMPARE(textsOf(text, "MatrixHeight"), (QStringList{"1", "2", "4", "8", "16", "32"}));
    QVERIFY(textsOf(text, "Identifier").contains("GoogleMapsCompatible"));
}

void TestWmtsDocuments::jsonTellsTheLayers()
{
    QJsonParseError error;
    const QJsonArray layers
        = QJsonDocument::fromJson(QByteArray::fromStdString(wmts::layersJson(m_layers)), &error).array();
    QCOMPARE(error.error, QJsonParseError::NoError);
    QCOMPARE(layers.size(), 2);
    QCOMPARE(layers.at(0).toObject().value("name").toString(), m_strange);
    const QJsonObject photo{{"name", "photo"},
                            {"format", "jpg"},
                            {"minzoom", 2},
                            {"maxzoom", 5},
                            {"bounds", QJsonArray{113.25, 33.5, 114.5, 34.125}}};
    QCOMPARE(layers.at(1).toObject(), photo);
}

void TestWmtsDocuments::documentsWithoutLayersAreWellFormed()
{
    QCOMPARE(textsOf(wmts::capabilitiesXml({}, "http://127.0.0.1:1"), "Layer"), QStringList());
    QVERIFY(QJsonDocument::fromJson(QByteArray::fromStdString(wmts::layersJson({}))).isArray());
}

void TestWmtsDocuments::exceptionsAreWellFormed()
{
    const std::string text = wmts::exceptionXml("InvalidParameterValue", "LAYER", "no <layer> & \"such\"");
    QCOMPARE(textsOf(text, "ExceptionText"), QStringList("no <layer> & \"such\""));
    QVERIFY(QByteArray::fromStdString(text).contains("exceptionCode=\"InvalidParameterValue\" locator=\"LAYER\""));
}

void TestWmtsDocuments::plainText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("plain");
    QTest::newRow("Chinese") << QByteArray("郑州 map") << true;
    QTest::newRow("four bytes") << QByteArray("\xf0\x9f\x97\xba") << true;
    QTest::newRow("line end") << QByteArray("a\nb") << false;
    QTest::newRow("delete") << QByteArray("\x7f") << false;
    QTest::newRow("C1 control") << QByteArray("\xc2\x85") << false;
    QTest::newRow("GBK") << QByteArray("\xd6\xa3\xd6\xdd") << false;
    QTest::newRow("cut") << QByteArray("\xe9\x83") << false;
    QTest::newRow("overlong slash") << QByteArray("\xc0\xaf") << false;
    QTest::newRow("overlong in three") << QByteArray("\xe0\x80\xaf") << false;
    QTest::newRow("surrogate") << QByteArray("\xed\xa0\x80") << false;
    QTest::newRow("not for XML") << QByteArray("\xef\xbf\xbe") << false;
    QTest::newRow("beyond Unicode") << QByteArray("\xf4\x90\x80\x80") << false;
}

void TestWmtsDocuments::plainText()
{
    QFETCH(QByteArray, text);
    QTEST(wmts::isPlainText(text.toStdString()), "plain");
}

void TestWmtsDocuments::urlSegments()
{
    QCOMPARE(QByteArray::fromStdString(wmts::urlSegment("a/b ?#%~图")), QByteArray("a%2Fb%20%3F%23%25~%E5%9B%BE"));
}

QTEST_GUILESS_MAIN(TestWmtsDocuments)
#include "TestWmtsDocuments.moc"
