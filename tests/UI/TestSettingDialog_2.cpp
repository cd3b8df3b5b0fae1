#include "DebugOutput.h"
#include "Fixture.h"
#include "MetaMethods.h"
#include "SettingDialog_2.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

Q_DECLARE_METATYPE(Fixture::Catalogue)

namespace
{

QSpinBox *size(const QDialog &dialog)
{
    return dialog.findChild<QSpinBox *>("lineThickness");
}

void press(const QDialog &dialog, QDialogButtonBox::StandardButton which)
{
    QTest::mouseClick(dialog.findChild<QDialogButtonBox *>("buttonBox")->button(which), Qt::LeftButton);
}

/** Presses OK and returns the emitted font. The dialog is closed afterwards. */
QFont fontOfOk(SettingDialog_2 &dialog)
{
    const QSignalSpy fonts(&dialog, &SettingDialog_2::resetAxisSizeSignal);
    dialog.show();
    press(dialog, QDialogButtonBox::Ok);
    if (fonts.count() != 1 || dialog.isVisible())
        qFatal("OK sent %d fonts", fonts.count());
    return fonts.at(0).at(0).value<QFont>();
}

} // namespace

class TestSettingDialog_2 : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSignalsAndSlotsInOrder();
    void formIsALabelledSizeAndTwoButtons_data();
    void formIsALabelledSizeAndTwoButtons();
    void okWithoutChangesEmitsTheDefaultFontAtEightPoints();
    void typedSizeIsThePointSize_data();
    void typedSizeIsThePointSize();
    void sizeOfZeroKeepsTheDefaultSizeWithAQtWarning();
    void fontIsEmittedBeforeTheDialogCloses();
    void cancelEmitsNothingAndCloses();
    void nextOpeningShowsTheDefaultsAgain();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestSettingDialog_2::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(ownMethods(SettingDialog_2::staticMetaObject),
             (QStringList{"signal resetAxisSizeSignal(QFont)", "slot on_buttonBox_accepted()",
                          "slot on_buttonBox_rejected()"}));
}

void TestSettingDialog_2::formIsALabelledSizeAndTwoButtons_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed << "设置"
                             << "字体大小";
    QTest::newRow("English") << Fixture::Catalogue::Missing << "Setting"
                             << "FontSize";
}

void TestSettingDialog_2::formIsALabelledSizeAndTwoButtons()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QString, title);
    QFETCH(QString, text);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);

    SettingDialog_2 dialog(nullptr);
    QCOMPARE(dialog.size(), QSize(248, 117));
    QCOMPARE(dialog.windowTitle(), title);
    dialog.show();

    const auto *const label = dialog.findChild<QLabel *>("label_3");
    QCOMPARE(label->text(), text);
    QCOMPARE(label->width(), 150);
    QCOMPARE(label->alignment(), Qt::AlignCenter);
    QCOMPARE(label->font().pointSize(), 12);
    QCOMPARE(label->buddy(), size(dialog));
    QCOMPARE(size(dialog)->font().pointSize(), 12);
    QCOMPARE(size(dialog)->minimum(), 0);
    QCOMPARE(size(dialog)->maximum(), 99);
    QCOMPARE(size(dialog)->value(), 8);
    QVERIFY(size(dialog)->x() > label->x());
    const auto *const buttons = dialog.findChild<QDialogButtonBox *>("buttonBox");
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QVERIFY(buttons->y() > label->y());
}

void TestSettingDialog_2::okWithoutChangesEmitsTheDefaultFontAtEightPoints()
{
    SettingDialog_2 dialog(nullptr);
    const QFont font = fontOfOk(dialog);
    QCOMPARE(font.pointSize(), 8);
    QCOMPARE(font.family(), QFont().family());
}

void TestSettingDialog_2::typedSizeIsThePointSize_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("points");
    QTest::newRow("1") << "1" << 1;
    QTest::newRow("24") << "24" << 24;
    QTest::newRow("99") << "99" << 99;
}

void TestSettingDialog_2::typedSizeIsThePointSize()
{
    QFETCH(QString, text);
    QFETCH(int, points);
    SettingDialog_2 dialog(nullptr);
    dialog.show();
    size(dialog)->selectAll();
    QTest::keyClicks(size(dialog), text);
    QCOMPARE(fontOfOk(dialog).pointSize(), points);
}

void TestSettingDialog_2::sizeOfZeroKeepsTheDefaultSizeWithAQtWarning()
{
    SettingDialog_2 dialog(nullptr);
    size(dialog)->setValue(0);
    const DebugOutput output;
    const QFont font = fontOfOk(dialog);
    QCOMPARE(font.pointSize(), QFont().pointSize());
    QCOMPARE(output.texts().filter(QStringLiteral("QFont::setPointSize")).size(), 1);
}

void TestSettingDialog_2::fontIsEmittedBeforeTheDialogCloses()
{
    SettingDialog_2 dialog(nullptr);
    bool visible = false;
    connect(&dialog, &SettingDialog_2::resetAxisSizeSignal, this, [&] { visible = dialog.isVisible(); });
    dialog.show();
    press(dialog, QDialogButtonBox::Ok);
    QVERIFY(visible);
    QVERIFY(!dialog.isVisible());
}

void TestSettingDialog_2::cancelEmitsNothingAndCloses()
{
    SettingDialog_2 dialog(nullptr);
    const QSignalSpy fonts(&dialog, &SettingDialog_2::resetAxisSizeSignal);
    dialog.show();
    press(dialog, QDialogButtonBox::Cancel);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(fonts.count(), 0);
}

void TestSettingDialog_2::nextOpeningShowsTheDefaultsAgain()
{
    {
        SettingDialog_2 dialog(nullptr);
        size(dialog)->setValue(30);
        QCOMPARE(fontOfOk(dialog).pointSize(), 30);
    }
    SettingDialog_2 dialog(nullptr);
    QCOMPARE(fontOfOk(dialog).pointSize(), 8);
}

QTEST_MAIN(TestSettingDialog_2)
#include "TestSettingDialog_2.moc"
