// Exports over a workbook with arbitrary bytes. It must not crash. If the archive is valid, the export must succeed and
// be readable. A renamed file must be the previous file.

#include "FuzzTarget.h"
#include "QXlsx.h"
#include "WorkbookFiles.h"
#include "XlsxText.h"

#include <QTemporaryDir>

namespace
{

constexpr double kMark = 1234.5;

/** The workbook part that the first byte selects for the other bytes. */
QByteArray partFor(char kind)
{
    switch (kind) {
    case 'S':
        return "xl/worksheets/sheet1.xml";
    case 'Y':
        return "xl/styles.xml";
    case 'T':
        return "xl/sharedStrings.xml";
    case 'W':
        return "xl/workbook.xml";
    case 'R':
        return "xl/_rels/workbook.xml.rels";
    case 'C':
        return "[Content_Types].xml";
    default:
        return {};
    }
}

void exportOver(const QString &path, bool mustSucceed)
{
    const QByteArray before = fileContent(path);
    QXlsx::Format format;
    format.setBorderStyle(QXlsx::Format::BorderThin);
    {
        QXlsx::Document document(path);
        document.read(1, 1);
        // Writes more than one output block, to test writes at the end of the block.
        for (int row = 2; row <= 1000; ++row)
            for (int column = 2; column <= 5; ++column)
                document.write(row, column, kMark, format);
        document.write(1, 1, "text");
        document.addSheet(QStringLiteral("added"));
        if (!document.selectSheet(QStringLiteral("added")))
            return; // a sheet with this name exists but has no cells
        document.write(3, 3, kMark);
        const bool saved = document.saveAs(path);
        require(saved || !mustSucceed);
        require(saved || fileContent(path) == before);
        if (!saved)
            return;
        const QString aside = path + QLatin1String(".old");
        require(document.savedAside().isEmpty() != QFile::exists(aside));
        require(document.savedAside().isEmpty() || fileContent(aside) == before);
        QFile::remove(aside);
    }
    QXlsx::Document again(path);
    require(again.selectSheet(QStringLiteral("added")));
    require(again.read(3, 3).toDouble() == kMark);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    if (size == 0)
        return 0;
    const char kind = static_cast<char>(data[0]);
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, static_cast<int>(size - 1));
    const QString path = folder.filePath(QStringLiteral("book.xlsx"));
    if (kind == 'F') {
        const QString text = QString::fromUtf8(bytes);
        QXlsx::movedFormula(text, 3, -2);
        require(QXlsx::unescapeCharacters(QXlsx::escapeCharacters(text)) == text);
        return 0;
    }
    const QByteArray part = partFor(kind);
    if (part.isEmpty()) {
        require(writeFile(path, bytes));
        exportOver(path, false);
        return 0;
    }
    Parts parts = foreignWorkbook(sheetXml({}));
    for (auto &one : parts)
        if (one.first == part)
            one.second = bytes;
    require(writeParts(path, parts));
    exportOver(path, true);
    return 0;
}
