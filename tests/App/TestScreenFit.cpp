#include "CommonModule.h"
#include "DataListDia.h"
#include "DecodeRoutes.h"
#include "Fixture.h"
#include "GlobalSettingDialog.h"
#include "ScreenFit.h"

#include <QDialog>
#include <QScreen>
#include <QTest>

class TestScreenFit : public QObject
{
    Q_OBJECT

private slots:
    void windowLargerThanTheScreenIsShrunkToIt();
    void windowThatFitsKeepsItsSize();
    void onlyTheTooLongSideIsShrunk();
    void sizeChosenByTheUserIsKept();
    void minimumSizeIsRespected();
    void largeDialogsAreKeptOnScreen();
};

namespace
{

/** A visible window of the given size. */
std::unique_ptr<QDialog> shown(QSize size, QSize minimum = {})
{
    auto dialog = std::make_unique<QDialog>();
    keepOnScreen(dialog.get());
    dialog->setMinimumSize(minimum.expandedTo(QSize(0, 0)));
    dialog->resize(size);
    dialog->show();
    return dialog;
}

QSize freeOf(const QDialog &dialog)
{
    return dialog.screen()->availableGeometry().size();
}

} // namespace

void TestScreenFit::windowLargerThanTheScreenIsShrunkToIt()
{
    const auto dialog = shown({5000, 4000});
    QVERIFY(dialog->width() < freeOf(*dialog).width());
    QVERIFY(dialog->height() < freeOf(*dialog).height());
    // It takes nearly all there is.
    QVERIFY(dialog->width() > freeOf(*dialog).width() - 50);
    QVERIFY(dialog->height() > freeOf(*dialog).height() - 50);
}

void TestScreenFit::windowThatFitsKeepsItsSize()
{
    QCOMPARE(shown({300, 200})->size(), QSize(300, 200));
}

void TestScreenFit::onlyTheTooLongSideIsShrunk()
{
    const auto dialog = shown({300, 4000});
    QCOMPARE(dialog->width(), 300);
    QVERIFY(dialog->height() < freeOf(*dialog).height());
}

void TestScreenFit::sizeChosenByTheUserIsKept()
{
    const auto dialog = shown({300, 200});
    dialog->resize(5000, 4000);
    QCOMPARE(dialog->size(), QSize(5000, 4000));
}

void TestScreenFit::minimumSizeIsRespected()
{
    QCOMPARE(shown({5000, 4000}, {2000, 1500})->size(), QSize(2000, 1500));
}

void TestScreenFit::largeDialogsAreKeptOnScreen()
{
    const Fixture fixture; // the settings show the channels
    CommonModule calculators;
    DataListDia values(nullptr);
    DecodeRoutes routes(nullptr);
    GlobalSettingDialog settings(nullptr);
    for (QWidget *const dialog : std::initializer_list<QWidget *>{&calculators, &values, &routes, &settings}) {
        dialog->resize(5000, 4000);
        dialog->show();
        QVERIFY2(dialog->width() < 5000 && dialog->height() < 4000, dialog->metaObject()->className());
    }
}

QTEST_MAIN(TestScreenFit)
#include "TestScreenFit.moc"
