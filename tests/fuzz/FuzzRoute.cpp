// Converts a route file with arbitrary bytes. It must not crash. Table and workbook must have the same number of rows,
// and not more rows than the file can contain.

#include "DecodeRoutes.h"
#include "FuzzTarget.h"
#include "QXlsx.h"
#include "WorkbookFiles.h"

#include <QTableWidget>
#include <QTemporaryDir>

namespace
{

constexpr int kColumns = 9;

void checkTable(const QTableWidget &table, int bytes)
{
    const int rows = table.rowCount();
    require(rows <= bytes / 2); // the shortest list element is a digit and a comma
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < kColumns; ++column)
            require(table.item(row, column) != nullptr);
        require(table.item(row, 0)->text() == QString::number(row + 1));
    }
}

void checkWorkbook(const QString &path, int rows)
{
    const QXlsx::Document document(path);
    require(document.read(1, kColumns).toString() == QLatin1String("totalTime"));
    for (int row = 1; row <= rows; ++row)
        require(document.read(row + 1, 1).toInt() == row);
    require(!document.read(rows + 2, 1).isValid());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("route.json"));
    const QString workbook = folder.filePath(QStringLiteral("route.xlsx"));
    require(writeFile(path, QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size))));
    QFile::remove(workbook);

    DecodeRoutes dialog(nullptr);
    dialog.setRouteFile(path);
    dialog.on_btn_writeExcel_clicked();

    const auto *const table = dialog.findChild<QTableWidget *>(QStringLiteral("tableWidget"));
    checkTable(*table, static_cast<int>(size));
    checkWorkbook(workbook, table->rowCount());
    return 0;
}
