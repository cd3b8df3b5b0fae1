#include "AppConfig.h"
#include "AppEvent.h"
#include "ChannelStore.h"
#include "ColorDialogAnswer.h"
#include "DebugOutput.h"
#include "Fixture.h"
#include "MetaMethods.h"
#include "WindowSettingDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(QDialogButtonBox::StandardButton)

namespace
{

struct Row {
    const char *label;
    const char *chinese;
    const char *object;
    bool isCheckBox;
};

constexpr Row kRows[] = {
    {"ShowFactor", "指标显示", "checkBox_factor", true},  {"TouchMode", "触摸模式", "checkBox_touch", true},
    {"NightMode", "夜间模式", "checkBox_dartMode", true}, {"Color1 ", "颜色1 ", "btnDefaultColor", false},
    {"Color2 ", "颜色2 ", "btnTargetColor", false},
};

QCheckBox *box(const QDialog &dialog, const char *name)
{
    return dialog.findChild<QCheckBox *>(QLatin1String(name));
}

QPushButton *button(const QDialog &dialog, const char *name)
{
    return dialog.findChild<QPushButton *>(QLatin1String(name));
}

void press(const QDialog &dialog, QDialogButtonBox::StandardButton which)
{
    QTest::mouseClick(dialog.findChild<QDialogButtonBox *>("buttonBox")->button(which), Qt::LeftButton);
}

/** Whether the widget is right of the label at the same height. */
bool isRightOf(const QWidget *control, const QWidget *label)
{
    const QPoint a = label->mapTo(label->window(), label->rect().center());
    const QPoint b = control->mapTo(control->window(), control->rect().center());
    return b.x() > a.x() && qAbs(a.y() - b.y()) <= 2;
}

} // namespace

class TestWindowSettingDialog : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup()
    {
        m_fixture.reset();
        qApp->setStyleSheet({});
    }

    void declaresItsSignalsAndSlotsInOrder();
    void formHasItsRowsInOrder();
    void rowsAreEnglishWithoutTheCatalogue();
    void labelsAreBuddiesOfTheirControls();
    void ticksShowTheOptions_data();
    void ticksShowTheOptions();
    void openingChangesNeitherThemeNorTouchMode();
    void touchBoxSetsTheModeAndNotifiesTheHub();
    void nightBoxSwitchesTheThemeTwiceImmediately();
    void factorBoxSetsTheOptionWithoutANotification();
    void partlyTickedStateIsOn();
    void cancelLeavesNightModeOn();
    void cancelRevertsNothing();
    void okAndCancelEndTheDialog_data();
    void okAndCancelEndTheDialog();
    void colourButtonsShowTheirColours();
    void chosenDefaultColourIsStoredAndLogged();
    void chosenTargetColourIsStoredWithoutALogEntry();
    void coloursAreStoredAsRgb();
    void cancelledColourIsStoredAndSetsABlackButton_data();
    void cancelledColourIsStoredAndSetsABlackButton();
    void newChannelsUseTheNewColours();
    void dialogNeverWritesTheConfiguration();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestWindowSettingDialog::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(ownMethods(WindowSettingDialog::staticMetaObject),
             (QStringList{"signal touchModeSignal(bool)", "signal switchThemeSignal(MyThemes)",
                          "signal writeConfigSignal()", "slot on_checkBox_touch_stateChanged(int)",
                          "slot on_checkBox_dartMode_stateChanged(int)", "slot on_checkBox_factor_stateChanged(int)",
                          "slot on_btnDefaultColor_clicked()", "slot on_btnTargetColor_clicked()"}));
}

void TestWindowSettingDialog::formHasItsRowsInOrder()
{
    WindowSettingDialog dialog(nullptr);
    QCOMPARE(dialog.size(), QSize(327, 303));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("显示设置"));
    dialog.show();

    const QList<QLabel *> labels = dialog.findChildren<QLabel *>();
    QCOMPARE(labels.size(), 5);
    int above = -1;
    for (int i = 0; i < labels.size(); ++i) {
        const Row &row = kRows[i];
        QCOMPARE(labels[i]->text(), QString::fromUtf8(row.chinese));
        QCOMPARE(labels[i]->font().pointSize(), 12);
        QVERIFY(labels[i]->y() > above);
        above = labels[i]->y();
        auto *const control = dialog.findChild<QWidget *>(QLatin1String(row.object));
        QVERIFY(isRightOf(control, labels[i]));
        QCOMPARE(qobject_cast<QCheckBox *>(control) != nullptr, row.isCheckBox);
        QCOMPARE(qobject_cast<QPushButton *>(control) != nullptr, !row.isCheckBox);
        if (!row.isCheckBox)
            QCOMPARE(control->maximumSize(), QSize(40, 24));
    }

    const auto *const buttons = dialog.findChild<QDialogButtonBox *>("buttonBox");
    QCOMPARE(buttons->orientation(), Qt::Horizontal);
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QVERIFY(buttons->y() > above);
}

void TestWindowSettingDialog::rowsAreEnglishWithoutTheCatalogue()
{
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(Fixture::Catalogue::Missing);
    WindowSettingDialog dialog(nullptr);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Show Setting"));
    const QList<QLabel *> labels = dialog.findChildren<QLabel *>();
    QCOMPARE(labels.size(), 5);
    for (int i = 0; i < labels.size(); ++i)
        QCOMPARE(labels[i]->text(), QString::fromUtf8(kRows[i].label));
}

void TestWindowSettingDialog::labelsAreBuddiesOfTheirControls()
{
    // Screen readers use the buddy label as the name of a control without a text.
    WindowSettingDialog dialog(nullptr);
    const QList<QLabel *> labels = dialog.findChildren<QLabel *>();
    QCOMPARE(labels.size(), 5);
    for (int i = 0; i < labels.size(); ++i)
        QCOMPARE(labels[i]->buddy()->objectName(), QLatin1String(kRows[i].object));
}

void TestWindowSettingDialog::ticksShowTheOptions_data()
{
    QTest::addColumn<bool>("touch");
    QTest::addColumn<MyThemes>("theme");
    QTest::addColumn<bool>("factor");
    QTest::newRow("nothing") << false << lightTheme << false;
    QTest::newRow("touch") << true << lightTheme << false;
    QTest::newRow("night") << false << darkTheme << false;
    QTest::newRow("factor") << false << lightTheme << true;
    QTest::newRow("all") << true << darkTheme << true;
}

void TestWindowSettingDialog::ticksShowTheOptions()
{
    QFETCH(bool, touch);
    QFETCH(MyThemes, theme);
    QFETCH(bool, factor);
    AppConfig &config = AppConfig::getInstance();
    config.setTouchMode(touch);
    config.setTheme(theme);
    config.setShowFactor(factor);

    const WindowSettingDialog dialog(nullptr);
    QCOMPARE(box(dialog, "checkBox_touch")->isChecked(), touch);
    QCOMPARE(box(dialog, "checkBox_dartMode")->isChecked(), theme == darkTheme);
    QCOMPARE(box(dialog, "checkBox_factor")->isChecked(), factor);

    QCOMPARE(config.getTouchMode(), touch);
    QCOMPARE(config.getTheme(), theme);
    QCOMPARE(config.getShowFactor(), factor);
}

void TestWindowSettingDialog::openingChangesNeitherThemeNorTouchMode()
{
    AppConfig &config = AppConfig::getInstance();
    config.setTouchMode(true);
    config.setTheme(darkTheme);
    config.setShowFactor(true);
    const QSignalSpy touch(&AppEvent::getInstance(), &AppEvent::touchModeSignal);
    const QSignalSpy theme(&config, &AppConfig::switchThemeSignal);

    const WindowSettingDialog dialog(nullptr);
    QVERIFY(box(dialog, "checkBox_touch")->isChecked());
    QCOMPARE(touch.count(), 0);
    QCOMPARE(theme.count(), 0);
    QVERIFY(qApp->styleSheet().isEmpty());
}

void TestWindowSettingDialog::touchBoxSetsTheModeAndNotifiesTheHub()
{
    const WindowSettingDialog dialog(nullptr);
    QSignalSpy own(&dialog, &WindowSettingDialog::touchModeSignal);
    QSignalSpy hub(&AppEvent::getInstance(), &AppEvent::touchModeSignal);

    for (const bool on : {true, false}) {
        box(dialog, "checkBox_touch")->click();
        QCOMPARE(AppConfig::getInstance().getTouchMode(), on);
        QCOMPARE(own.count(), 1);
        QCOMPARE(own.takeFirst().at(0).toBool(), on);
        QCOMPARE(hub.count(), 1);
        QCOMPARE(hub.takeFirst().at(0).toBool(), on);
    }
}

void TestWindowSettingDialog::nightBoxSwitchesTheThemeTwiceImmediately()
{
    AppConfig &config = AppConfig::getInstance();
    config.applyDarkStyle();
    const QString dark = qApp->styleSheet();
    config.applyLightStyle();
    const QString light = qApp->styleSheet();
    QVERIFY(!dark.isEmpty() && !light.isEmpty() && dark != light);
    config.switchThemeSlot(darkTheme);

    const WindowSettingDialog dialog(nullptr);
    QSignalSpy own(&dialog, &WindowSettingDialog::switchThemeSignal);
    QSignalSpy theme(&config, &AppConfig::switchThemeSignal);
    for (const MyThemes wanted : {lightTheme, darkTheme}) {
        box(dialog, "checkBox_dartMode")->click();
        QCOMPARE(config.getTheme(), wanted);
        QCOMPARE(own.count(), 1);
        QCOMPARE(own.takeFirst().at(0).value<MyThemes>(), wanted);
        QCOMPARE(theme.count(), 1);
        QCOMPARE(theme.takeFirst().at(0).value<MyThemes>(), wanted);
        QCOMPARE(qApp->styleSheet(), wanted == darkTheme ? dark : light);
    }
}

void TestWindowSettingDialog::factorBoxSetsTheOptionWithoutANotification()
{
    const WindowSettingDialog dialog(nullptr);
    const QSignalSpy touch(&dialog, &WindowSettingDialog::touchModeSignal);
    const QSignalSpy theme(&dialog, &WindowSettingDialog::switchThemeSignal);
    for (const bool on : {true, false}) {
        box(dialog, "checkBox_factor")->click();
        QCOMPARE(AppConfig::getInstance().getShowFactor(), on);
    }
    QCOMPARE(touch.count(), 0);
    QCOMPARE(theme.count(), 0);
}

void TestWindowSettingDialog::partlyTickedStateIsOn()
{
    AppConfig &config = AppConfig::getInstance();
    config.setTheme(lightTheme);
    const WindowSettingDialog dialog(nullptr);
    for (const char *name : {"checkBox_touch", "checkBox_dartMode", "checkBox_factor"})
        box(dialog, name)->setCheckState(Qt::PartiallyChecked);
    QVERIFY(config.getTouchMode());
    QCOMPARE(config.getTheme(), darkTheme);
    QVERIFY(config.getShowFactor());
}

void TestWindowSettingDialog::cancelLeavesNightModeOn()
{
    AppConfig &config = AppConfig::getInstance();
    config.setTheme(darkTheme);
    WindowSettingDialog dialog(nullptr);
    dialog.show();
    press(dialog, QDialogButtonBox::Cancel);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(config.getTheme(), darkTheme);
}

void TestWindowSettingDialog::cancelRevertsNothing()
{
    AppConfig &config = AppConfig::getInstance();
    WindowSettingDialog dialog(nullptr);
    dialog.show();
    for (const char *name : {"checkBox_touch", "checkBox_dartMode", "checkBox_factor"})
        box(dialog, name)->click();
    press(dialog, QDialogButtonBox::Cancel);
    QVERIFY(config.getTouchMode());
    QCOMPARE(config.getTheme(), lightTheme);
    QVERIFY(config.getShowFactor());
}

void TestWindowSettingDialog::okAndCancelEndTheDialog_data()
{
    QTest::addColumn<QDialogButtonBox::StandardButton>("which");
    QTest::addColumn<int>("result");
    QTest::newRow("OK") << QDialogButtonBox::Ok << int(QDialog::Accepted);
    QTest::newRow("Cancel") << QDialogButtonBox::Cancel << int(QDialog::Rejected);
}

void TestWindowSettingDialog::okAndCancelEndTheDialog()
{
    QFETCH(QDialogButtonBox::StandardButton, which);
    QFETCH(int, result);
    WindowSettingDialog dialog(nullptr);
    const QSignalSpy finished(&dialog, &QDialog::finished);
    dialog.show();
    press(dialog, which);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(dialog.result(), result);
}

void TestWindowSettingDialog::colourButtonsShowTheirColours()
{
    defaultColor = QColor(1, 22, 233);
    targetColor = QColor(200, 0, 7);
    WindowSettingDialog dialog(nullptr);
    QCOMPARE(button(dialog, "btnDefaultColor")->styleSheet(),
             QStringLiteral("#btnDefaultColor{background-color: rgb(1,22,233);            border: 1px solid #298DFF;"
                            "            border-radius: 3px;}"));
    QCOMPARE(button(dialog, "btnTargetColor")->styleSheet(),
             QStringLiteral("#btnTargetColor{background-color: rgb(200,0,7);            border: 1px solid #298DFF;"
                            "            border-radius: 3px;}"));

    // The style sheet makes the button show the colour in any theme.
    AppConfig::getInstance().applyLightStyle();
    dialog.show();
    const QImage image = button(dialog, "btnDefaultColor")->grab().toImage();
    QCOMPARE(image.pixelColor(image.rect().center()), QColor(1, 22, 233));
}

void TestWindowSettingDialog::chosenDefaultColourIsStoredAndLogged()
{
    const WindowSettingDialog dialog(nullptr);
    const QString other = button(dialog, "btnTargetColor")->styleSheet();
    const DebugOutput output;
    const ColorDialogAnswer answer(QColor(12, 34, 56));
    button(dialog, "btnDefaultColor")->click();

    QVERIFY(answer.opened());
    QCOMPARE(answer.initial(), QColor(Qt::white));
    QVERIFY(!answer.hadParent());
    QCOMPARE(int(answer.options()), 0);
    QCOMPARE(defaultColor, QColor(12, 34, 56));
    QCOMPARE(defaultColor.spec(), QColor::Rgb);
    QCOMPARE(targetColor, QColor(Qt::red));
    QCOMPARE(button(dialog, "btnDefaultColor")->styleSheet(),
             QStringLiteral("#btnDefaultColor{background-color: rgb(12,34,56);            border: 1px solid #298DFF;"
                            "            border-radius: 3px;}"));
    QCOMPARE(button(dialog, "btnTargetColor")->styleSheet(), other);

    // 12, 34 and 56 divided by 255, as QDebug prints a colour.
    QStringList lines;
    for (const DebugOutput::Entry &entry : output.entries()) {
        if (entry.type == QtInfoMsg)
            lines.append(entry.text);
    }
    QCOMPARE(lines, QStringList("QColor(ARGB 1, 0.0470588, 0.133333, 0.219608)"));
}

void TestWindowSettingDialog::chosenTargetColourIsStoredWithoutALogEntry()
{
    const WindowSettingDialog dialog(nullptr);
    const DebugOutput output;
    const ColorDialogAnswer answer(QColor(120, 130, 140));
    button(dialog, "btnTargetColor")->click();

    QVERIFY(answer.opened());
    QCOMPARE(answer.initial(), QColor(Qt::white));
    QVERIFY(!answer.hadParent());
    QCOMPARE(targetColor, QColor(120, 130, 140));
    QCOMPARE(defaultColor, QColor(Qt::black));
    QCOMPARE(button(dialog, "btnTargetColor")->styleSheet(),
             QStringLiteral("#btnTargetColor{background-color: rgb(120,130,140);            border: 1px solid #298DFF;"
                            "            border-radius: 3px;}"));
    for (const DebugOutput::Entry &entry : output.entries())
        QVERIFY2(entry.type != QtInfoMsg, qPrintable(entry.text));
}

void TestWindowSettingDialog::coloursAreStoredAsRgb()
{
    // A native colour dialog may return another colour model. Cyan has the hue 180.
    class HsvDialog : public WindowSettingDialog
    {
    public:
        using WindowSettingDialog::WindowSettingDialog;

    protected:
        QColor askForColor() override { return QColor::fromHsv(180, 255, 255); }
    };
    const HsvDialog dialog(nullptr);
    button(dialog, "btnDefaultColor")->click();
    button(dialog, "btnTargetColor")->click();
    for (const QColor &color : {defaultColor, targetColor}) {
        QCOMPARE(color.spec(), QColor::Rgb);
        QCOMPARE(color.rgb(), qRgb(0, 255, 255));
    }
}

void TestWindowSettingDialog::cancelledColourIsStoredAndSetsABlackButton_data()
{
    QTest::addColumn<bool>("isDefault");
    QTest::newRow("default") << true;
    QTest::newRow("target") << false;
}

void TestWindowSettingDialog::cancelledColourIsStoredAndSetsABlackButton()
{
    QFETCH(bool, isDefault);
    defaultColor = QColor(1, 2, 3);
    targetColor = QColor(4, 5, 6);
    const WindowSettingDialog dialog(nullptr);
    const char *const name = isDefault ? "btnDefaultColor" : "btnTargetColor";
    const ColorDialogAnswer answer{QColor()};
    button(dialog, name)->click();

    QVERIFY(answer.opened());
    QVERIFY(button(dialog, name)
                ->styleSheet()
                .startsWith(QLatin1Char('#') + QLatin1String(name) + QLatin1String("{background-color: rgb(0,0,0);")));
    QCOMPARE(defaultColor.isValid(), !isDefault);
    QCOMPARE(targetColor.isValid(), isDefault);
}

void TestWindowSettingDialog::newChannelsUseTheNewColours()
{
    const QColor before = findGraph(QStringLiteral("高度差值"))->color();
    const WindowSettingDialog dialog(nullptr);
    {
        const ColorDialogAnswer answer{QColor()};
        button(dialog, "btnTargetColor")->click();
        QVERIFY(answer.opened());
    }
    // Existing channels keep their colour; new ones have none.
    QVERIFY(before.isValid());
    QCOMPARE(findGraph(QStringLiteral("高度差值"))->color(), before);
    Fixture::renewStore();
    for (const ChannelGroup &group : channelGroups()) {
        const bool takesTargetColour = group.code == 0x01 || group.code == 0x51 || group.code == 0x53;
        for (const MyGraph *const graph : group)
            QCOMPARE(graph->color().isValid(), !takesTargetColour);
    }
}

void TestWindowSettingDialog::dialogNeverWritesTheConfiguration()
{
    WindowSettingDialog dialog(nullptr);
    const QSignalSpy write(&dialog, &WindowSettingDialog::writeConfigSignal);
    dialog.show();
    for (const char *name : {"checkBox_touch", "checkBox_dartMode", "checkBox_factor"})
        box(dialog, name)->click();
    press(dialog, QDialogButtonBox::Ok);
    QCOMPARE(write.count(), 0);
    QVERIFY(!QFile::exists(AppConfig::getInstance().configPath()));
}

QTEST_MAIN(TestWindowSettingDialog)
#include "TestWindowSettingDialog.moc"
