#include "DebugOutput.h"
#include "MetaMethods.h"
#include "SwitchButton.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <cmath>
#include <functional>
#include <utility>

Q_DECLARE_METATYPE(Qt::MouseButton)

namespace
{

constexpr int kWidth = 100;
constexpr int kHeight = 30;

// Nothing else in an image has these colours.
const QColor kTrackOn(0, 0, 255);
const QColor kTrackOff(0, 0, 160);
const QColor kSliderOn(0, 255, 0);
const QColor kSliderOff(0, 160, 0);
const QColor kText(255, 0, 0);

std::unique_ptr<SwitchButton> colouredButton()
{
    auto button = std::make_unique<SwitchButton>(nullptr);
    button->resize(kWidth, kHeight);
    button->setBgColorOn(kTrackOn);
    button->setBgColorOff(kTrackOff);
    button->setSliderColorOn(kSliderOn);
    button->setSliderColorOff(kSliderOff);
    button->setTextColor(kText);
    return button;
}

/** The painted widget without a background, at the given device pixel ratio. */
QImage painted(SwitchButton &button, int scale)
{
    QImage image(button.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    button.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

QRect bounds(const QImage &image, const std::function<bool(const QColor &)> &wanted)
{
    QRect result;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (wanted(image.pixelColor(x, y)))
                result |= QRect(x, y, 1, 1);
        }
    }
    return result;
}

QRect boundsOf(const QImage &image, const QColor &color)
{
    return bounds(image, [&color](const QColor &pixel) { return pixel == color; });
}

/** Bounds of the red text. Thin glyphs have few fully red pixels, so mostly red pixels count too. */
QRect textBounds(const QImage &image)
{
    return bounds(image, [](const QColor &pixel) {
        return pixel.alpha() == 255 && pixel.red() > 100 && pixel.red() > pixel.green() && pixel.red() > pixel.blue();
    });
}

/** Compares rectangles with a tolerance, because antialiasing weakens the outermost pixel row of a circle. */
bool near(const QRect &found, const QRect &wanted, int tolerance)
{
    return qAbs(found.left() - wanted.left()) <= tolerance && qAbs(found.right() - wanted.right()) <= tolerance
        && qAbs(found.top() - wanted.top()) <= tolerance && qAbs(found.bottom() - wanted.bottom()) <= tolerance;
}

QByteArray show(const QRect &rect)
{
    return QByteArray::number(rect.left()) + ' ' + QByteArray::number(rect.top()) + ' '
        + QByteArray::number(rect.width()) + 'x' + QByteArray::number(rect.height());
}

QTimer *timerOf(const SwitchButton &button)
{
    return button.findChild<QTimer *>();
}

void tick(SwitchButton &button)
{
    QVERIFY(QMetaObject::invokeMethod(&button, "updateValue", Qt::DirectConnection));
}

/** Counts the paint events of a widget. */
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget *widget)
        : QObject(widget)
    {
        widget->installEventFilter(this);
    }

    int takeCount() { return std::exchange(m_count, 0); }
    /** Like takeCount(), after processing queued events. */
    int takeQueued()
    {
        QApplication::processEvents();
        return takeCount();
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

private:
    int m_count = 0;
};

/** Shows a button and waits until it is painted. */
bool bringUp(SwitchButton &button)
{
    button.show();
    const bool exposed = QTest::qWaitForWindowExposed(&button);
    QApplication::processEvents();
    return exposed;
}

} // namespace

class TestSwitchButton : public QObject
{
    Q_OBJECT

private slots:
    void declaresItsSignalAndSlotsInOrder();
    void hasNoPropertiesAndNoSizeHint();
    void startsWithItsDefaults();
    void dynamicTextPropertiesAreIgnored();
    void timerIsOwnedByTheWidget();
    void settersRepaintOnlyAfterAChange();
    void eachTickCausesOnePaint();
    void clickWithoutAnimationPaintsImmediately();
    void setCheckedPaintsOnlyAfterAChange();

    void clickTogglesAndEmitsBeforeTheSliderMoves();
    void anyMouseButtonAtAnyPositionToggles_data();
    void anyMouseButtonAtAnyPositionToggles();
    void animationHasSevenMovesAndAFinalTick();
    void animationBackIsSymmetric();
    void animationUsesItsTimer();
    void overshootIsCorrectedByTheNextTick();
    void clickDuringTheAnimationReversesTheSlider();
    void clickWithoutAnimationMovesImmediately();

    void setCheckedOnJumpsWithoutASignal();
    void setCheckedOffKeepsTheSliderPosition();
    void clickAfterSetCheckedOffStartsAtTheEnd();
    void endPositionUsesTheCurrentSize();
    void narrowButtonMovesToTheLeft();
    void widthBelowTenKeepsTickingUntilTheNextClick();

    void trackIsAPill_data();
    void trackIsAPill();
    void textIsBesideTheSlider_data();
    void textIsBesideTheSlider();
    void sliderIsACircleOfItsDiameterAtEachTick_data();
    void sliderIsACircleOfItsDiameterAtEachTick();
    void spaceSetsTheDiameterOfTheSlider();
    void translucentTrackIsVisibleOnlyWhenDisabled();
    void unusedFlagsDoNotChangeThePainting();
    void edgesAreSharpAtScaleTwo();
    void edgesAreSmooth();
    void paintingPrintsNoWarning();
    void textIsCentredInItsBoxWithSubpixelAccuracy_data();
    void textIsCentredInItsBoxWithSubpixelAccuracy();
    void middleOfThePillStartsAtHalfTheHeightRoundedDown();
};

void TestSwitchButton::declaresItsSignalAndSlotsInOrder()
{
    QCOMPARE(
        ownMethods(SwitchButton::staticMetaObject),
        (QStringList{"signal checkedChanged(bool)", "slot updateValue()", "slot setSpace(int)", "slot setRadius(int)",
                     "slot setChecked(bool)", "slot setShowText(bool)", "slot setShowCircle(bool)",
                     "slot setAnimation(bool)", "slot setBgColorOn(QColor)", "slot setBgColorOff(QColor)",
                     "slot setSliderColorOn(QColor)", "slot setSliderColorOff(QColor)", "slot setTextColor(QColor)",
                     "slot setTextOn(QString)", "slot setTextOff(QString)"}));
    const QMetaObject &meta = SwitchButton::staticMetaObject;
    QCOMPARE(meta.method(meta.indexOfSlot("updateValue()")).access(), QMetaMethod::Private);
    QCOMPARE(meta.method(meta.indexOfSlot("setSpace(int)")).access(), QMetaMethod::Public);
}

void TestSwitchButton::hasNoPropertiesAndNoSizeHint()
{
    const SwitchButton button(nullptr);
    QCOMPARE(SwitchButton::staticMetaObject.propertyCount(), QWidget::staticMetaObject.propertyCount());
    QVERIFY(!button.sizeHint().isValid());
    QVERIFY(!button.minimumSizeHint().isValid());
}

void TestSwitchButton::startsWithItsDefaults()
{
    const SwitchButton button(nullptr);
    QCOMPARE(button.space(), 2);
    QCOMPARE(button.radius(), 5);
    QCOMPARE(button.checked(), false);
    QCOMPARE(button.showText(), false);
    QCOMPARE(button.showCircle(), false);
    QCOMPARE(button.animation(), true);
    QCOMPARE(button.bgColorOn(), QColor("#4E96FB"));
    QCOMPARE(button.bgColorOff(), QColor("#6F7A7E"));
    QCOMPARE(button.sliderColorOn(), QColor("#FFFFFF"));
    QCOMPARE(button.sliderColorOff(), QColor("#FFFFFF"));
    QCOMPARE(button.textColor(), QColor("#FFFFFF"));
    QCOMPARE(button.textOn(), QStringLiteral("Yes"));
    QCOMPARE(button.textOff(), QStringLiteral("No"));
    QCOMPARE(button.step(), 0);
    QCOMPARE(button.startX(), 0);
    QCOMPARE(button.endX(), 0);
    QCOMPARE(timerOf(button)->interval(), 30);
    QVERIFY(!timerOf(button)->isActive());
}

void TestSwitchButton::dynamicTextPropertiesAreIgnored()
{
    const auto button = colouredButton();
    const QImage before = painted(*button, 1);
    button->setProperty("textOn", "Y");
    button->setProperty("textOff", "N");
    QCOMPARE(button->textOn(), QStringLiteral("Yes"));
    QCOMPARE(button->textOff(), QStringLiteral("No"));
    QCOMPARE(painted(*button, 1), before);
}

void TestSwitchButton::timerIsOwnedByTheWidget()
{
    auto button = std::make_unique<SwitchButton>(nullptr);
    QTimer *const timer = timerOf(*button);
    QCOMPARE(timer->parent(), button.get());
    const QSignalSpy destroyed(timer, &QObject::destroyed);
    button.reset();
    QCOMPARE(destroyed.count(), 1);
}

void TestSwitchButton::settersRepaintOnlyAfterAChange()
{
    SwitchButton button(nullptr);
    button.resize(kWidth, kHeight);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QApplication::processEvents();
    PaintCounter paints(&button);

    struct Setting {
        const char *name;
        std::function<void()> set;
        std::function<bool()> isSet;
    };
    const Setting settings[] = {
        {"space", [&] { button.setSpace(4); }, [&] { return button.space() == 4; }},
        {"radius", [&] { button.setRadius(9); }, [&] { return button.radius() == 9; }},
        {"showText", [&] { button.setShowText(true); }, [&] { return button.showText(); }},
        {"showCircle", [&] { button.setShowCircle(true); }, [&] { return button.showCircle(); }},
        {"animation", [&] { button.setAnimation(false); }, [&] { return !button.animation(); }},
        {"bgColorOn", [&] { button.setBgColorOn(kTrackOn); }, [&] { return button.bgColorOn() == kTrackOn; }},
        {"bgColorOff", [&] { button.setBgColorOff(kTrackOff); }, [&] { return button.bgColorOff() == kTrackOff; }},
        {"sliderColorOn", [&] { button.setSliderColorOn(kSliderOn); },
         [&] { return button.sliderColorOn() == kSliderOn; }},
        {"sliderColorOff", [&] { button.setSliderColorOff(kSliderOff); },
         [&] { return button.sliderColorOff() == kSliderOff; }},
        {"textColor", [&] { button.setTextColor(kText); }, [&] { return button.textColor() == kText; }},
        {"textOn", [&] { button.setTextOn("on"); }, [&] { return button.textOn() == "on"; }},
        {"textOff", [&] { button.setTextOff("off"); }, [&] { return button.textOff() == "off"; }},
    };
    for (const Setting &setting : settings) {
        QVERIFY2(!setting.isSet(), setting.name);
        setting.set();
        QVERIFY2(setting.isSet(), setting.name);
        QApplication::processEvents();
        QVERIFY2(paints.takeCount() == 1, setting.name);
        setting.set();
        QApplication::processEvents();
        QVERIFY2(paints.takeCount() == 0, setting.name);
    }
}

void TestSwitchButton::eachTickCausesOnePaint()
{
    const auto button = colouredButton();
    QVERIFY(bringUp(*button));
    PaintCounter paints(button.get());
    for (const bool on : {true, false}) {
        QTest::mouseClick(button.get(), Qt::LeftButton);
        timerOf(*button)->stop(); // the test sends the ticks
        QCOMPARE(button->checked(), on);
        paints.takeQueued();
        // Seven moves, and the tick that ends the animation.
        for (int move = 1; move <= 8; ++move) {
            tick(*button);
            QCOMPARE(paints.takeCount(), 0); // the paint event is queued
            QCOMPARE(paints.takeQueued(), 1);
        }
    }
}

void TestSwitchButton::clickWithoutAnimationPaintsImmediately()
{
    const auto button = colouredButton();
    button->setAnimation(false);
    QVERIFY(bringUp(*button));
    PaintCounter paints(button.get());
    for (const bool on : {true, false}) {
        QTest::mouseClick(button.get(), Qt::LeftButton);
        QCOMPARE(button->checked(), on);
        QCOMPARE(paints.takeQueued(), 1);
    }
}

void TestSwitchButton::setCheckedPaintsOnlyAfterAChange()
{
    const auto button = colouredButton();
    QVERIFY(bringUp(*button));
    PaintCounter paints(button.get());
    button->setChecked(false);
    QCOMPARE(paints.takeQueued(), 0);
    button->setChecked(true);
    QCOMPARE(paints.takeQueued(), 1);
    // The end position changed. The state is the same, but the slider jumps.
    button->resize(kWidth + 20, kHeight);
    paints.takeQueued();
    button->setChecked(true);
    QCOMPARE(paints.takeQueued(), 1);
    button->setChecked(false);
    QCOMPARE(paints.takeQueued(), 1);
    button->setChecked(false);
    QCOMPARE(paints.takeQueued(), 0);
}

void TestSwitchButton::clickTogglesAndEmitsBeforeTheSliderMoves()
{
    const auto button = colouredButton();
    int startX = -1;
    int endX = -1;
    bool running = true;
    bool state = false;
    QList<bool> emitted;
    connect(button.get(), &SwitchButton::checkedChanged, this, [&](bool checked) {
        emitted.append(checked);
        state = button->checked();
        startX = button->startX();
        endX = button->endX();
        running = timerOf(*button)->isActive();
    });
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(emitted, QList<bool>{true});
    QCOMPARE(state, true);
    QCOMPARE(startX, 0);
    QCOMPARE(endX, 0);
    QVERIFY(!running);

    QCOMPARE(button->step(), 10);
    QCOMPARE(button->endX(), 70);
    QCOMPARE(button->startX(), 0);
    QVERIFY(timerOf(*button)->isActive());
}

void TestSwitchButton::anyMouseButtonAtAnyPositionToggles_data()
{
    QTest::addColumn<Qt::MouseButton>("mouseButton");
    QTest::addColumn<QPoint>("at");
    QTest::newRow("left, centre") << Qt::LeftButton << QPoint(50, 15);
    QTest::newRow("right, centre") << Qt::RightButton << QPoint(50, 15);
    QTest::newRow("middle, centre") << Qt::MiddleButton << QPoint(50, 15);
    QTest::newRow("left, corner outside the pill") << Qt::LeftButton << QPoint(0, 0);
    QTest::newRow("left, far corner") << Qt::LeftButton << QPoint(99, 29);
}

void TestSwitchButton::anyMouseButtonAtAnyPositionToggles()
{
    QFETCH(Qt::MouseButton, mouseButton);
    QFETCH(QPoint, at);
    const auto button = colouredButton();
    const QSignalSpy emitted(button.get(), &SwitchButton::checkedChanged);
    QTest::mouseClick(button.get(), mouseButton, {}, at);
    QVERIFY(button->checked());
    QTest::mouseClick(button.get(), mouseButton, {}, at);
    QVERIFY(!button->checked());
    QCOMPARE(emitted.count(), 2);
    QCOMPARE(emitted.at(0).at(0).toBool(), true);
    QCOMPARE(emitted.at(1).at(0).toBool(), false);
}

void TestSwitchButton::animationHasSevenMovesAndAFinalTick()
{
    const auto button = colouredButton();
    QTest::mouseClick(button.get(), Qt::LeftButton);
    for (int move = 1; move <= 7; ++move) {
        tick(*button);
        QCOMPARE(button->startX(), 10 * move);
        QVERIFY(timerOf(*button)->isActive());
    }
    tick(*button);
    QCOMPARE(button->startX(), 70);
    QVERIFY(!timerOf(*button)->isActive());
}

void TestSwitchButton::animationBackIsSymmetric()
{
    const auto button = colouredButton();
    button->setChecked(true);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(button->endX(), 0);
    for (int move = 1; move <= 7; ++move) {
        tick(*button);
        QCOMPARE(button->startX(), 70 - 10 * move);
        QVERIFY(timerOf(*button)->isActive());
    }
    tick(*button);
    QCOMPARE(button->startX(), 0);
    QVERIFY(!timerOf(*button)->isActive());
}

void TestSwitchButton::animationUsesItsTimer()
{
    const auto button = colouredButton();
    const QSignalSpy ticks(timerOf(*button), &QTimer::timeout);
    QElapsedTimer time;
    time.start();
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QTRY_VERIFY(!timerOf(*button)->isActive());
    QCOMPARE(ticks.count(), 8);
    QCOMPARE(button->startX(), 70);
    // A coarse timer may be at most 5 % early.
    QVERIFY2(time.elapsed() >= 8 * 30 * 95 / 100, qPrintable(QString::number(time.elapsed())));
}

void TestSwitchButton::overshootIsCorrectedByTheNextTick()
{
    // Size 105x30: steps of 10 to 75, so the eighth move overshoots by 5.
    const auto button = colouredButton();
    button->resize(105, 30);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    for (int move = 0; move < 8; ++move)
        tick(*button);
    QCOMPARE(button->startX(), 80);
    QVERIFY(timerOf(*button)->isActive());
    tick(*button);
    QCOMPARE(button->startX(), 75);
    QVERIFY(!timerOf(*button)->isActive());
}

void TestSwitchButton::clickDuringTheAnimationReversesTheSlider()
{
    const auto button = colouredButton();
    QTest::mouseClick(button.get(), Qt::LeftButton);
    for (int move = 0; move < 3; ++move)
        tick(*button);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(button->startX(), 30);
    QCOMPARE(button->endX(), 0);
    QVERIFY(timerOf(*button)->isActive());
    tick(*button);
    QCOMPARE(button->startX(), 20);
    QTRY_VERIFY(!timerOf(*button)->isActive());
    QCOMPARE(button->startX(), 0);
}

void TestSwitchButton::clickWithoutAnimationMovesImmediately()
{
    const auto button = colouredButton();
    button->setAnimation(false);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(button->startX(), 70);
    QVERIFY(!timerOf(*button)->isActive());
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(button->startX(), 0);
    QVERIFY(!timerOf(*button)->isActive());
}

void TestSwitchButton::setCheckedOnJumpsWithoutASignal()
{
    const auto button = colouredButton();
    const QSignalSpy emitted(button.get(), &SwitchButton::checkedChanged);
    button->setChecked(true);
    QVERIFY(button->checked());
    QCOMPARE(button->step(), 10);
    QCOMPARE(button->startX(), 70);
    QCOMPARE(button->endX(), 70);
    QVERIFY(!timerOf(*button)->isActive());
    QCOMPARE(emitted.count(), 0);
}

void TestSwitchButton::setCheckedOffKeepsTheSliderPosition()
{
    const auto button = colouredButton();
    button->setChecked(true);
    const QSignalSpy emitted(button.get(), &SwitchButton::checkedChanged);
    button->setChecked(false);
    QVERIFY(!button->checked());
    QCOMPARE(button->startX(), 70);
    QCOMPARE(button->endX(), 0);
    QCOMPARE(emitted.count(), 0);
    QVERIFY(!timerOf(*button)->isActive());

    const QImage image = painted(*button, 1);
    QCOMPARE(image.pixelColor(85, 15), kSliderOff);
    QCOMPARE(image.pixelColor(5, 15), kTrackOff);
}

void TestSwitchButton::clickAfterSetCheckedOffStartsAtTheEnd()
{
    // The slider is already at the end, so the first tick ends the animation.
    const auto button = colouredButton();
    button->setChecked(true);
    button->setChecked(false);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QVERIFY(button->checked());
    QCOMPARE(button->startX(), 70);
    tick(*button);
    QCOMPARE(button->startX(), 70);
    QVERIFY(!timerOf(*button)->isActive());
}

void TestSwitchButton::endPositionUsesTheCurrentSize()
{
    const auto button = colouredButton();
    button->resize(60, 20);
    button->setChecked(true);
    QCOMPARE(button->endX(), 40);
    button->resize(kWidth, kHeight);
    QCOMPARE(button->endX(), 40);
    QCOMPARE(button->startX(), 40);
}

void TestSwitchButton::narrowButtonMovesToTheLeft()
{
    const auto button = colouredButton();
    button->resize(20, 50);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(button->endX(), -30);
    // No move can go left of the start position, so the first tick sets the end position.
    tick(*button);
    QCOMPARE(button->startX(), -30);
    QVERIFY(!timerOf(*button)->isActive());
    QVERIFY(boundsOf(painted(*button, 1), kSliderOn).isEmpty());
}

void TestSwitchButton::widthBelowTenKeepsTickingUntilTheNextClick()
{
    const auto button = colouredButton();
    button->resize(9, 4);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    QCOMPARE(button->step(), 0);
    QCOMPARE(button->endX(), 5);
    for (int i = 0; i < 100; ++i)
        tick(*button);
    QCOMPARE(button->startX(), 0);
    QVERIFY(timerOf(*button)->isActive());

    QTest::mouseClick(button.get(), Qt::LeftButton);
    tick(*button);
    QCOMPARE(button->startX(), 0);
    QVERIFY(!timerOf(*button)->isActive());
}

void TestSwitchButton::trackIsAPill_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<bool>("plain");
    QTest::addColumn<int>("scale");
    for (const int scale : {1, 2}) {
        for (const bool on : {true, false}) {
            QTest::addRow("%s at scale %d", on ? "on" : "off", scale) << on << false << scale;
            QTest::addRow("%s in the first colours at scale %d", on ? "on" : "off", scale) << on << true << scale;
        }
    }
}

void TestSwitchButton::trackIsAPill()
{
    QFETCH(bool, on);
    QFETCH(bool, plain);
    QFETCH(int, scale);
    SwitchButton fresh(nullptr);
    fresh.resize(kWidth, kHeight);
    const auto bright = colouredButton();
    SwitchButton &button = plain ? fresh : *bright;
    button.setChecked(on);
    const QColor track = plain ? (on ? QColor(78, 150, 251) : QColor(111, 122, 126)) : (on ? kTrackOn : kTrackOff);

    const QImage image = painted(button, scale);
    // A pixel is inside the pill if its centre is less than 15 from the line between the centres of both circles.
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const double px = (x + 0.5) / scale;
            const double py = (y + 0.5) / scale;
            const double dx = px - qBound(15.0, px, 85.0);
            const double dy = py - 15.0;
            const double distance = std::sqrt(dx * dx + dy * dy);
            const int alpha = image.pixelColor(x, y).alpha();
            if (distance < 15.0 - 1.0 / scale)
                QVERIFY2(alpha == 255, qPrintable(QString("hole at %1, %2").arg(x).arg(y)));
            else if (distance > 15.0 + 1.0 / scale)
                QVERIFY2(alpha == 0, qPrintable(QString("paint at %1, %2").arg(x).arg(y)));
        }
    }
    // Between slider and edge, and on the side without slider and text.
    for (const QPoint &at : {QPoint(50, 2), QPoint(50, 27), QPoint(on ? 8 : 92, 15)})
        QCOMPARE(image.pixelColor(at * scale), track);
}

void TestSwitchButton::textIsBesideTheSlider_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<int>("scale");
    for (const int scale : {1, 2}) {
        QTest::addRow("on at scale %d", scale) << true << scale;
        QTest::addRow("off at scale %d", scale) << false << scale;
    }
}

void TestSwitchButton::textIsBesideTheSlider()
{
    QFETCH(bool, on);
    QFETCH(int, scale);
    const auto button = colouredButton();
    // A wide text whose bounds hardly depend on the font.
    button->setTextOn("HHHH");
    button->setTextOff("HHHH");
    button->setChecked(on);

    const QRect text = textBounds(painted(*button, scale));
    QVERIFY(!text.isEmpty());
    // Centres of the text boxes, which are 79 wide and start at 0 or 21.
    const double centre = (text.left() + text.right() + 1) / 2.0 / scale;
    const double wanted = on ? 39.5 : 60.5;
    QVERIFY2(qAbs(centre - wanted) <= 2.0, qPrintable(QString::number(centre)));
    const double height = (text.top() + text.bottom() + 1) / 2.0 / scale;
    QVERIFY2(qAbs(height - 15.0) <= 3.0, qPrintable(QString::number(height)));

    // The text of the other state is hidden.
    if (on)
        button->setTextOff("");
    else
        button->setTextOn("");
    QCOMPARE(textBounds(painted(*button, scale)), text);
    if (on)
        button->setTextOn("");
    else
        button->setTextOff("");
    QVERIFY(textBounds(painted(*button, scale)).isEmpty());
}

void TestSwitchButton::sliderIsACircleOfItsDiameterAtEachTick_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<int>("ticks");
    QTest::addColumn<int>("left");
    QTest::addColumn<int>("scale");
    for (const int scale : {1, 2}) {
        for (int ticks = 0; ticks <= 8; ++ticks) {
            QTest::addRow("going on, tick %d, scale %d", ticks, scale)
                << true << ticks << qMin(10 * ticks, 70) + 2 << scale;
            QTest::addRow("going off, tick %d, scale %d", ticks, scale)
                << false << ticks << qMax(70 - 10 * ticks, 0) + 2 << scale;
        }
    }
}

void TestSwitchButton::sliderIsACircleOfItsDiameterAtEachTick()
{
    QFETCH(bool, on);
    QFETCH(int, ticks);
    QFETCH(int, left);
    QFETCH(int, scale);
    const auto button = colouredButton();
    button->setTextOn("");
    button->setTextOff("");
    button->setChecked(!on);
    QTest::mouseClick(button.get(), Qt::LeftButton);
    for (int i = 0; i < ticks; ++i)
        tick(*button);

    const QImage image = painted(*button, scale);
    const QColor color = on ? kSliderOn : kSliderOff;
    const QRect wanted(left * scale, 2 * scale, 26 * scale, 26 * scale);
    const QRect found = boundsOf(image, color);
    QVERIFY2(near(found, wanted, 1), show(found).constData());
    // Checks the circle on its diagonal: slider colour inside, track colour outside. Uses the side towards the middle,
    // away from the edge of the track.
    const QPointF centre(left + 13.0, 15.0);
    const double side = centre.x() < kWidth / 2.0 ? 1.0 : -1.0;
    const auto at = [&](double distance) {
        const double leg = distance / std::sqrt(2.0);
        return image.pixelColor(int((centre.x() + side * leg) * scale), int((centre.y() + leg) * scale));
    };
    QCOMPARE(at(11.0), color);
    QCOMPARE(at(14.2), on ? kTrackOn : kTrackOff);
}

void TestSwitchButton::spaceSetsTheDiameterOfTheSlider()
{
    const auto button = colouredButton();
    button->setSpace(6);
    const QRect found = boundsOf(painted(*button, 1), kSliderOff);
    QVERIFY2(near(found, QRect(6, 6, 18, 18), 1), show(found).constData());
    button->setChecked(true);
    const QRect moved = boundsOf(painted(*button, 1), kSliderOn);
    QVERIFY2(near(moved, QRect(76, 6, 18, 18), 1), show(moved).constData());
}

void TestSwitchButton::translucentTrackIsVisibleOnlyWhenDisabled()
{
    const auto button = colouredButton();
    button->setBgColorOff(QColor(0, 0, 160, 100));
    QCOMPARE(painted(*button, 1).pixelColor(92, 15), QColor(0, 0, 160, 255));
    QCOMPARE(button->bgColorOff().alpha(), 100);
    button->setEnabled(false);
    QCOMPARE(painted(*button, 1).pixelColor(92, 15).alpha(), 100);
    button->setBgColorOn(QColor(0, 0, 255, 50));
    button->setChecked(true);
    QCOMPARE(painted(*button, 1).pixelColor(8, 15).alpha(), 50);
}

void TestSwitchButton::unusedFlagsDoNotChangeThePainting()
{
    const auto button = colouredButton();
    const QImage before = painted(*button, 1);
    QVERIFY(!textBounds(before).isEmpty());
    button->setShowText(true);
    button->setShowCircle(true);
    button->setRadius(14);
    QCOMPARE(painted(*button, 1), before);
}

void TestSwitchButton::edgesAreSmooth()
{
    // Without antialiasing each pixel of a circle has either the full colour or none.
    const auto button = colouredButton();
    button->setTextOff("");
    const QImage image = painted(*button, 1);
    int rim = 0;
    int sliderRim = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            rim += pixel.alpha() > 0 && pixel.alpha() < 255 ? 1 : 0;
            sliderRim += pixel.alpha() == 255 && pixel.green() > 0 && pixel.green() < kSliderOff.green() ? 1 : 0;
        }
    }
    QVERIFY2(rim > 30, qPrintable(QString::number(rim)));
    QVERIFY2(sliderRim > 20, qPrintable(QString::number(sliderRim)));
}

void TestSwitchButton::paintingPrintsNoWarning()
{
    const std::unique_ptr<SwitchButton> button = colouredButton();
    const DebugOutput output;
    for (const bool checked : {false, true}) {
        button->setChecked(checked);
        painted(*button, 1);
    }
    QCOMPARE(output.texts(), QStringList());
}

void TestSwitchButton::textIsCentredInItsBoxWithSubpixelAccuracy_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<QRect>("box");
    // With a gap of 2, the slider and its gaps need 30 - 2 * 2 - 5 = 21 of the 100 pixels.
    QTest::newRow("on") << true << QRect(QPoint(0, 0), QPoint(78, 29));
    QTest::newRow("off") << false << QRect(QPoint(21, 0), QPoint(99, 29));
}

void TestSwitchButton::textIsCentredInItsBoxWithSubpixelAccuracy()
{
    QFETCH(bool, on);
    QFETCH(QRect, box);
    constexpr int kScale = 8;
    for (const char *text : {"I", "HHHH"}) {
        const auto button = colouredButton();
        QFont font = button->font();
        font.setPixelSize(12); // point sizes differ between a widget and an image
        button->setFont(font);
        button->setTextOn(text);
        button->setTextOff(text);
        button->setChecked(on);
        // Only the text, on the colour of the track.
        QImage alone(button->size() * kScale, QImage::Format_ARGB32_Premultiplied);
        alone.setDevicePixelRatio(kScale);
        alone.fill(on ? kTrackOn : kTrackOff);
        QPainter painter(&alone);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        painter.setFont(font);
        painter.setPen(kText);
        painter.drawText(box, Qt::AlignCenter, text);
        painter.end();
        const QRect wanted = textBounds(alone);
        QVERIFY(!wanted.isEmpty());
        const QRect found = textBounds(painted(*button, kScale));
        QVERIFY2(found == wanted, (show(found) + " instead of " + show(wanted)).constData());
    }
}

void TestSwitchButton::middleOfThePillStartsAtHalfTheHeightRoundedDown()
{
    // Size 9x3: circles with centres at 1.5 and 7.5, and a rectangle from 1 to 7. At 0.01 pixels below the upper edge
    // only the rectangle is painted, because a circle is 0.05 pixels lower at 0.4 pixels from its centre.
    constexpr int kScale = 64;
    const auto button = colouredButton();
    button->resize(9, 3);
    button->setTextOff("");
    button->setSliderColorOff(Qt::transparent);
    const QImage image = painted(*button, kScale);
    const auto alphaAt = [&image](double x) { return image.pixelColor(int(x * kScale), 1).alpha(); };
    QCOMPARE(alphaAt(0.95), 0);
    QCOMPARE(alphaAt(1.10), 255);
    QCOMPARE(alphaAt(6.95), 255);
    QCOMPARE(alphaAt(7.05), 0);
}

void TestSwitchButton::edgesAreSharpAtScaleTwo()
{
    // A scaled image has pairs of equal pixels. In an image drawn at scale 2, pixels of a pair differ at the edge.
    const auto button = colouredButton();
    const QImage image = painted(*button, 2);
    int different = 0;
    for (int y = 0; y < image.height(); y += 2) {
        for (int x = 0; x < image.width(); x += 2)
            different += image.pixel(x, y) != image.pixel(x + 1, y + 1) ? 1 : 0;
    }
    QVERIFY(different > 50);
}

QTEST_MAIN(TestSwitchButton)
#include "TestSwitchButton.moc"
