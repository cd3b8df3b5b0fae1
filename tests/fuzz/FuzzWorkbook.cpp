// The zip and sheet reader on whatever bytes: an export over them must not crash, and where the archive around the
// bytes is sound it must succeed and read back. A file that is set aside must be the one that was there.

#include "FuzzTarget.h"
#include "QXlsx.h"
#include "WorkbookFiles.h"
#include "XlsxText.h"

#include <QTemporaryDir>

namespace
{

constexpr double kMark = 1234.5;

/** Where the first byte of an input says that the others belong. */
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
        // More than one block of output, so that what is written without a look at its end comes near it.
        for (int row = 2; row <= 1000; ++row)
            for (int column = 2; column <= 5; ++column)
                document.write(row, column, kMark, format);
        document.write(1, 1, "text");
        document.addSheet(QStringLiteral("added"));
        if (!document.selectSheet(QStringLiteral("added")))
            return; // there is one of that name which holds no cells
        document.write(3, 3, kMark);
        const bool saved = document.saveAs(path);
        demand(saved || !mustSucceed);
        demand(saved || fileContent(path) == before);
        if (!saved)
            return;
        const QString aside = path + QLatin1String(".old");
        demand(document.savedAside().isEmpty() != QFile::exists(aside));
        demand(document.savedAside().isEmpty() || fileContent(aside) == before);
        QFile::remove(aside);
    }
    QXlsx::Document again(path);
    demand(again.selectSheet(QStringLiteral("added")));
    demand(again.read(3, 3).toDouble() == kMark);
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
        demand(QXlsx::unescapeCharacters(QXlsx::escapeCharacters(text)) == text);
        return 0;
    }
    const QByteArray part = partFor(kind);
    if (part.isEmpty()) {
        demand(writeFile(path, bytes));
        exportOver(path, false);
        return 0;
    }
    Parts parts = foreignWorkbook(sheetXml({}));
    for (auto &one : parts)
        if (one.first == part)
            one.second = bytes;
    demand(writeParts(path, parts));
    exportOver(path, true);
    return 0;
}
