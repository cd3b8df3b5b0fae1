// The conversion of a route file of whatever bytes: it must not crash, and must give a table and a workbook of as many
// rows as each other, and of no more than the bytes have room for.

#include "DecodeRoutes.h"
#include "FuzzTarget.h"
#include "QXlsx.h"
#include "WorkbookFiles.h"

#include <QTableWidget>
#include <QTemporaryDir>

namespace
{

constexpr int kColumns = 9;

void demandTable(const QTableWidget &table, int bytes)
{
    const int rows = table.rowCount();
    demand(rows <= bytes / 2); // the shortest element of a list is a digit and a comma
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < kColumns; ++column)
            demand(table.item(row, column) != nullptr);
        demand(table.item(row, 0)->text() == QString::number(row + 1));
    }
}

void demandWorkbook(const QString &path, int rows)
{
    const QXlsx::Document document(path);
    demand(document.read(1, kColumns).toString() == QLatin1String("totalTime"));
    for (int row = 1; row <= rows; ++row)
        demand(document.read(row + 1, 1).toInt() == row);
    demand(!document.read(rows + 2, 1).isValid());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("route.json"));
    const QString workbook = folder.filePath(QStringLiteral("route.xlsx"));
    demand(writeFile(path, QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size))));
    QFile::remove(workbook);

    DecodeRoutes dialog(nullptr);
    dialog.setRouteFile(path);
    dialog.on_btn_writeExcel_clicked();

    const auto *const table = dialog.findChild<QTableWidget *>(QStringLiteral("tableWidget"));
    demandTable(*table, static_cast<int>(size));
    demandWorkbook(workbook, table->rowCount());
    return 0;
}
