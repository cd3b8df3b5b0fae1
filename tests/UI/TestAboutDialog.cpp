#include "AboutDialog.h"

#include "Release.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QTranslator>
#include <QtTest>

class TestAboutDialog : public QObject
{
    Q_OBJECT

private slots:
    void namesProductVersionBuildAndAuthor();
    void showsTheBuildDate();
    void isOneGridOfFiveCentredRows();
    void emblemFillsItsFixedSize();
    void fontsAreFixed();
};

namespace
{

QLabel *label(const QDialog &dialog, const char *name)
{
    auto *const found = dialog.findChild<QLabel *>(QString::fromLatin1(name));
    if (found == nullptr)
        qFatal("no label %s", name);
    return found;
}

} // namespace

void TestAboutDialog::namesProductVersionBuildAndAuthor()
{
    // These texts have no Chinese translation.
    QTranslator chinese;
    QVERIFY(chinese.load(QStringLiteral(":/Ostravel_zh.qm")));
    QCoreApplication::installTranslator(&chinese);
    const AboutDialog dialog(nullptr);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("About Ostravel"));
    QCOMPARE(label(dialog, "labelProduct")->text(), QStringLiteral("Ostravel for Windows"));
    QCOMPARE(label(dialog, "labelBuild")->text(), QStringLiteral("Version v2.3.2"));
    QCOMPARE(label(dialog, "labelCopyright")->text(), QStringLiteral("Author Corvenne team"));
    QVERIFY(label(dialog, "labelIcon")->text().isEmpty());
}

void TestAboutDialog::showsTheBuildDate()
{
    const AboutDialog dialog(nullptr);
    const QDateTime built = buildDateTime();
    QVERIFY(built.isValid());
    QCOMPARE(label(dialog, "labelBuild")->toolTip(), QStringLiteral("v2.3.2.%1.1").arg(buildDateText(built)));
    QCOMPARE(label(dialog, "labelTime")->text(), QStringLiteral("Build on %1").arg(buildDateTimeText(built)));
}

void TestAboutDialog::isOneGridOfFiveCentredRows()
{
    const AboutDialog dialog(nullptr);
    QCOMPARE(dialog.objectName(), QStringLiteral("AboutDialog"));
    QCOMPARE(dialog.size(), QSize(400, 400));
    const auto *const grid = qobject_cast<QGridLayout *>(dialog.layout());
    QVERIFY(grid != nullptr);
    QCOMPARE(grid->rowCount(), 5);
    QCOMPARE(grid->columnCount(), 1);
    const auto *const first = qobject_cast<QHBoxLayout *>(grid->itemAtPosition(0, 0)->layout());
    QVERIFY(first != nullptr);
    QCOMPARE(first->objectName(), QStringLiteral("horizontalLayout"));
    QCOMPARE(first->itemAt(0)->widget(), static_cast<QWidget *>(label(dialog, "labelIcon")));
    const char *const rows[] = {"labelProduct", "labelBuild", "labelTime", "labelCopyright"};
    for (int row = 0; row < 4; ++row) {
        QCOMPARE(grid->itemAtPosition(row + 1, 0)->widget(), static_cast<QWidget *>(label(dialog, rows[row])));
        QCOMPARE(label(dialog, rows[row])->alignment(), Qt::AlignCenter);
    }
    QCOMPARE(label(dialog, "labelIcon")->alignment(), Qt::AlignCenter);
}

void TestAboutDialog::emblemFillsItsFixedSize()
{
    const AboutDialog dialog(nullptr);
    const QLabel *const icon = label(dialog, "labelIcon");
    QCOMPARE(icon->minimumSize(), QSize(200, 150));
    QCOMPARE(icon->maximumSize(), QSize(200, 150));
    QCOMPARE(icon->styleSheet(), QStringLiteral("border-image: url(:/Corvenne.png);"));
    QVERIFY(!QImage(QStringLiteral(":/Corvenne.png")).isNull());
}

void TestAboutDialog::fontsAreFixed()
{
    const AboutDialog dialog(nullptr);
    const QFont product = label(dialog, "labelProduct")->font();
    QCOMPARE(product.family(), QStringLiteral("Adobe Devanagari"));
    QCOMPARE(product.pointSize(), 16);
    QCOMPARE(product.weight(), 75);
    const QFont copyright = label(dialog, "labelCopyright")->font();
    QCOMPARE(copyright.family(), QStringLiteral("宋体"));
    QCOMPARE(copyright.pointSize(), 12);
}

QTEST_MAIN(TestAboutDialog)
#include "TestAboutDialog.moc"
