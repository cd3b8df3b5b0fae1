#include "AppConfig.h"
#include "ChannelStore.h"
#include "ColorDialogAnswer.h"
#include "Fixture.h"
#include "MetaMethods.h"
#include "SettingDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

Q_DECLARE_METATYPE(Fixture::Catalogue)

namespace
{

QPushButton *colorButton(const QDialog &dialog)
{
    return dialog.findChild<QPushButton *>("btnColor2");
}

QComboBox *lineStyle(const QDialog &dialog)
{
    return dialog.findChild<QComboBox *>("lineStyle");
}

QSpinBox *lineThickness(const QDialog &dialog)
{
    return dialog.findChild<QSpinBox *>("lineThickness");
}

void press(const QDialog &dialog, QDialogButtonBox::StandardButton which)
{
    QTest::mouseClick(dialog.findChild<QDialogButtonBox *>("buttonBox")->button(which), Qt::LeftButton);
}

/** Presses OK and returns the emitted pen. The dialog is closed afterwards. */
QPen penOfOk(SettingDialog &dialog)
{
    const QSignalSpy pens(&dialog, &SettingDialog::resetGraphSignal);
    dialog.show();
    press(dialog, QDialogButtonBox::Ok);
    if (pens.count() != 1 || dialog.isVisible())
        qFatal("OK sent %d pens", pens.count());
    return pens.at(0).at(0).value<QPen>();
}

} // namespace

class TestSettingDialog : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSignalsAndSlotsInOrder();
    void formHasItsRowsInOrder_data();
    void formHasItsRowsInOrder();
    void lineStylesAreNamed_data();
    void lineStylesAreNamed();
    void opensWithASolidLineOfWidthOneInTheDefaultColour();
    void okWithoutChangesEmitsASolidPenOfWidthOne();
    void everyItemHasItsPenStyle_data();
    void everyItemHasItsPenStyle();
    void customLineHasNoDashPattern();
    void typedThicknessIsTheWidth_data();
    void typedThicknessIsTheWidth();
    void thicknessOfZeroIsACosmeticPen();
    void chosenColourIsUsedForThePenButNotAsDefault();
    void cancelledColourSetsABlackButtonAndAnInvalidPenColour();
    void penIsEmittedBeforeTheDialogCloses();
    void cancelEmitsNothingAndCloses();
    void nextOpeningShowsTheDefaultsAgain();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestSettingDialog::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(ownMethods(SettingDialog::staticMetaObject),
             (QStringList{"signal resetGraphSignal(QPen)", "slot on_btnColor2_clicked()",
                          "slot on_buttonBox_accepted()", "slot on_buttonBox_rejected()"}));
}

void TestSettingDialog::formHasItsRowsInOrder_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed << "设置" << QStringList{"颜色", "线型", "粗细"};
    QTest::newRow("English") << Fixture::Catalogue::Missing << "Setting"
                             << QStringList{"Color", "LineStyle", "Thickness"};
}

void TestSettingDialog::formHasItsRowsInOrder()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QString, title);
    QFETCH(QStringList, labels);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);

    SettingDialog dialog(nullptr);
    QCOMPARE(dialog.size(), QSize(290, 238));
    QCOMPARE(dialog.windowTitle(), title);
    dialog.show();

    const QList<QLabel *> found = dialog.findChildren<QLabel *>();
    QCOMPARE(found.size(), 3);
    const char *const controls[] = {"btnColor2", "lineStyle", "lineThickness"};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(found[i]->text(), labels[i]);
        QCOMPARE(found[i]->width(), 100);
        QCOMPARE(found[i]->alignment(), Qt::AlignCenter);
        QCOMPARE(found[i]->buddy()->objectName(), QLatin1String(controls[i]));
        const auto *const control = dialog.findChild<QWidget *>(QLatin1String(controls[i]));
        QVERIFY(control->x() > found[i]->x());
        QVERIFY(qAbs(control->geometry().center().y() - found[i]->geometry().center().y()) <= 2);
        if (i > 0)
            QVERIFY(found[i]->y() > found[i - 1]->y());
    }
    QCOMPARE(lineThickness(dialog)->minimum(), 0);
    QCOMPARE(lineThickness(dialog)->maximum(), 99);
    QCOMPARE(dialog.findChild<QDialogButtonBox *>("buttonBox")->standardButtons(),
             QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void TestSettingDialog::lineStylesAreNamed_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QStringList>("items");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed
                             << QStringList{"实线", "点划线", "点线", "点划线", "双点划线", "定制虚线"};
    QTest::newRow("English") << Fixture::Catalogue::Missing
                             << QStringList{"Solid line",  "Dotted line",        "Dot line",
                                            "Dotted line", "Double dotted line", "Custom dotted line"};
}

void TestSettingDialog::lineStylesAreNamed()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QStringList, items);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);
    const SettingDialog dialog(nullptr);
    QStringList found;
    for (int i = 0; i < lineStyle(dialog)->count(); ++i)
        found.append(lineStyle(dialog)->itemText(i));
    QCOMPARE(found, items);
}

void TestSettingDialog::opensWithASolidLineOfWidthOneInTheDefaultColour()
{
    defaultColor = QColor(9, 88, 177);
    const SettingDialog dialog(nullptr);
    QCOMPARE(lineStyle(dialog)->currentIndex(), 0);
    QCOMPARE(lineThickness(dialog)->value(), 1);
    QCOMPARE(colorButton(dialog)->styleSheet(),
             QStringLiteral("#btnColor2{background-color: rgb(9,88,177);            border: 1px solid #298DFF;"
                            "            border-radius: 3px;}"));
}

void TestSettingDialog::okWithoutChangesEmitsASolidPenOfWidthOne()
{
    defaultColor = QColor(9, 88, 177);
    SettingDialog dialog(nullptr);
    const QPen pen = penOfOk(dialog);
    QCOMPARE(pen.style(), Qt::SolidLine);
    QCOMPARE(pen.width(), 1);
    QCOMPARE(pen.color(), QColor(9, 88, 177));
}

void TestSettingDialog::everyItemHasItsPenStyle_data()
{
    QTest::addColumn<Qt::PenStyle>("style");
    QTest::newRow("0") << Qt::SolidLine;
    QTest::newRow("1") << Qt::DashLine;
    QTest::newRow("2") << Qt::DotLine;
    QTest::newRow("3") << Qt::DashDotLine;
    QTest::newRow("4") << Qt::DashDotDotLine;
    QTest::newRow("5") << Qt::CustomDashLine;
}

void TestSettingDialog::everyItemHasItsPenStyle()
{
    QFETCH(Qt::PenStyle, style);
    SettingDialog dialog(nullptr);
    dialog.show();
    for (int i = 0; i < QString::fromLatin1(QTest::currentDataTag()).toInt(); ++i)
        QTest::keyClick(lineStyle(dialog), Qt::Key_Down);
    QCOMPARE(penOfOk(dialog).style(), style);
}

void TestSettingDialog::customLineHasNoDashPattern()
{
    SettingDialog dialog(nullptr);
    lineStyle(dialog)->setCurrentIndex(5);
    lineThickness(dialog)->setValue(1);
    const QPen pen = penOfOk(dialog);
    QCOMPARE(pen.style(), Qt::CustomDashLine);
    QCOMPARE(pen.width(), 1);
    QVERIFY(pen.dashPattern().isEmpty());
}

void TestSettingDialog::typedThicknessIsTheWidth_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::newRow("7") << "7" << 7;
    QTest::newRow("99") << "99" << 99;
    // The spin box rejects the third digit.
    QTest::newRow("100") << "100" << 10;
}

void TestSettingDialog::typedThicknessIsTheWidth()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    SettingDialog dialog(nullptr);
    dialog.show();
    lineThickness(dialog)->selectAll();
    QTest::keyClicks(lineThickness(dialog), text);
    QCOMPARE(penOfOk(dialog).width(), width);
}

void TestSettingDialog::thicknessOfZeroIsACosmeticPen()
{
    SettingDialog dialog(nullptr);
    lineThickness(dialog)->setValue(0);
    const QPen pen = penOfOk(dialog);
    QCOMPARE(pen.width(), 0);
    QVERIFY(pen.isCosmetic());
}

void TestSettingDialog::chosenColourIsUsedForThePenButNotAsDefault()
{
    SettingDialog dialog(nullptr);
    const ColorDialogAnswer answer(QColor(12, 34, 56));
    colorButton(dialog)->click();
    QVERIFY(answer.opened());
    QCOMPARE(answer.initial(), QColor(Qt::white));
    QVERIFY(!answer.hadParent());
    QCOMPARE(int(answer.options()), 0);
    QCOMPARE(colorButton(dialog)->styleSheet(),
             QStringLiteral("#btnColor2{background-color: rgb(12,34,56);            border: 1px solid #298DFF;"
                            "            border-radius: 3px;}"));
    QCOMPARE(penOfOk(dialog).color(), QColor(12, 34, 56));
    QCOMPARE(defaultColor, QColor(Qt::black));
}

void TestSettingDialog::cancelledColourSetsABlackButtonAndAnInvalidPenColour()
{
    defaultColor = QColor(9, 88, 177);
    SettingDialog dialog(nullptr);
    const ColorDialogAnswer answer{QColor()};
    colorButton(dialog)->click();
    QVERIFY(answer.opened());
    QVERIFY(colorButton(dialog)->styleSheet().startsWith(QLatin1String("#btnColor2{background-color: rgb(0,0,0);")));
    QVERIFY(!penOfOk(dialog).color().isValid());
}

void TestSettingDialog::penIsEmittedBeforeTheDialogCloses()
{
    SettingDialog dialog(nullptr);
    bool visible = false;
    connect(&dialog, &SettingDialog::resetGraphSignal, this, [&] { visible = dialog.isVisible(); });
    dialog.show();
    press(dialog, QDialogButtonBox::Ok);
    QVERIFY(visible);
    QVERIFY(!dialog.isVisible());
}

void TestSettingDialog::cancelEmitsNothingAndCloses()
{
    SettingDialog dialog(nullptr);
    const QSignalSpy pens(&dialog, &SettingDialog::resetGraphSignal);
    dialog.show();
    press(dialog, QDialogButtonBox::Cancel);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(pens.count(), 0);
}

void TestSettingDialog::nextOpeningShowsTheDefaultsAgain()
{
    {
        SettingDialog dialog(nullptr);
        lineStyle(dialog)->setCurrentIndex(4);
        lineThickness(dialog)->setValue(9);
        const ColorDialogAnswer answer(QColor(12, 34, 56));
        colorButton(dialog)->click();
        QVERIFY(answer.opened());
        penOfOk(dialog);
    }
    SettingDialog dialog(nullptr);
    const QPen pen = penOfOk(dialog);
    QCOMPARE(pen.style(), Qt::SolidLine);
    QCOMPARE(pen.width(), 1);
    QCOMPARE(pen.color(), QColor(Qt::black));
}

QTEST_MAIN(TestSettingDialog)
#include "TestSettingDialog.moc"
