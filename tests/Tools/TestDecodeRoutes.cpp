#include "DecodeRoutes.h"
#include "Fifo.h"
#include "Fixture.h"
#include "LogFile.h"
#include "MetaMethods.h"
#include "ModalAnswer.h"
#include "OrdinaryUser.h"
#include "QXlsx.h"

#include <QElapsedTimer>
#include <QFileDialog>
#include <QGridLayout>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

Q_DECLARE_METATYPE(Fixture::Catalogue)

namespace
{

constexpr double kDegreeOfEquator = 6378137.0 * 3.14159265358979323846 / 180.0;
const QStringList kTitles{"id",    "longitude", "latitude", "height",   "radius",
                          "speed", "distance",  "flyTime",  "totalTime"};

QJsonObject waypoint(const QString &longitude, const QString &latitude, double speed = 20, double height = 100,
                     double radius = 300)
{
    return {{"longitude", longitude}, {"latitude", latitude}, {"height", height}, {"radius", radius}, {"speed", speed}};
}

QByteArray route(const QJsonArray &waypoints)
{
    return QJsonDocument(QJsonObject{{"cartographic", waypoints}}).toJson();
}

/** A route with this many waypoints, one degree apart on the equator, at 100 m/s. */
QByteArray equatorRoute(int count)
{
    QJsonArray waypoints;
    for (int i = 0; i < count; ++i)
        waypoints.append(waypoint(QString::number(i), QStringLiteral("0"), 100));
    return route(waypoints);
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

QTableWidget *table(const DecodeRoutes &dialog)
{
    return dialog.findChild<QTableWidget *>(QStringLiteral("tableWidget"));
}

QProgressBar *bar(const DecodeRoutes &dialog)
{
    return dialog.findChild<QProgressBar *>(QStringLiteral("progressBar"));
}

QPushButton *button(const DecodeRoutes &dialog, const char *name)
{
    return dialog.findChild<QPushButton *>(QString::fromLatin1(name));
}

void press(const DecodeRoutes &dialog, const char *name)
{
    QTest::mouseClick(button(dialog, name), Qt::LeftButton);
}

QStringList row(const DecodeRoutes &dialog, int index)
{
    QStringList texts;
    for (int column = 0; column < table(dialog)->columnCount(); ++column) {
        const QTableWidgetItem *const item = table(dialog)->item(index, column);
        texts.append(item ? item->text() : QStringLiteral("no item"));
    }
    return texts;
}

QStringList column(const DecodeRoutes &dialog, int index)
{
    QStringList texts;
    for (int i = 0; i < table(dialog)->rowCount(); ++i)
        texts.append(row(dialog, i).at(index));
    return texts;
}

QVector<QVariant> sheetRow(const QXlsx::Document &document, int index)
{
    QVector<QVariant> cells;
    for (int c = 1; c <= 9; ++c)
        cells.append(document.read(index, c));
    return cells;
}

void convert(DecodeRoutes &dialog, const QString &path)
{
    dialog.setRouteFile(path);
    dialog.on_btn_writeExcel_clicked();
}

} // namespace

class TestDecodeRoutes : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSlots();
    void formIsThreeRows_data();
    void formIsThreeRows();
    void tableHasNineColumns_data();
    void tableHasNineColumns();
    void selectingOpensADialogForJsonFiles();
    void selectingDoesNotReadTheFile();
    void cancelledDialogClearsTheFile();
    void selectingSetsTheProgressToZero();
    void missingSelectionIsReported();
    void missingFileIsReported();
    void unreadableFileIsReported();
    void folderCannotBeOpened();
    void fileThatIsNotRegularCannotBeOpened_data();
    void fileThatIsNotRegularCannotBeOpened();
    void pressingTheButtonConverts();
    void waypointsBecomeRows();
    void workbookHasTheSameRows();
    void workbookTitlesAreEnglishWithTheCatalogue();
    void oneWaypointHasNoLeg();
    void emptyRouteWritesTheTitles();
    void nameEndsAtTheFirstDot();
    void existingWorkbookIsReplacedCompletely();
    void progressHasTheExpectedSteps();
    void legUsesTheSpeedOfItsEnd();
    void totalIsSummedInFloats();
    void distanceUsesFloatPositions();
    void valuesOfTheWrongTypeAreZero();
    void invalidNumberTextIsShownUnchanged();
    void numbersHaveSixDigits();
    void legWithoutSpeedIsInfinite();
    void zeroDistanceWithoutSpeedIsNan();
    void negativeSpeedIsAccepted();
    void invalidRouteHasNoRows_data();
    void invalidRouteHasNoRows();
    void byteOrderMarkIsIgnored();
    void invalidWaypointsAreZero();
    void secondConversionStartsFromAnEmptyTable();
    void namesWithChineseAndBlanksWork_data();
    void namesWithChineseAndBlanksWork();
    void pathOfFourThousandCharactersIsConverted();
    void tooLongPathIsReportedAsMissing();
    void unwritableWorkbookIsNotReported_data();
    void unwritableWorkbookIsNotReported();
    void readOnlyFolderKeepsTheOlderWorkbook();
    void fullDiskKeepsTheOlderWorkbook();
    void nestedConversionCompletes();
    void rowsBeyondTheTableAreIgnored();
    void closingDuringAConversionIsSafe();
    void deletingDuringAConversionIsSafe();
    void eventsAreProcessedForEachWaypoint();
    void hugeFileIsConvertedInLimitedTime();
    void legTimeUsesDoubleDivision();
    void hugeCoordinateIsTruncatedToACell();
    void truncationKeepsSurrogatePairs_data();
    void truncationKeepsSurrogatePairs();
    void invalidWorkbookIsRenamed();

private:
    QString path(const char *name) const { return m_fixture->path(QString::fromUtf8(name)); }

    std::unique_ptr<Fixture> m_fixture;
};

void TestDecodeRoutes::declaresItsSlots()
{
    QCOMPARE(ownMethods(DecodeRoutes::staticMetaObject),
             (QStringList{"slot on_btn_selectFile_clicked()", "slot on_btn_writeExcel_clicked()"}));
}

void TestDecodeRoutes::formIsThreeRows_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QString>("select");
    QTest::addColumn<QString>("convert");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed << "选择航线"
                             << "解析航线";
    QTest::newRow("English") << Fixture::Catalogue::Missing << "SelectRoute"
                             << "DecodeRoutes";
}

void TestDecodeRoutes::formIsThreeRows()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QString, select);
    QFETCH(QString, convert);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);
    DecodeRoutes dialog(nullptr);
    QCOMPARE(dialog.objectName(), QStringLiteral("DecodeRoutes"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Routes"));
    QCOMPARE(dialog.size(), QSize(1168, 865));
    const auto *const grid = qobject_cast<QGridLayout *>(dialog.layout());
    QVERIFY(grid);
    QCOMPARE(grid->rowCount(), 3);
    QCOMPARE(bar(dialog)->value(), 0);
    QVERIFY(dialog.routeFile().isEmpty());
    QCOMPARE(button(dialog, "btn_selectFile")->text(), select);
    QCOMPARE(button(dialog, "btn_writeExcel")->text(), convert);
    dialog.show();
    QVERIFY(button(dialog, "btn_selectFile")->geometry().bottom() < table(dialog)->y());
    QCOMPARE(button(dialog, "btn_selectFile")->y(), button(dialog, "btn_writeExcel")->y());
    QVERIFY(table(dialog)->geometry().bottom() < bar(dialog)->y());
}

void TestDecodeRoutes::tableHasNineColumns_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QStringList>("headers");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed
                             << QStringList{"序号", "经度",     "纬度",     "高度",  "半径",
                                            "速度", "相对距离", "飞行时间", "总时间"};
    QStringList english = kTitles;
    english[0] = "ID";
    QTest::newRow("English") << Fixture::Catalogue::Missing << english;
}

void TestDecodeRoutes::tableHasNineColumns()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QStringList, headers);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);
    const DecodeRoutes dialog(nullptr);
    QStringList found;
    for (int c = 0; c < table(dialog)->columnCount(); ++c)
        found.append(table(dialog)->horizontalHeaderItem(c)->text());
    QCOMPARE(found, headers);
    QCOMPARE(table(dialog)->rowCount(), 0);
}

void TestDecodeRoutes::selectingOpensADialogForJsonFiles()
{
    write(path("航线 1.json"), "{}");
    DecodeRoutes dialog(nullptr);
    dialog.show();
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([&](QDialog *box) {
        auto *const files = qobject_cast<QFileDialog *>(box);
        QVERIFY(files);
        QCOMPARE(files->parentWidget(), &dialog);
        QCOMPARE(files->windowTitle(), QStringLiteral("选择航线文件"));
        QCOMPARE(files->nameFilters(), QStringList{"*.json"});
        QCOMPARE(files->directory().canonicalPath(), QDir(m_fixture->dir()).canonicalPath());
        files->selectFile(path("航线 1.json"));
        static_cast<QDialog *>(files)->accept();
    });
    press(dialog, "btn_selectFile");
    QCOMPARE(QFileInfo(dialog.routeFile()).canonicalFilePath(), QFileInfo(path("航线 1.json")).canonicalFilePath());
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::selectingDoesNotReadTheFile()
{
    write(path("r.json"), equatorRoute(3));
    DecodeRoutes dialog(nullptr);
    dialog.show();
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([&](QDialog *box) {
        static_cast<QFileDialog *>(box)->selectFile(path("r.json"));
        box->accept();
    });
    press(dialog, "btn_selectFile");
    QCOMPARE(table(dialog)->rowCount(), 0);
    QVERIFY(!QFileInfo::exists(path("r.xlsx")));
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::cancelledDialogClearsTheFile()
{
    DecodeRoutes dialog(nullptr);
    dialog.show();
    dialog.setRouteFile(path("r.json"));
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([](QDialog *box) { box->reject(); });
    press(dialog, "btn_selectFile");
    QVERIFY(dialog.routeFile().isEmpty());
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::selectingSetsTheProgressToZero()
{
    write(path("r.json"), equatorRoute(3));
    DecodeRoutes dialog(nullptr);
    dialog.show();
    convert(dialog, path("r.json"));
    QCOMPARE(bar(dialog)->value(), 400);
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([](QDialog *box) { box->reject(); });
    press(dialog, "btn_selectFile");
    QCOMPARE(bar(dialog)->value(), 0);
    QCOMPARE(bar(dialog)->text(), QStringLiteral("0%"));
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::missingSelectionIsReported()
{
    DecodeRoutes dialog(nullptr);
    dialog.show();
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([&](QDialog *box) {
        auto *const message = qobject_cast<QMessageBox *>(box);
        QVERIFY(message);
        QCOMPARE(message->parentWidget(), &dialog);
        QCOMPARE(message->icon(), QMessageBox::Information);
        QCOMPARE(message->windowTitle(), QStringLiteral("info"));
        QCOMPARE(message->text(), QStringLiteral("route file is empty"));
        QCOMPARE(message->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        message->accept();
    });
    press(dialog, "btn_writeExcel");
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::missingFileIsReported()
{
    DecodeRoutes dialog(nullptr);
    dialog.show();
    dialog.setRouteFile(path("gone.json"));
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([](QDialog *box) {
        QCOMPARE(box->windowTitle(), QStringLiteral("info"));
        QCOMPARE(qobject_cast<QMessageBox *>(box)->text(), QStringLiteral("route file not exists"));
    });
    press(dialog, "btn_writeExcel");
    QVERIFY(!QFileInfo::exists(path("gone.xlsx")));
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::unreadableFileIsReported()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    const QString file = path("secret.json");
    write(file, equatorRoute(2));
    QVERIFY(letNobodyRead(file));
    QVERIFY(letOthersWrite(m_fixture->dir()));
    const int code = asOrdinaryUser([&] {
        DecodeRoutes dialog(nullptr);
        dialog.setRouteFile(file);
        ModalAnswer modal;
        QString text;
        modal.next([&text](QDialog *box) { text = qobject_cast<QMessageBox *>(box)->text(); });
        dialog.on_btn_writeExcel_clicked();
        return text == QLatin1String("route file open failed") && table(dialog)->rowCount() == 0 ? 0 : 1;
    });
    QCOMPARE(code, 0);
    QVERIFY(!QFileInfo::exists(path("secret.xlsx")));
}

void TestDecodeRoutes::folderCannotBeOpened()
{
    QVERIFY(QDir().mkdir(path("folder.json")));
    DecodeRoutes dialog(nullptr);
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([](QDialog *box) {
        QCOMPARE(qobject_cast<QMessageBox *>(box)->text(), QStringLiteral("route file open failed"));
    });
    convert(dialog, path("folder.json"));
    QVERIFY(modal.allAnswered());
}

void TestDecodeRoutes::fileThatIsNotRegularCannotBeOpened_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("pipe") << QString();
    QTest::newRow("link to a pipe") << "pipe";
    QTest::newRow("link to a device") << "/dev/null";
}

void TestDecodeRoutes::fileThatIsNotRegularCannotBeOpened()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its reader");
    QFETCH(QString, target);
    const QString file = path("x.json");
    const Fifo fifo(target.isEmpty() ? file : path("pipe"));
    QVERIFY(fifo.isValid());
    if (!target.isEmpty())
        QVERIFY(QFile::link(QDir(m_fixture->dir()).absoluteFilePath(target), file));
    DecodeRoutes dialog(nullptr);
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([](QDialog *box) {
        QCOMPARE(qobject_cast<QMessageBox *>(box)->text(), QStringLiteral("route file open failed"));
    });
    convert(dialog, file);
    QVERIFY(modal.allAnswered());
    QVERIFY(!fifo.wasOpened());
    QVERIFY(!QFileInfo::exists(path("x.xlsx")));
}

void TestDecodeRoutes::pressingTheButtonConverts()
{
    write(path("r.json"), equatorRoute(2));
    DecodeRoutes dialog(nullptr);
    dialog.show();
    dialog.setRouteFile(path("r.json"));
    press(dialog, "btn_writeExcel");
    QCOMPARE(table(dialog)->rowCount(), 2);
    QVERIFY(QFileInfo::exists(path("r.xlsx")));
    QCOMPARE(bar(dialog)->value(), bar(dialog)->maximum());
}

void TestDecodeRoutes::waypointsBecomeRows()
{
    write(path("r.json"),
          route({waypoint("0.0", "0", 55.5, 120.25, 300), waypoint(" 1.00 ", "0.000", 100, -3, 0.5),
                 waypoint("1", "0", 20, 1234567.8, 1e-5)}));
    DecodeRoutes dialog(nullptr);
    dialog.show();
    convert(dialog, path("r.json"));
    QCOMPARE(table(dialog)->rowCount(), 3);
    QCOMPARE(row(dialog, 0), (QStringList{"1", "0.0", "0", "120.25", "300", "55.5", "0", "0", "0"}));
    // 111319.490793 m at 100 m/s.
    QCOMPARE(row(dialog, 1), (QStringList{"2", " 1.00 ", "0.000", "-3", "0.5", "100", "111319", "1113.19", "1113.19"}));
    QCOMPARE(row(dialog, 2), (QStringList{"3", "1", "0", "1.23457e+06", "1e-05", "20", "0", "0", "1113.19"}));
}

void TestDecodeRoutes::workbookHasTheSameRows()
{
    write(path("r.json"),
          route({waypoint("0", "0", 55.5, 120.25, 300), waypoint("1.123456789012", "0", 100, -3, 0.1)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    const QXlsx::Document document(path("r.xlsx"));
    QCOMPARE(document.sheetNames(), QStringList{"Sheet1"});
    QCOMPARE(sheetRow(document, 2), (QVector<QVariant>{1.0, 0.0, 0.0, 120.25, 300.0, 55.5, 0.0, 0.0, 0.0}));
    // The column has the full text; the distance uses the position as a float.
    const double degrees = std::trunc(double(1.123456789012f) * 1e7) / 1e7;
    const float distance = float(kDegreeOfEquator * degrees);
    const float flyTime = float(double(distance) / 100);
    QCOMPARE(sheetRow(document, 3),
             (QVector<QVariant>{2.0, 1.123456789012, 0.0, -3.0, 0.1, 100.0, double(distance), double(flyTime),
                                double(flyTime)}));
    QVERIFY(!document.read(4, 1).isValid());
}

void TestDecodeRoutes::workbookTitlesAreEnglishWithTheCatalogue()
{
    write(path("r.json"), equatorRoute(1));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    const QXlsx::Document document(path("r.xlsx"));
    QStringList titles;
    for (const QVariant &cell : sheetRow(document, 1))
        titles.append(cell.toString());
    QCOMPARE(titles, kTitles);
    QVERIFY(!document.read(1, 10).isValid());
}

void TestDecodeRoutes::oneWaypointHasNoLeg()
{
    write(path("r.json"), route({waypoint("113.9", "33.9", 0)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(table(dialog)->rowCount(), 1);
    QCOMPARE(row(dialog, 0).mid(6), (QStringList{"0", "0", "0"}));
    const QXlsx::Document document(path("r.xlsx"));
    QVERIFY(document.read(2, 1).isValid());
    QVERIFY(!document.read(3, 1).isValid());
}

void TestDecodeRoutes::emptyRouteWritesTheTitles()
{
    write(path("r.json"), route({}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(table(dialog)->rowCount(), 0);
    QCOMPARE(bar(dialog)->minimum(), 1);
    QCOMPARE(bar(dialog)->maximum(), 100);
    QCOMPARE(bar(dialog)->value(), 100);
    const QXlsx::Document document(path("r.xlsx"));
    QCOMPARE(document.read(1, 9).toString(), QStringLiteral("totalTime"));
    QVERIFY(!document.read(2, 1).isValid());
}

void TestDecodeRoutes::nameEndsAtTheFirstDot()
{
    QVERIFY(QDir().mkdir(path("航 线")));
    write(path("航 线/a.b.json"), equatorRoute(1));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("航 线/a.b.json"));
    QCOMPARE(QDir(path("航 线")).entryList(QDir::Files | QDir::Hidden), (QStringList{"a.b.json", "a.xlsx"}));
}

void TestDecodeRoutes::existingWorkbookIsReplacedCompletely()
{
    {
        QXlsx::Document old;
        old.addSheet("Mine");
        old.write(50, 1, 5.0);
        QVERIFY(old.saveAs(path("r.xlsx")));
    }
    write(path("r.json"), equatorRoute(1));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QXlsx::Document document(path("r.xlsx"));
    QCOMPARE(document.sheetNames(), QStringList{"Sheet1"});
    QVERIFY(!document.read(50, 1).isValid());
}

void TestDecodeRoutes::progressHasTheExpectedSteps()
{
    write(path("r.json"), equatorRoute(10));
    DecodeRoutes dialog(nullptr);
    QList<int> values;
    connect(bar(dialog), &QProgressBar::valueChanged, this, [&values](int value) { values.append(value); });
    convert(dialog, path("r.json"));
    QCOMPARE(values, (QList<int>{10, 20, 50, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 1100}));
    QCOMPARE(bar(dialog)->maximum(), 1100);
}

void TestDecodeRoutes::legUsesTheSpeedOfItsEnd()
{
    write(path("r.json"), route({waypoint("0", "0", 1), waypoint("1", "0", 1000), waypoint("2", "0", 10)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(column(dialog, 5), (QStringList{"1", "1000", "10"}));
    QCOMPARE(column(dialog, 7), (QStringList{"0", "111.319", "11131.9"}));
}

void TestDecodeRoutes::totalIsSummedInFloats()
{
    write(path("r.json"), equatorRoute(30));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    const QXlsx::Document document(path("r.xlsx"));
    const float leg = float(double(float(kDegreeOfEquator)) / 100);
    float total = 0;
    for (int i = 1; i < 30; ++i) {
        total += leg;
        QCOMPARE(document.read(i + 2, 9).toDouble(), double(total));
    }
    // A sum in double precision gives a different value.
    QVERIFY(double(total) != 29 * double(leg));
}

void TestDecodeRoutes::distanceUsesFloatPositions()
{
    // The float resolution near 113.9 is 7.6e-6 degrees, so these positions are equal.
    write(path("r.json"), route({waypoint("113.9000010", "0"), waypoint("113.9000020", "0")}));
    QVERIFY(QString("113.9000010").toFloat() == QString("113.9000020").toFloat());
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(row(dialog, 1).at(6), QStringLiteral("0"));
    QCOMPARE(QXlsx::Document(path("r.xlsx")).read(3, 2).toDouble(), 113.9000020);
}

void TestDecodeRoutes::valuesOfTheWrongTypeAreZero()
{
    write(path("r.json"), R"({"cartographic": [
        {"longitude": 113.9, "latitude": [33.9], "height": "120", "radius": null, "speed": {"v": 1}},
        {"height": 7},
        {"longitude": "1", "latitude": "0", "height": true, "radius": 2.5, "speed": 3, "extra": "x"}]})");
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(row(dialog, 0), (QStringList{"1", "", "", "0", "0", "0", "0", "0", "0"}));
    // Zero distance divided by zero speed is NaN, and the total remains NaN.
    QCOMPARE(row(dialog, 1), (QStringList{"2", "", "", "7", "0", "0", "0", "nan", "nan"}));
    QCOMPARE(row(dialog, 2).mid(3, 4), (QStringList{"0", "2.5", "3", "111319"}));
}

void TestDecodeRoutes::invalidNumberTextIsShownUnchanged()
{
    write(path("r.json"), route({waypoint("E113°", "=1+1"), waypoint("1e400", "nan")}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(row(dialog, 0).mid(1, 2), (QStringList{"E113°", "=1+1"}));
    // The distance to an invalid latitude is NaN.
    QCOMPARE(row(dialog, 1).mid(1), (QStringList{"1e400", "nan", "100", "300", "20", "nan", "nan", "nan"}));
    const QXlsx::Document document(path("r.xlsx"));
    QCOMPARE(document.read(2, 2), QVariant(0.0));
    QCOMPARE(document.read(2, 3), QVariant(0.0));
    QVERIFY(std::isnan(document.read(3, 7).toDouble()));
}

void TestDecodeRoutes::numbersHaveSixDigits()
{
    write(path("r.json"), route({waypoint("0", "0", 0.123456789, 123456.7, 12345678)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(row(dialog, 0).mid(3, 3), (QStringList{"123457", "1.23457e+07", "0.123457"}));
    QCOMPARE(QXlsx::Document(path("r.xlsx")).read(2, 6).toDouble(), 0.123456789);
}

void TestDecodeRoutes::legWithoutSpeedIsInfinite()
{
    write(path("r.json"), route({waypoint("0", "0", 0), waypoint("1", "0", 0), waypoint("2", "0", 100)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(column(dialog, 7), (QStringList{"0", "inf", "1113.19"}));
    QCOMPARE(column(dialog, 8), (QStringList{"0", "inf", "inf"}));
    const QXlsx::Document document(path("r.xlsx"));
    QVERIFY(std::isinf(document.read(3, 8).toDouble()));
    QVERIFY(std::isinf(document.read(4, 9).toDouble()));
}

void TestDecodeRoutes::zeroDistanceWithoutSpeedIsNan()
{
    write(path("r.json"), route({waypoint("5", "6", 0), waypoint("5", "6", 0), waypoint("6", "6", 100)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(column(dialog, 6).mid(0, 2), (QStringList{"0", "0"}));
    QCOMPARE(column(dialog, 7).mid(0, 2), (QStringList{"0", "nan"}));
    QCOMPARE(column(dialog, 8), (QStringList{"0", "nan", "nan"}));
}

void TestDecodeRoutes::negativeSpeedIsAccepted()
{
    write(path("r.json"), route({waypoint("0", "0"), waypoint("1", "0", -100)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(row(dialog, 1).at(7), QStringLiteral("-1113.19"));
}

void TestDecodeRoutes::invalidRouteHasNoRows_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("no bytes") << QByteArray();
    QTest::newRow("text") << QByteArray("a route");
    QTest::newRow("cut off") << equatorRoute(5).chopped(20);
    QTest::newRow("zeros") << QByteArray(1000, '\0');
    QTest::newRow("array on top") << QByteArray("[{\"longitude\": \"1\"}]");
    QTest::newRow("other keys") << QByteArray("{\"waypoints\": [{}]}");
    QTest::newRow("key of another case") << QByteArray("{\"Cartographic\": [{}]}");
    QTest::newRow("an object instead of an array") << QByteArray("{\"cartographic\": {\"0\": {}}}");
    QTest::newRow("a number instead of an array") << QByteArray("{\"cartographic\": 5}");
    QTest::newRow("invalid number") << QByteArray("{\"cartographic\": [{\"speed\": nan}]}");
    QTest::newRow("number beyond doubles") << QByteArray("{\"cartographic\": [{\"speed\": 1e400}]}");
    QTest::newRow("nested a million deep")
        << QByteArray("{\"cartographic\": ") + QByteArray(1000000, '[') + QByteArray(1000000, ']') + '}';
    QTest::newRow("nested a million deep and open") << QByteArray(1000000, '{');
    QTest::newRow("two-byte characters") << QByteArray("\xff\xfe{\0}\0", 6);
}

void TestDecodeRoutes::invalidRouteHasNoRows()
{
    QFETCH(QByteArray, content);
    write(path("r.json"), equatorRoute(2));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    write(path("r.json"), content);
    convert(dialog, path("r.json"));
    QCOMPARE(table(dialog)->rowCount(), 0);
    QCOMPARE(bar(dialog)->value(), 100);
    QCOMPARE(bar(dialog)->maximum(), 100);
    const QXlsx::Document document(path("r.xlsx"));
    QCOMPARE(document.read(1, 1).toString(), QStringLiteral("id"));
    QVERIFY(!document.read(2, 1).isValid());
}

void TestDecodeRoutes::byteOrderMarkIsIgnored()
{
    write(path("r.json"), "\xef\xbb\xbf" + equatorRoute(2));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(table(dialog)->rowCount(), 2);
}

void TestDecodeRoutes::invalidWaypointsAreZero()
{
    write(path("r.json"), "{\"cartographic\": [5, \"x\", null, [1]]}");
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QCOMPARE(column(dialog, 0), (QStringList{"1", "2", "3", "4"}));
    QCOMPARE(column(dialog, 1), (QStringList{"", "", "", ""}));
    QCOMPARE(column(dialog, 3), (QStringList{"0", "0", "0", "0"}));
}

void TestDecodeRoutes::secondConversionStartsFromAnEmptyTable()
{
    write(path("long.json"), equatorRoute(8));
    write(path("short.json"), equatorRoute(3));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("long.json"));
    convert(dialog, path("short.json"));
    QCOMPARE(column(dialog, 0), (QStringList{"1", "2", "3"}));
    QCOMPARE(row(dialog, 2).at(8), QStringLiteral("2226.39"));
    QCOMPARE(bar(dialog)->value(), 400);
    QVERIFY(!QXlsx::Document(path("short.xlsx")).read(5, 1).isValid());
}

void TestDecodeRoutes::namesWithChineseAndBlanksWork_data()
{
    QTest::addColumn<QString>("route");
    QTest::addColumn<QString>("workbook");
    QTest::newRow("Chinese and blanks") << "航线 一 号.json"
                                        << "航线 一 号.xlsx";
    QTest::newRow("blanks at both ends") << " r .json"
                                         << " r .xlsx";
    QTest::newRow("full stop of another script") << "航线。二.json"
                                                 << "航线。二.xlsx";
    QTest::newRow("without a suffix") << "航线"
                                      << "航线.xlsx";
    // The name up to the first dot is empty.
    QTest::newRow("nothing but a suffix") << ".json"
                                          << ".xlsx";
}

void TestDecodeRoutes::namesWithChineseAndBlanksWork()
{
    QFETCH(QString, route);
    QFETCH(QString, workbook);
    const QString folder = path("飞 行");
    QVERIFY(QDir().mkdir(folder));
    write(folder + '/' + route, equatorRoute(2));
    DecodeRoutes dialog(nullptr);
    convert(dialog, folder + '/' + route);
    QCOMPARE(table(dialog)->rowCount(), 2);
    QStringList expected{route, workbook};
    QStringList found = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    expected.sort();
    found.sort();
    QCOMPARE(found, expected);
    QCOMPARE(QXlsx::Document(folder + '/' + workbook).read(3, 1).toDouble(), 2.0);
}

void TestDecodeRoutes::pathOfFourThousandCharactersIsConverted()
{
    QString folder = m_fixture->dir();
    while (folder.size() + 101 < 3990)
        folder += '/' + QString(100, 'd');
    folder += '/' + QString(3993 - folder.size(), 'e');
    QVERIFY(QDir().mkpath(folder));
    const QString file = folder + "/r.json";
    QCOMPARE(file.size(), 4001);
    write(file, equatorRoute(3));
    for (const int rows : {3, 2}) {
        write(file, equatorRoute(rows));
        DecodeRoutes dialog(nullptr);
        convert(dialog, file);
        QCOMPARE(table(dialog)->rowCount(), rows);
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), (QStringList{"r.json", "r.xlsx"}));
        const QXlsx::Document document(folder + "/r.xlsx");
        QCOMPARE(document.read(rows + 1, 1).toDouble(), double(rows));
        QVERIFY(!document.read(rows + 2, 1).isValid());
    }
}

void TestDecodeRoutes::tooLongPathIsReportedAsMissing()
{
    DecodeRoutes dialog(nullptr);
    ModalAnswer modal; // created after the dialog, which it must not answer
    modal.next([](QDialog *box) {
        QCOMPARE(qobject_cast<QMessageBox *>(box)->text(), QStringLiteral("route file not exists"));
    });
    convert(dialog, m_fixture->path(QString(4000, 'r') + ".json"));
    QVERIFY(modal.allAnswered());
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

void TestDecodeRoutes::unwritableWorkbookIsNotReported_data()
{
    QTest::addColumn<bool>("full");
    QTest::newRow("an empty folder has the name") << false;
    QTest::newRow("a folder with a file has the name") << true;
}

void TestDecodeRoutes::unwritableWorkbookIsNotReported()
{
    QFETCH(bool, full);
    write(path("r.json"), equatorRoute(3));
    QVERIFY(QDir().mkdir(path("r.xlsx")));
    if (full)
        write(path("r.xlsx/mine"), "mine");
    DecodeRoutes dialog(nullptr);
    dialog.show();
    const ModalAnswer modal; // created after the dialog, which it must not answer
    convert(dialog, path("r.json"));
    QVERIFY(modal.allAnswered());
    QCOMPARE(table(dialog)->rowCount(), 3);
    QCOMPARE(bar(dialog)->value(), 400);
    QVERIFY(QFileInfo(path("r.xlsx")).isDir());
    QCOMPARE(QFileInfo::exists(path("r.xlsx/mine")), full);
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList{"r.json"});
}

void TestDecodeRoutes::readOnlyFolderKeepsTheOlderWorkbook()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    QVERIFY(QDir().mkdir(path("locked")));
    const QString file = path("locked/r.json");
    write(file, equatorRoute(3));
    write(path("locked/r.xlsx"), "older");
    write(path("locked/first.json"), equatorRoute(3));
    QVERIFY(letOthersRead(path("locked")));
    QVERIFY(letOthersRead(m_fixture->dir()));
    QCOMPARE(asOrdinaryUser([this] {
                 for (const char *name : {"locked/r.json", "locked/first.json"}) {
                     DecodeRoutes dialog(nullptr);
                     const ModalAnswer modal;
                     convert(dialog, path(name));
                     if (!modal.allAnswered() || table(dialog)->rowCount() != 3 || bar(dialog)->value() != 400)
                         return 1;
                 }
                 return 0;
             }),
             0);
    QCOMPARE(bytesOf(path("locked/r.xlsx")), QByteArray("older"));
    QCOMPARE(QDir(path("locked")).entryList(QDir::Files | QDir::Hidden),
             (QStringList{"first.json", "r.json", "r.xlsx"}));
}

void TestDecodeRoutes::fullDiskKeepsTheOlderWorkbook()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    constexpr int kWaypoints = 2000;
    write(path("r.json"), equatorRoute(kWaypoints));
    write(path("r.xlsx"), "older");
    QVERIFY(letOthersWrite(m_fixture->dir()));
    QVERIFY(letOthersWrite(path("r.xlsx")));
    QCOMPARE(asOrdinaryUser([this] {
                 // The workbook is several times larger.
                 limitFileSize(20000);
                 DecodeRoutes dialog(nullptr);
                 const ModalAnswer modal;
                 convert(dialog, path("r.json"));
                 return modal.allAnswered() && table(dialog)->rowCount() == kWaypoints
                         && bar(dialog)->value() == bar(dialog)->maximum()
                     ? 0
                     : 1;
             }),
             0);
    QCOMPARE(bytesOf(path("r.xlsx")), QByteArray("older"));
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), (QStringList{"r.json", "r.xlsx"}));
    // The same without the limit.
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QVERIFY(QFileInfo(path("r.xlsx")).size() > 40000);
}

void TestDecodeRoutes::nestedConversionCompletes()
{
    write(path("outer.json"), equatorRoute(5));
    write(path("inner.json"), equatorRoute(40));
    DecodeRoutes dialog(nullptr);
    dialog.show();
    QStringList seenInside;
    QTimer::singleShot(0, &dialog, [&] {
        dialog.setRouteFile(path("inner.json"));
        press(dialog, "btn_writeExcel");
        seenInside = column(dialog, 0);
    });
    convert(dialog, path("outer.json"));
    QCOMPARE(seenInside.size(), 40);
    QCOMPARE(seenInside.last(), QStringLiteral("40"));
    // Both workbooks are complete.
    for (const auto &[name, last] : {std::pair("inner.xlsx", 40), std::pair("outer.xlsx", 5)}) {
        const QXlsx::Document document(path(name));
        QCOMPARE(document.read(last + 1, 1).toDouble(), double(last));
        QVERIFY(!document.read(last + 2, 1).isValid());
    }
}

void TestDecodeRoutes::rowsBeyondTheTableAreIgnored()
{
    write(path("outer.json"), equatorRoute(60));
    write(path("inner.json"), equatorRoute(3));
    DecodeRoutes dialog(nullptr);
    dialog.show();
    // When the outer conversion is far past the third row.
    connect(bar(dialog), &QProgressBar::valueChanged, this, [&](int value) {
        if (value != 2000 || bar(dialog)->maximum() != 6100)
            return;
        QTimer::singleShot(0, &dialog, [&] { convert(dialog, path("inner.json")); });
    });
    convert(dialog, path("outer.json"));
    QCOMPARE(column(dialog, 0), (QStringList{"1", "2", "3"}));
    QCOMPARE(QXlsx::Document(path("outer.xlsx")).read(61, 1).toDouble(), 60.0);
    QCOMPARE(QXlsx::Document(path("inner.xlsx")).read(4, 1).toDouble(), 3.0);
}

void TestDecodeRoutes::closingDuringAConversionIsSafe()
{
    write(path("r.json"), equatorRoute(50));
    DecodeRoutes dialog(nullptr);
    QTimer::singleShot(0, &dialog, [&] {
        QTimer::singleShot(0, &dialog, [&] { dialog.close(); });
        convert(dialog, path("r.json"));
        QVERIFY(!dialog.isVisible());
    });
    dialog.exec();
    QCOMPARE(table(dialog)->rowCount(), 50);
    QVERIFY(QFileInfo::exists(path("r.xlsx")));
}

void TestDecodeRoutes::deletingDuringAConversionIsSafe()
{
    write(path("r.json"), equatorRoute(50));
    auto *const dialog = new DecodeRoutes(nullptr);
    dialog->show();
    dialog->setRouteFile(path("r.json"));
    QTimer::singleShot(0, qApp, [dialog] { delete dialog; });
    QFile file(path("r.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    dialog->decodeRoute(file);
    QVERIFY(!QFileInfo::exists(path("r.xlsx")));
}

void TestDecodeRoutes::eventsAreProcessedForEachWaypoint()
{
    write(path("r.json"), equatorRoute(20));
    DecodeRoutes dialog(nullptr);
    QList<int> rowsSeen;
    const std::function<void()> recordRow = [&] {
        rowsSeen.append(table(dialog)->rowCount());
        if (rowsSeen.size() < 20)
            QMetaObject::invokeMethod(&dialog, recordRow, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(&dialog, recordRow, Qt::QueuedConnection);
    convert(dialog, path("r.json"));
    // Each event pass sees one more complete row.
    QList<int> expected;
    for (int i = 0; i < 20; ++i)
        expected.append(i);
    QCOMPARE(rowsSeen, expected);
}

void TestDecodeRoutes::hugeFileIsConvertedInLimitedTime()
{
    // 100 MB, most of it in an unused field.
    QByteArray content = "{\"name\": \"";
    content.append(QByteArray(100 * 1024 * 1024, 'x')).append("\", \"cartographic\": [{\"longitude\": \"1\"}]}");
    write(path("r.json"), content);
    content.clear();
    DecodeRoutes dialog(nullptr);
    QElapsedTimer timer;
    timer.start();
    convert(dialog, path("r.json"));
    QCOMPARE(table(dialog)->rowCount(), 1);
    QVERIFY(timer.elapsed() < 60000);
}

void TestDecodeRoutes::legTimeUsesDoubleDivision()
{
    const float distance = float(kDegreeOfEquator);
    int differing = 0;
    for (const double speed : {0.1, 0.3, 0.7, 3.3, 7.7, 10.1, 13.7, 27.3}) {
        write(path("r.json"), route({waypoint("0", "0"), waypoint("1", "0", speed)}));
        DecodeRoutes dialog(nullptr);
        convert(dialog, path("r.json"));
        QCOMPARE(QXlsx::Document(path("r.xlsx")).read(3, 8).toDouble(), double(float(double(distance) / speed)));
        differing += float(double(distance) / speed) != distance / float(speed) ? 1 : 0;
    }
    // Ensures that the speeds distinguish the two divisions.
    QVERIFY(differing > 0);
}

void TestDecodeRoutes::hugeCoordinateIsTruncatedToACell()
{
    constexpr int kLongest = 32767;
    constexpr int kSize = 40000000;
    // Trailing zeros, so that the value does not change when they are cut.
    QByteArray content = "{\"cartographic\": [{\"longitude\": \"113.5";
    content.append(QByteArray(kSize, '0')).append("\", \"latitude\": \"33.25\"}]}");
    write(path("r.json"), content);
    content.clear();
    const auto convertShown = [this](DecodeRoutes &dialog) {
        dialog.show();
        QElapsedTimer timer;
        timer.start();
        convert(dialog, path("r.json"));
        dialog.grab(); // paints everything
        std::printf("a coordinate of %d MB took %lld ms\n", kSize / 1000000, static_cast<long long>(timer.elapsed()));
        return timer.elapsed() < 60000;
    };
#ifndef __SANITIZE_ADDRESS__
    if (hasOrdinaryUser()) {
        QVERIFY(letOthersWrite(m_fixture->dir()));
        const qint64 before = peakOfMemory();
        QCOMPARE(asOrdinaryUser([&] {
                     DecodeRoutes dialog(nullptr);
                     if (!convertShown(dialog))
                         return 1;
                     const qint64 grown = peakOfMemory() - before;
                     std::printf("a coordinate of %d MB took %lld MB\n", kSize / 1000000,
                                 static_cast<long long>(grown / 1000000));
                     // The bytes of the file, the UTF-16 text, and copies during parsing.
                     return grown < 12LL * kSize ? 0 : 2;
                 }),
                 0);
        QVERIFY(QFile::remove(path("r.xlsx")));
    }
#endif
    DecodeRoutes dialog(nullptr);
    QVERIFY(convertShown(dialog));
    QVERIFY(row(dialog, 0).at(1) == "113.5" + QString(kLongest - 5, '0'));
    QCOMPARE(row(dialog, 0).at(2), QStringLiteral("33.25"));
    QCOMPARE(QXlsx::Document(path("r.xlsx")).read(2, 2).toDouble(), 113.5);
    QCOMPARE(QXlsx::Document(path("r.xlsx")).read(2, 3).toDouble(), 33.25);
}

void TestDecodeRoutes::truncationKeepsSurrogatePairs_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("size");
    const QString pair = QString::fromUtf8("\xf0\x9f\x9b\xa9"); // an aeroplane emoji, a surrogate pair
    QTest::newRow("one too many") << QString(32768, 'a') << 32767;
    QTest::newRow("maximum") << QString(32767, 'a') << 32767;
    QTest::newRow("a pair across the end") << QString(32766, 'a') + pair << 32766;
    QTest::newRow("a pair at the end") << QString(32765, 'a') + pair + 'b' << 32767;
}

void TestDecodeRoutes::truncationKeepsSurrogatePairs()
{
    QFETCH(QString, text);
    QFETCH(int, size);
    write(path("r.json"), route({waypoint(text, text)}));
    DecodeRoutes dialog(nullptr);
    convert(dialog, path("r.json"));
    QVERIFY(row(dialog, 0).at(1) == text.left(size));
    QVERIFY(row(dialog, 0).at(2) == text.left(size));
}

void TestDecodeRoutes::invalidWorkbookIsRenamed()
{
    write(path("r.json"), equatorRoute(2));
    write(path("r.xlsx"), "older");
    DecodeRoutes dialog(nullptr);
    const LogFile log;
    convert(dialog, path("r.json"));
    QCOMPARE(bytesOf(path("r.xlsx.old")), QByteArray("older"));
    QCOMPARE(QXlsx::Document(path("r.xlsx")).read(3, 1).toDouble(), 2.0);
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.leveledMessages().first().startsWith("warning: " + path("r.xlsx") + " is kept as " + path("r.xlsx.old")
                                                     + ": "));
    // An existing workbook is overwritten.
    convert(dialog, path("r.json"));
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden),
             (QStringList{"r.json", "r.xlsx", "r.xlsx.old"}));
}

QTEST_MAIN(TestDecodeRoutes)
#include "TestDecodeRoutes.moc"
