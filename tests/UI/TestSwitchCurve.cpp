#include "ChannelStore.h"
#include "DataHandler.h"
#include "DemoFlight.h"
#include "GlobalSettingDialog.h"
#include "ModalAnswer.h"
#include "SwitchButton.h"
#include "WindowFixture.h"

#include <QElapsedTimer>
#include <QTabWidget>
#include <QTimer>

#include <algorithm>

namespace
{

// The target is a tenth of each limit. The test must also pass under sanitizers and on a busy machine; the benchmark
// measures the real times.
constexpr qint64 kCurveLimitMs = 500;
constexpr qint64 kTickLimitMs = 900;

constexpr int kTwoHoursMinutes = 120;
constexpr int kTwoHoursSamples = 36000;

/** Waits for the next paint event of a widget. */
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QWidget *widget) { widget->installEventFilter(this); }

    bool wait()
    {
        return QTest::qWaitFor([this] { return m_painted; });
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_painted = m_painted || event->type() == QEvent::Paint;
        return false;
    }

private:
    bool m_painted = false;
};

/** Measures the times between the ticks of a switch's animation. */
class AnimationWatch : public QObject
{
public:
    explicit AnimationWatch(const SwitchButton *button)
        : m_timer(button->findChild<QTimer *>())
    {
        connect(m_timer, &QTimer::timeout, this, [this] {
            if (m_sinceTick.isValid())
                m_gaps.append(m_sinceTick.elapsed());
            m_sinceTick.start();
        });
    }

    bool waitForTick()
    {
        return QTest::qWaitFor([this] { return m_sinceTick.isValid(); });
    }
    bool waitForEnd()
    {
        return QTest::qWaitFor([this] { return !m_timer->isActive(); });
    }
    const QVector<qint64> &gaps() const { return m_gaps; }

private:
    QTimer *m_timer;
    QElapsedTimer m_sinceTick;
    QVector<qint64> m_gaps;
};

} // namespace

/** Measures how long the switches of the data settings need to show a curve of a two-hour flight. */
class TestSwitchCurve : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void switchShowsItsCurveQuickly_data();
    void switchShowsItsCurveQuickly();
    void animationContinuesWhileAnotherCurveIsShown();

private:
    /** Opens the settings from the menu, selects a tab, and runs the user's actions. */
    template <typename Work>
    void inSettings(const char *tab, Work &&work);
    static SwitchButton *switchOf(const QDialog *dialog, const char *channel);

    std::unique_ptr<WindowFixture> m_fixture;
};

void TestSwitchCurve::initTestCase()
{
    m_fixture = std::make_unique<WindowFixture>();
    demo::DemoOptions options;
    options.minutes = kTwoHoursMinutes;
    const QString log = m_fixture->path(QStringLiteral("flight.txt"));
    QVERIFY(demo::writeTextLog(log, options));
    DataHandler().readDataSlot(log);
    dataRead = true;
}

void TestSwitchCurve::cleanupTestCase()
{
    m_fixture.reset();
}

template <typename Work>
void TestSwitchCurve::inSettings(const char *tab, Work &&work)
{
    ModalAnswer answer;
    answer.next([&](QDialog *dialog) {
        auto *const tabs = dialog->findChild<QTabWidget *>(QStringLiteral("tabWidget"));
        tabs->setCurrentWidget(dialog->findChild<QWidget *>(QLatin1String(tab)));
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QCoreApplication::processEvents();
        work(dialog);
    });
    m_fixture->entry("menuSetting", "数据设置(D)")->trigger();
    QVERIFY(answer.allAnswered());
}

SwitchButton *TestSwitchCurve::switchOf(const QDialog *dialog, const char *channel)
{
    for (SwitchButton *const button : dialog->findChildren<SwitchButton *>()) {
        if (button->accessibleName() == QString::fromUtf8(channel))
            return button;
    }
    qFatal("no switch of %s", channel);
}

void TestSwitchCurve::switchShowsItsCurveQuickly_data()
{
    QTest::addColumn<QString>("tab");
    QTest::addColumn<QString>("channel");
    QTest::addColumn<bool>("onSecondCanvas");
    QTest::newRow("the first curve") << "tab_AP"
                                     << "地速" << false;
    QTest::newRow("beside another one") << "tab_cs"
                                        << "主飞行模式" << false;
    QTest::newRow("with a check box") << "tab_diff"
                                      << "俯仰差值" << true;
}

void TestSwitchCurve::switchShowsItsCurveQuickly()
{
    QFETCH(QString, tab);
    QFETCH(QString, channel);
    QFETCH(bool, onSecondCanvas);
    const QByteArray name = channel.toUtf8();
    QCustomPlot *const canvas = onSecondCanvas ? m_fixture->canvas_2() : m_fixture->canvas();
    QVERIFY(!WindowFixture::curve(canvas, name));

    inSettings(qPrintable(tab), [&](QDialog *dialog) {
        SwitchButton *const button = switchOf(dialog, name);
        QVERIFY(button->isVisible());
        PaintWatch painted(canvas);
        QElapsedTimer timer;
        timer.start();
        QTest::mouseClick(button, Qt::LeftButton);
        const QCPGraph *const curve = WindowFixture::curve(canvas, name);
        QVERIFY(curve);
        QCOMPARE(curve->data()->size(), kTwoHoursSamples);
        QVERIFY(painted.wait());
        const qint64 elapsed = timer.elapsed();
        QVERIFY2(elapsed <= kCurveLimitMs, qPrintable(QStringLiteral("%1 ms").arg(elapsed)));
    });
}

void TestSwitchCurve::animationContinuesWhileAnotherCurveIsShown()
{
    inSettings("tab_AP", [&](QDialog *dialog) {
        SwitchButton *const first = switchOf(dialog, "东向速度");
        SwitchButton *const second = switchOf(dialog, "北向速度");
        AnimationWatch firstAnimation(first);
        AnimationWatch secondAnimation(second);
        QTest::mouseClick(first, Qt::LeftButton);
        QVERIFY(firstAnimation.waitForTick());
        QTest::mouseClick(second, Qt::LeftButton);
        QVERIFY(firstAnimation.waitForEnd());
        QVERIFY(secondAnimation.waitForEnd());

        for (const char *const channel : {"东向速度", "北向速度"}) {
            const QCPGraph *const curve = WindowFixture::curve(m_fixture->canvas(), channel);
            QVERIFY(curve);
            QCOMPARE(curve->data()->size(), kTwoHoursSamples);
        }
        for (const SwitchButton *const button : {first, second}) {
            QCOMPARE(button->startX(), button->width() - button->height());
            const QVector<qint64> &gaps = (button == first ? firstAnimation : secondAnimation).gaps();
            // One move per tick, and a final tick at the end position.
            const int moves = (button->width() - button->height() + button->step() - 1) / button->step();
            QCOMPARE(gaps.size(), moves);
            const qint64 longest = *std::max_element(gaps.begin(), gaps.end());
            QVERIFY2(longest <= kTickLimitMs, qPrintable(QStringLiteral("%1 ms").arg(longest)));
        }
    });
}

QTEST_MAIN(TestSwitchCurve)
#include "TestSwitchCurve.moc"
