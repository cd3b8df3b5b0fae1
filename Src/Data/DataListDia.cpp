#include "DataListDia.h"

#include "ScreenFit.h"
#include "ui_DataListDia.h"

#include <QDateTime>

namespace
{

enum Column { IdColumn, NameColumn, TimeColumn, TickColumn };

QTableWidgetItem *paddedItem(const QString &text)
{
    return new QTableWidgetItem(QLatin1Char(' ') + text + QLatin1Char(' '));
}

/** Widens a column so that it fits one more cell. */
void widen(QTableWidget &table, int row, int column)
{
    QStyleOptionViewItem option;
    option.initFrom(&table);
    option.font = table.font();
    const QModelIndex index = table.model()->index(row, column);
    const int grid = table.showGrid() ? 1 : 0;
    const int width = table.itemDelegate()->sizeHint(option, index).width() + grid;
    if (width > table.columnWidth(column))
        table.setColumnWidth(column, width);
}

} // namespace

DataListDia::DataListDia(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DataListDia>())
{
    m_ui->setupUi(this);
    keepOnScreen(this);
    connect(m_ui->tableWidget, &QTableWidget::cellChanged, this, &DataListDia::onCellChanged);
}

DataListDia::~DataListDia() = default;

void DataListDia::addRow(quint8 id, const QString &name, quint64 ctime)
{
    QTableWidget *const table = m_ui->tableWidget;
    const int row = table->rowCount();
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(ctime));
    table->insertRow(row);
    table->setItem(row, IdColumn, paddedItem(QString::number(id)));
    table->setItem(row, NameColumn, paddedItem(name));
    table->setItem(row, TimeColumn, paddedItem(time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"))));
    auto *const tick = new QTableWidgetItem;
    tick->setCheckState(Qt::Unchecked);
    table->setItem(row, TickColumn, tick);
    // Fits the columns to their contents without measuring all rows again for each new row.
    if (row == 0)
        table->resizeColumnsToContents();
    for (int column = IdColumn; column <= TickColumn; ++column)
        widen(*table, row, column);
}

void DataListDia::onCellChanged(int row, int column)
{
    const QTableWidget *const table = m_ui->tableWidget;
    const QTableWidgetItem *const idItem = table->item(row, IdColumn);
    const QTableWidgetItem *const changed = table->item(row, column);
    if (!idItem || !changed)
        return;
    const auto id = static_cast<quint8>(idItem->text().toUInt());
    // A text cell counts as unchecked, so editing one removes its task from the selection.
    if (changed->checkState() == Qt::Checked)
        m_selectedIds.append(id);
    else
        m_selectedIds.removeAll(id);
}

void DataListDia::on_pushButton_clicked()
{
    emit doSendList(m_selectedIds);
    close();
}
