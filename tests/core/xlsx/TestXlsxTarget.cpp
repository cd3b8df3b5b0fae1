#include "XlsxTarget.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using QXlsx::XlsxTarget;

class TestXlsxTarget : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void newFileAppearsWhenItIsComplete();
    void oldFileIsReplacedWhenTheNewIsComplete();
    void cancelledFileLeavesTheOldOne();
    void forgottenFileLeavesTheOldOne();
    void oldFileIsSetAside();
    void cancelledSettingAsideLeavesTheOldFile();
    void settingAsideWithoutAFileJustWrites();
    void longNameIsWritten();
    void missingFolderIsAnError();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    QStringList files() const { return QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    void put(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray bytesOf(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestXlsxTarget::newFileAppearsWhenItIsComplete()
{
    XlsxTarget target(path("x.xlsx"));
    QVERIFY(target.open(false));
    target.device().write("new");
    QVERIFY(!QFileInfo::exists(path("x.xlsx")));
    QVERIFY(target.commit(false));
    QCOMPARE(files(), QStringList{"x.xlsx"});
    QCOMPARE(bytesOf("x.xlsx"), QByteArray("new"));
    QVERIFY(target.savedAside().isEmpty());
}

void TestXlsxTarget::oldFileIsReplacedWhenTheNewIsComplete()
{
    put("x.xlsx", "old and longer");
    XlsxTarget target(path("x.xlsx"));
    QVERIFY(target.open(false));
    target.device().write("new");
    QCOMPARE(bytesOf("x.xlsx"), QByteArray("old and longer"));
    QVERIFY(target.commit(false));
    QCOMPARE(bytesOf("x.xlsx"), QByteArray("new"));
    QCOMPARE(files(), QStringList{"x.xlsx"});
}

void TestXlsxTarget::cancelledFileLeavesTheOldOne()
{
    put("x.xlsx", "old");
    XlsxTarget target(path("x.xlsx"));
    QVERIFY(target.open(false));
    target.device().write("new");
    target.cancel();
    QCOMPARE(files(), QStringList{"x.xlsx"});
    QCOMPARE(bytesOf("x.xlsx"), QByteArray("old"));
}

void TestXlsxTarget::forgottenFileLeavesTheOldOne()
{
    put("x.xlsx", "old");
    {
        XlsxTarget target(path("x.xlsx"));
        QVERIFY(target.open(false));
        target.device().write("new");
    }
    QCOMPARE(files(), QStringList{"x.xlsx"});
    QCOMPARE(bytesOf("x.xlsx"), QByteArray("old"));
}

void TestXlsxTarget::oldFileIsSetAside()
{
    for (int i = 1; i <= 3; ++i) {
        put("x.xlsx", "old " + QByteArray::number(i));
        XlsxTarget target(path("x.xlsx"));
        QVERIFY(target.open(true));
        target.device().write("new");
        QVERIFY(target.commit(true));
        QCOMPARE(bytesOf("x.xlsx"), QByteArray("new"));
        const QString aside = i == 1 ? "x.xlsx.old" : "x.xlsx.old" + QString::number(i);
        QCOMPARE(QFileInfo(target.savedAside()).fileName(), aside);
        QCOMPARE(bytesOf(aside), "old " + QByteArray::number(i));
    }
    QCOMPARE(files(), QStringList({"x.xlsx", "x.xlsx.old", "x.xlsx.old2", "x.xlsx.old3"}));
}

void TestXlsxTarget::cancelledSettingAsideLeavesTheOldFile()
{
    put("x.xlsx", "old");
    XlsxTarget target(path("x.xlsx"));
    QVERIFY(target.open(true));
    target.device().write("new");
    target.cancel();
    QCOMPARE(files(), QStringList{"x.xlsx"});
    QCOMPARE(bytesOf("x.xlsx"), QByteArray("old"));
}

void TestXlsxTarget::settingAsideWithoutAFileJustWrites()
{
    XlsxTarget target(path("x.xlsx"));
    QVERIFY(target.open(true));
    target.device().write("new");
    QVERIFY(target.commit(true));
    QVERIFY(target.savedAside().isEmpty());
    QCOMPARE(files(), QStringList{"x.xlsx"});
}

void TestXlsxTarget::longNameIsWritten()
{
    // As long as file systems take: a temporary file of a longer name beside it would fail.
    const QString name = QString(250, 'x') + ".xlsx";
    XlsxTarget target(path(name));
    QVERIFY2(target.open(false), qPrintable(target.errorString()));
    target.device().write("new");
    QVERIFY2(target.commit(false), qPrintable(target.errorString()));
    QCOMPARE(files(), QStringList{name});
}

void TestXlsxTarget::missingFolderIsAnError()
{
    XlsxTarget target(path("missing/x.xlsx"));
    QVERIFY(!target.open(false));
    QVERIFY(!target.errorString().isEmpty());
    QVERIFY(!target.isInTheWay());
    QVERIFY(!QFileInfo::exists(path("missing")));
}

QTEST_GUILESS_MAIN(TestXlsxTarget)
#include "TestXlsxTarget.moc"
