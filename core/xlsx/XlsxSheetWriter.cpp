#include "XlsxSheetWriter.h"

#include "XlsxLimits.h"
#include "XlsxText.h"

#include <algorithm>

namespace QXlsx
{

namespace
{

constexpr int kFormulaCharactersACell = 16; // of a formula that is written out: time compared with that of a cell
constexpr int kEndOfRow = XlsxCellWriter::kEndOfRow;
constexpr int kEndOfSheet = XlsxCellWriter::kEndOfSheet;

/** Whether an element of the worksheet stands before the rows, or is the rows. */
bool isBeforeRows(const QStringRef &name)
{
    const auto names = {"sheetPr", "dimension", "sheetViews", "sheetFormatPr", "cols", "sheetData"};
    return std::any_of(names.begin(), names.end(), [&name](const char *one) { return name == QLatin1String(one); });
}

} // namespace

XlsxSheetWriter::XlsxSheetWriter(const XlsxCells &cells, const QVector<int> &styles, XlsxOutput &output,
                                 const std::function<bool()> &cancelled)
    : m_cells(cells)
    , m_writer(output)
    , m_cellWriter(cells, styles, m_writer, output, cancelled)
{
}

XlsxSheetWriter::Outcome XlsxSheetWriter::writeNew(const QString &mainNamespace, const QVector<int> &widths,
                                                   int frozenRows)
{
    m_writer.declaration();
    m_writer.start("worksheet");
    m_writer.attribute("xmlns", mainNamespace);
    if (!m_cells.isEmpty()) {
        m_writer.start("dimension");
        m_writer.attribute("ref", dimension({}));
        m_writer.end();
    }
    writeFrozenRows(frozenRows);
    writeWidths(widths);
    writeSheetData();
    m_writer.end();
    return m_cellWriter.stop() ? Outcome::Stopped : Outcome::Written;
}

XlsxSheetWriter::Outcome XlsxSheetWriter::merge(XlsxZipReader::Part &part, const QString &mainNamespace)
{
    m_part = &part;
    XlsxXmlReader reader(&part);
    while (reader.next() && !reader.isStartElement()) { }
    if (!reader.isStartElement() || reader.localName() != QLatin1String("worksheet")) {
        const Outcome outcome = writeNew(mainNamespace);
        return outcome == Outcome::Written ? Outcome::Damaged : outcome;
    }
    const QByteArray name = reader.qualifiedName().toUtf8();
    const QByteArray prefix = name.left(name.indexOf(':') + 1);
    if (prefix.size() > XlsxCellWriter::kMaxPrefix)
        return Outcome::Refused;
    m_cellWriter.setPrefix(prefix);
    m_writer.declaration();
    const bool whole = mergeWorksheet(reader);
    if (!whole && !m_cellWriter.isStopped())
        completeDamaged();
    if (m_cellWriter.stop())
        return Outcome::Stopped;
    // Only a part that is read to its end has its checksum verified.
    return whole && !part.isDamaged() ? Outcome::Written : Outcome::Damaged;
}

/** After a sheet broke off: ends the elements that are open and writes the cells that are not written yet. */
void XlsxSheetWriter::completeDamaged()
{
    // Open elements by number: 1 worksheet, 2 sheetData, 3 row.
    if (m_inSheetData) {
        if (m_rest.first > 0) {
            m_writer.endTo(3);
            m_cellWriter.writeCells(m_rest.first, m_rest.second, kEndOfRow);
        }
        m_writer.endTo(2);
        m_cellWriter.writeRowsBefore(kEndOfSheet);
    } else if (!m_sheetDataDone) {
        m_writer.endTo(1);
        writeSheetData();
    }
    m_writer.endTo(0);
}

void XlsxSheetWriter::writeFrozenRows(int count)
{
    if (count <= 0 || count >= kMaxRow)
        return;
    m_writer.start("sheetViews");
    m_writer.start("sheetView");
    m_writer.attribute("workbookViewId", QStringLiteral("0"));
    m_writer.start("pane");
    m_writer.attribute("ySplit", QString::number(count));
    m_writer.attribute("topLeftCell", QString::fromLatin1(cellName(count + 1, 1)));
    m_writer.attribute("activePane", QStringLiteral("bottomLeft"));
    m_writer.attribute("state", QStringLiteral("frozen"));
    m_writer.end();
    m_writer.start("selection");
    m_writer.attribute("pane", QStringLiteral("bottomLeft"));
    m_writer.endTo(1);
}

/** Writes one element for each column: not every reader looks up a column inside a range. */
void XlsxSheetWriter::writeWidths(const QVector<int> &widths)
{
    if (std::none_of(widths.begin(), widths.end(), [](int width) { return width > 0; }))
        return;
    m_writer.start("cols");
    for (int column = 1; column < widths.size(); ++column) {
        if (widths.at(column) == 0)
            continue;
        m_writer.start("col");
        m_writer.attribute("min", QString::number(column));
        m_writer.attribute("max", QString::number(column));
        m_writer.attribute("width", QString::number(widths.at(column)));
        m_writer.attribute("customWidth", QStringLiteral("1"));
        m_writer.end();
    }
    m_writer.end();
}

void XlsxSheetWriter::writeSheetData()
{
    m_writer.start(m_cellWriter.prefix() + "sheetData");
    m_cellWriter.writeRowsBefore(kEndOfSheet);
    m_writer.end();
    m_sheetDataDone = true;
}

bool XlsxSheetWriter::next(XlsxXmlReader &reader)
{
    m_part->pieceDone();
    return !m_cellWriter.countWork(1) && reader.next();
}

bool XlsxSheetWriter::copyElement(XlsxXmlReader &reader)
{
    return m_writer.copyElement(reader, [this, &reader] { return next(reader); });
}

bool XlsxSheetWriter::mergeWorksheet(XlsxXmlReader &reader)
{
    m_writer.copy(reader);
    while (next(reader)) {
        if (reader.isEndElement()) {
            if (!m_sheetDataDone)
                writeSheetData();
            m_writer.copy(reader);
            while (next(reader)) { }
            return !reader.hasError() && !m_cellWriter.isStopped();
        }
        if (!reader.isStartElement())
            m_writer.copy(reader);
        else if (!mergeSheetElement(reader))
            return false;
    }
    return false;
}

/** Merges one child of the worksheet: the rows, the dimension, or an element that is copied. */
bool XlsxSheetWriter::mergeSheetElement(XlsxXmlReader &reader)
{
    const QStringRef name = reader.localName();
    if (!m_sheetDataDone && name == QLatin1String("sheetData")) {
        m_writer.copy(reader);
        return mergeSheetData(reader);
    }
    if (!m_sheetDataDone && !isBeforeRows(name))
        writeSheetData();
    if (name == QLatin1String("dimension") && !m_cells.isEmpty()) {
        m_writer.start(reader.qualifiedName().toUtf8());
        m_writer.attribute("ref", dimension(reader.attribute(QLatin1String("ref"))));
        m_writer.end();
        return reader.skipElement();
    }
    return copyElement(reader);
}

bool XlsxSheetWriter::mergeSheetData(XlsxXmlReader &reader)
{
    m_inSheetData = true;
    int row = 0;
    while (next(reader)) {
        if (reader.isEndElement()) {
            m_cellWriter.writeRowsBefore(kEndOfSheet);
            m_writer.copy(reader);
            m_inSheetData = false;
            m_sheetDataDone = true;
            return !m_cellWriter.isStopped();
        }
        if (reader.isStartElement() && reader.localName() == QLatin1String("row")) {
            bool ok = false;
            const int stated = reader.attribute(QLatin1String("r")).toInt(&ok);
            row = ok && stated > 0 && stated < kEndOfSheet ? stated : row + 1;
            m_cellWriter.writeRowsBefore(row);
            if (!mergeRow(reader, row))
                return false;
        } else if (reader.isStartElement()) {
            if (!copyElement(reader))
                return false;
        } else {
            m_writer.copy(reader);
        }
    }
    return false;
}

bool XlsxSheetWriter::mergeRow(XlsxXmlReader &reader, int row)
{
    const bool hasCells = m_cells.hasRow(row);
    m_writer.start(reader.qualifiedName().toUtf8());
    m_writer.attribute("r", QString::number(row));
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute &one : attributes) {
        // "spans" is a hint for readers about the columns of the row, and new cells may make it wrong.
        if (one.qualifiedName() != QLatin1String("r") && !(hasCells && one.qualifiedName() == QLatin1String("spans")))
            m_writer.attribute(one.qualifiedName().toUtf8(), one.value().toString());
    }
    // The new cells of a row that is out of order or occurs twice are written already.
    const bool isNext = m_cellWriter.nextRow() == row;
    if (isNext)
        m_cellWriter.passRow(row);
    m_rest = {row, isNext ? 1 : kEndOfRow};
    return mergeRowCells(reader, row, hasCells);
}

bool XlsxSheetWriter::mergeRowCells(XlsxXmlReader &reader, int row, bool hasCells)
{
    int column = 0;
    while (next(reader)) {
        if (reader.isEndElement()) {
            m_cellWriter.writeCells(row, m_rest.second, kEndOfRow);
            m_rest = {};
            m_writer.copy(reader);
            return !m_cellWriter.isStopped();
        }
        if (!reader.isStartElement()) {
            m_writer.copy(reader);
            continue;
        }
        if (reader.localName() != QLatin1String("c")) {
            if (!copyElement(reader))
                return false;
            continue;
        }
        int statedRow = 0;
        int statedColumn = 0;
        column
            = parseCellName(reader.attribute(QLatin1String("r")), statedRow, statedColumn) ? statedColumn : column + 1;
        if (!mergeCellOver(reader, row, column, hasCells))
            return false;
    }
    return false;
}

/** Writes the new cells up to an old one, and then the old one or the new one in its place. */
bool XlsxSheetWriter::mergeCellOver(XlsxXmlReader &reader, int row, int column, bool hasCells)
{
    if (hasCells && column >= m_rest.second) {
        m_cellWriter.writeCells(row, m_rest.second, column);
        m_rest.second = column;
    }
    if (!hasCells || !m_cells.contains(row, column))
        return copyCell(reader, row, column);
    if (column >= m_rest.second) {
        m_cellWriter.writeCells(row, column, column + 1, reader.attribute(QLatin1String("s")));
        m_rest.second = column + 1;
    }
    return skipReplaced(reader, row, column);
}

/** Copies a cell that is not written over. */
bool XlsxSheetWriter::copyCell(XlsxXmlReader &reader, int row, int column)
{
    const int outside = reader.depth() - 1;
    m_writer.start(reader.qualifiedName().toUtf8());
    m_writer.attribute("r", QString::fromLatin1(cellName(row, column)));
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute &one : attributes)
        if (one.qualifiedName() != QLatin1String("r"))
            m_writer.attribute(one.qualifiedName().toUtf8(), one.value().toString());
    while (reader.depth() > outside) {
        if (!next(reader))
            return false;
        if (reader.isStartElement() && reader.localName() == QLatin1String("f")) {
            if (!copyFormula(reader, row, column))
                return false;
        } else {
            m_writer.copy(reader);
        }
    }
    return true;
}

/** Skips a replaced cell; remembers its shared formula, which kept cells may use. */
bool XlsxSheetWriter::skipReplaced(XlsxXmlReader &reader, int row, int column)
{
    const int outside = reader.depth() - 1;
    while (reader.depth() > outside) {
        if (!next(reader))
            return false;
        if (!reader.isStartElement() || reader.localName() != QLatin1String("f"))
            continue;
        m_formulaReplaced = true;
        const QString shared = reader.attribute(QLatin1String("si"));
        const bool isShared = reader.attribute(QLatin1String("t")) == QLatin1String("shared");
        const QString text = reader.text();
        // A longer formula, written out at each cell that shares it, would make a small file huge. Those cells keep
        // their values instead.
        if (isShared && !text.isEmpty())
            m_replacedShared.insert(shared, {row, column, text.size() <= kMaxFormula ? text : QString()});
    }
    return true;
}

/** Copies a formula; one that shares the text of a replaced cell gets a text of its own. */
bool XlsxSheetWriter::copyFormula(XlsxXmlReader &reader, int row, int column)
{
    const auto shared = m_replacedShared.constFind(reader.attribute(QLatin1String("si")));
    if (shared == m_replacedShared.constEnd() || reader.attribute(QLatin1String("t")) != QLatin1String("shared"))
        return copyElement(reader);
    const QByteArray name = reader.qualifiedName().toUtf8();
    QString text = reader.text();
    if (text.isEmpty())
        text = movedFormula(shared->text, row - shared->row, column - shared->column);
    if (text.isEmpty())
        return !reader.hasError();
    m_cellWriter.countWork(text.size() / kFormulaCharactersACell);
    m_writer.start(name);
    m_writer.raw(escapeMarkup(text, false));
    m_writer.end();
    return !reader.hasError();
}

/** The range that contains the old cells and the new ones. */
QString XlsxSheetWriter::dimension(const QString &old) const
{
    XlsxCells::Extent extent = m_cells.extent();
    const QStringList corners = old.split(QLatin1Char(':'));
    for (const QString &corner : corners) {
        int row = 0;
        int column = 0;
        if (!parseCellName(corner, row, column))
            continue;
        extent.firstRow = qMin(extent.firstRow, row);
        extent.lastRow = qMax(extent.lastRow, row);
        extent.firstColumn = qMin(extent.firstColumn, column);
        extent.lastColumn = qMax(extent.lastColumn, column);
    }
    QByteArray result = cellName(extent.firstRow, extent.firstColumn);
    if (extent.firstRow != extent.lastRow || extent.firstColumn != extent.lastColumn)
        result += ':' + cellName(extent.lastRow, extent.lastColumn);
    return QString::fromLatin1(result);
}

} // namespace QXlsx
