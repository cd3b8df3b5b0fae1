#include "DataListDia.h"
#include "Fixture.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

Q_DECLARE_METATYPE(QList<quint8>)

namespace
{

QTableWidget *table(const DataListDia &dialog)
{
    return dialog.findChild<QTableWidget *>(QStringLiteral("tableWidget"));
}

QPushButton *button(const DataListDia &dialog)
{
    return dialog.findChild<QPushButton *>(QStringLiteral("pushButton"));
}

void tick(const DataListDia &dialog, int row, bool checked = true)
{
    table(dialog)->item(row, 3)->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

using Ids = QList<quint8>;

} // namespace

class TestDataListDia : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void isLaidOutAsTableAboveSpacerAndButton();
    void textsHaveNoTranslation();
    void rowShowsIdNameAndTime_data();
    void rowShowsIdNameAndTime();
    void rowStartsUnchecked();
    void columnsFitTheirContents();
    void tickedIdsAreInTickingOrder();
    void untickedIdIsRemoved();
    void tickingAgainMovesTheIdToTheEnd();
    void duplicateIdsAreKept();
    void untickingRemovesAllOccurrences();
    void editedTextCellCountsAsUnchecked();
    void idIsReadFromTheCell();
    void clickOnTheCheckBoxTicks();
    void confirmSendsTheListAndCloses();
    void listIsSentWhileTheDialogIsStillOpen();
    void confirmSendsAnEmptyListToo();
    void closingTheWindowKeepsTheTicks();
    void manyRowsAreListed();
    void columnWidthsMatchResizeColumnsToContents();
    void addingManyRowsIsFast();
};

void TestDataListDia::initTestCase()
{
    qRegisterMetaType<Ids>("QList<quint8>");
}

void TestDataListDia::isLaidOutAsTableAboveSpacerAndButton()
{
    const Fixture fixture;
    const DataListDia dialog(nullptr);
    QVERIFY(!dialog.parent());
    QCOMPARE(dialog.windowTitle(), QStringLiteral("fly data lists"));
    QCOMPARE(dialog.size(), QSize(812, 764));

    const auto *grid = qobject_cast<QGridLayout *>(dialog.layout());
    QVERIFY(grid);
    QCOMPARE(grid->count(), 2);
    QCOMPARE(grid->itemAtPosition(0, 0)->widget(), table(dialog));
    const auto *below = qobject_cast<QHBoxLayout *>(grid->itemAtPosition(1, 0)->layout());
    QVERIFY(below);
    QCOMPARE(below->count(), 2);
    QVERIFY(below->itemAt(0)->spacerItem());
    QCOMPARE(below->itemAt(1)->widget(), button(dialog));
    QCOMPARE(button(dialog)->text(), QStringLiteral("Confirm"));

    QCOMPARE(table(dialog)->rowCount(), 0);
    QCOMPARE(table(dialog)->columnCount(), 4);
    QVERIFY(table(dialog)->verticalHeader()->isHidden());
    QVERIFY(!table(dialog)->horizontalHeader()->isHidden());
}

void TestDataListDia::textsHaveNoTranslation()
{
    for (const auto catalogue : {Fixture::Catalogue::Installed, Fixture::Catalogue::Missing}) {
        const Fixture fixture(catalogue);
        const DataListDia dialog(nullptr);
        QStringList headers;
        for (int column = 0; column < 4; ++column) {
            const QTableWidgetItem *item = table(dialog)->horizontalHeaderItem(column);
            headers.append(item ? item->text() : QString());
        }
        QCOMPARE(headers, (QStringList{"id", "name", "time", ""}));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("fly data lists"));
        QCOMPARE(button(dialog)->text(), QStringLiteral("Confirm"));
    }
}

void TestDataListDia::rowShowsIdNameAndTime_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QDateTime>("time");
    QTest::newRow("plain") << 5 << QStringLiteral("flight") << QDateTime({2023, 12, 16}, {15, 14, 20, 7});
    QTest::newRow("zero") << 0 << QString() << QDateTime({2000, 1, 2}, {3, 4, 5, 0});
    QTest::newRow("largest id, Chinese name")
        << 255 << QStringLiteral("飞行任务") << QDateTime({2038, 11, 30}, {23, 59, 59, 999});
}

void TestDataListDia::rowShowsIdNameAndTime()
{
    const Fixture fixture;
    QFETCH(int, id);
    QFETCH(QString, name);
    QFETCH(QDateTime, time);
    DataListDia dialog(nullptr);
    dialog.addRow(9, QStringLiteral("other"), 0);
    dialog.addRow(quint8(id), name, quint64(time.toMSecsSinceEpoch()));
    QCOMPARE(table(dialog)->rowCount(), 2);
    QCOMPARE(table(dialog)->item(1, 0)->text(), QStringLiteral(" %1 ").arg(id));
    QCOMPARE(table(dialog)->item(1, 1)->text(), ' ' + name + ' ');
    const QString date = QStringLiteral("%1-%2-%3")
                             .arg(time.date().year(), 4, 10, QLatin1Char('0'))
                             .arg(time.date().month(), 2, 10, QLatin1Char('0'))
                             .arg(time.date().day(), 2, 10, QLatin1Char('0'));
    const QString clock = QStringLiteral("%1:%2:%3.%4")
                              .arg(time.time().hour(), 2, 10, QLatin1Char('0'))
                              .arg(time.time().minute(), 2, 10, QLatin1Char('0'))
                              .arg(time.time().second(), 2, 10, QLatin1Char('0'))
                              .arg(time.time().msec(), 3, 10, QLatin1Char('0'));
    QCOMPARE(table(dialog)->item(1, 2)->text(), ' ' + date + ' ' + clock + ' ');
}

void TestDataListDia::rowStartsUnchecked()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(5, QStringLiteral("a"), 0);
    QCOMPARE(table(dialog)->item(0, 3)->text(), QString());
    QCOMPARE(table(dialog)->item(0, 3)->data(Qt::CheckStateRole), QVariant(int(Qt::Unchecked)));
    QVERIFY(table(dialog)->item(0, 3)->flags() & Qt::ItemIsUserCheckable);
    for (int column = 0; column < 3; ++column)
        QVERIFY(!table(dialog)->item(0, column)->data(Qt::CheckStateRole).isValid());
    QVERIFY(dialog.selectedIds().isEmpty());
}

void TestDataListDia::columnsFitTheirContents()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(5, QStringLiteral("a"), 0);
    const int narrow = table(dialog)->columnWidth(1);
    dialog.addRow(6, QStringLiteral("a much longer name of a flight task").repeated(3), 0);
    QVERIFY(table(dialog)->columnWidth(1) > narrow);
}

void TestDataListDia::tickedIdsAreInTickingOrder()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    for (const int id : {3, 4, 5})
        dialog.addRow(quint8(id), QStringLiteral("task"), 0);
    tick(dialog, 2);
    tick(dialog, 0);
    QCOMPARE(dialog.selectedIds(), (Ids{5, 3}));
}

void TestDataListDia::untickedIdIsRemoved()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    dialog.addRow(4, QStringLiteral("b"), 0);
    tick(dialog, 0);
    tick(dialog, 1);
    tick(dialog, 0, false);
    QCOMPARE(dialog.selectedIds(), (Ids{4}));
    tick(dialog, 1, false);
    QVERIFY(dialog.selectedIds().isEmpty());
}

void TestDataListDia::tickingAgainMovesTheIdToTheEnd()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    dialog.addRow(4, QStringLiteral("b"), 0);
    tick(dialog, 0);
    tick(dialog, 1);
    tick(dialog, 0, false);
    tick(dialog, 0);
    QCOMPARE(dialog.selectedIds(), (Ids{4, 3}));
}

void TestDataListDia::duplicateIdsAreKept()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    // 44, and 300 truncated to 44.
    dialog.addRow(44, QStringLiteral("a"), 0);
    dialog.addRow(quint8(300), QStringLiteral("b"), 0);
    tick(dialog, 0);
    tick(dialog, 1);
    QCOMPARE(dialog.selectedIds(), (Ids{44, 44}));
}

void TestDataListDia::untickingRemovesAllOccurrences()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(44, QStringLiteral("a"), 0);
    dialog.addRow(7, QStringLiteral("c"), 0);
    dialog.addRow(44, QStringLiteral("b"), 0);
    for (int row = 0; row < 3; ++row)
        tick(dialog, row);
    QCOMPARE(dialog.selectedIds(), (Ids{44, 7, 44}));
    tick(dialog, 2, false);
    QCOMPARE(dialog.selectedIds(), (Ids{7}));
}

void TestDataListDia::editedTextCellCountsAsUnchecked()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    dialog.addRow(4, QStringLiteral("b"), 0);
    tick(dialog, 0);
    tick(dialog, 1);
    table(dialog)->item(0, 1)->setText(QStringLiteral("renamed"));
    QCOMPARE(dialog.selectedIds(), (Ids{4}));
    QCOMPARE(table(dialog)->item(0, 3)->checkState(), Qt::Checked);
}

void TestDataListDia::idIsReadFromTheCell()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    table(dialog)->item(0, 0)->setText(QStringLiteral("  260 "));
    tick(dialog, 0);
    QCOMPARE(dialog.selectedIds(), (Ids{4}));
}

void TestDataListDia::clickOnTheCheckBoxTicks()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QRect cell = table(dialog)->visualItemRect(table(dialog)->item(0, 3));
    QStyleOptionViewItem option;
    option.initFrom(table(dialog));
    option.rect = cell;
    option.features = QStyleOptionViewItem::HasCheckIndicator;
    const QRect box
        = table(dialog)->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table(dialog));
    QTest::mouseClick(table(dialog)->viewport(), Qt::LeftButton, {}, box.center());
    QCOMPARE(dialog.selectedIds(), (Ids{3}));
    QTest::mouseClick(table(dialog)->viewport(), Qt::LeftButton, {}, box.center());
    QVERIFY(dialog.selectedIds().isEmpty());
}

void TestDataListDia::confirmSendsTheListAndCloses()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    dialog.addRow(4, QStringLiteral("b"), 0);
    const QSignalSpy spy(&dialog, &DataListDia::doSendList);
    QTimer::singleShot(0, &dialog, [&] {
        tick(dialog, 1);
        tick(dialog, 0);
        QTest::mouseClick(button(dialog), Qt::LeftButton);
    });
    dialog.exec();
    QVERIFY(!dialog.isVisible());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().value<Ids>(), (Ids{4, 3}));
    QCOMPARE(dialog.selectedIds(), (Ids{4, 3}));
}

void TestDataListDia::listIsSentWhileTheDialogIsStillOpen()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    QStringList events;
    connect(&dialog, &DataListDia::doSendList, &dialog,
            [&] { events << (dialog.isVisible() ? "sent while open" : "sent when closed"); });
    connect(&dialog, &QDialog::finished, &dialog, [&] { events << "finished"; });
    dialog.show();
    QTest::mouseClick(button(dialog), Qt::LeftButton);
    QCOMPARE(events, (QStringList{"sent while open", "finished"}));
}

void TestDataListDia::confirmSendsAnEmptyListToo()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    const QSignalSpy spy(&dialog, &DataListDia::doSendList);
    dialog.show();
    QTest::mouseClick(button(dialog), Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
    QVERIFY(spy.first().first().value<Ids>().isEmpty());
    QVERIFY(!dialog.isVisible());
}

void TestDataListDia::closingTheWindowKeepsTheTicks()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.addRow(3, QStringLiteral("a"), 0);
    const QSignalSpy spy(&dialog, &DataListDia::doSendList);
    QTimer::singleShot(0, &dialog, [&] {
        tick(dialog, 0);
        dialog.close();
    });
    dialog.exec();
    QCOMPARE(spy.count(), 0);
    QCOMPARE(dialog.selectedIds(), (Ids{3}));
}

void TestDataListDia::manyRowsAreListed()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    for (int i = 0; i < 300; ++i)
        dialog.addRow(quint8(i), QStringLiteral("task %1").arg(i), quint64(i));
    QCOMPARE(table(dialog)->rowCount(), 300);
    QCOMPARE(table(dialog)->item(299, 0)->text(), QStringLiteral(" 43 "));
    QVERIFY(dialog.selectedIds().isEmpty());
}

void TestDataListDia::columnWidthsMatchResizeColumnsToContents()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    dialog.ensurePolished();
    const QStringList names{"", "name", "a much longer name than the one before", "名称", "short"};
    for (int row = 0; row < names.size(); ++row) {
        dialog.addRow(quint8(row * 60), names[row], quint64(row) * 1234567890123U);
        const auto widths = [&dialog] {
            QVector<int> all;
            for (int column = 0; column < 4; ++column)
                all.append(table(dialog)->columnWidth(column));
            return all;
        };
        const QVector<int> added = widths();
        table(dialog)->resizeColumnsToContents();
        QCOMPARE(added, widths());
    }
}

void TestDataListDia::addingManyRowsIsFast()
{
    const Fixture fixture;
    DataListDia dialog(nullptr);
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 5000; ++i)
        dialog.addRow(quint8(i), QStringLiteral("task %1").arg(i), quint64(i));
    // Measuring all rows for each new row took one minute.
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(table(dialog)->rowCount(), 5000);
}

QTEST_MAIN(TestDataListDia)
#include "TestDataListDia.moc"
