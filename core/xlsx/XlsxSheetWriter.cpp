#include "XlsxSheetWriter.h"

#include "QXlsx.h"
#include "XlsxText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace QXlsx
{

namespace
{

constexpr int kCellsBetweenAsking = 100000;
constexpr int kLongestFormula = 8192; // characters, by the format
constexpr int kFormulaCharactersACell = 16; // of a formula that is written out, as time goes

// What is put down without a look at the room's end: four prefixes at most, and names, numbers and quotes between them.
constexpr std::size_t kCellRoom = 128 + 4 * XlsxSheetWriter::kLongestPrefix;
static_assert(kCellRoom <= XlsxOutput::kLargestPiece);
constexpr int kBehindAll = 1 << 30;

struct ColumnNames {
    struct Name {
        char text[3];
        quint8 size;
    };
    std::array<Name, 16385> names{};

    ColumnNames()
    {
        for (std::size_t i = 0; i < names.size(); ++i) {
            const QByteArray name = columnName(static_cast<int>(i));
            names[i].size = static_cast<quint8>(name.size());
            std::memcpy(names[i].text, name.constData(), names[i].size);
        }
    }
};

const ColumnNames::Name &nameOfColumn(int column)
{
    static const ColumnNames all;
    return all.names[static_cast<std::size_t>(column)];
}

char *put(char *place, const QByteArray &bytes)
{
    std::memcpy(place, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return place + bytes.size();
}

bool needsSpacePreserved(const QString &text)
{
    return !text.isEmpty()
        && (text.front().isSpace() || text.back().isSpace() || text.contains(QLatin1Char('\n'))
            || text.contains(QLatin1Char('\t')) || text.contains(QLatin1String("  ")));
}

/** The elements that stand in front of the rows. */
bool isBeforeRows(const QStringRef &name)
{
    const auto names = {"sheetPr", "dimension", "sheetViews", "sheetFormatPr", "cols", "sheetData"};
    return std::any_of(names.begin(), names.end(), [&name](const char *one) { return name == QLatin1String(one); });
}

} // namespace

XlsxSheetWriter::XlsxSheetWriter(const XlsxCells &cells, const QVector<int> &styles, XlsxOutput &output,
                                 const std::function<bool()> &cancelled)
    : m_cells(cells)
    , m_styles(styles)
    , m_output(output)
    , m_writer(output)
    , m_cancelled(cancelled)
    , m_nextRow(cells.rowAfter(0))
{
    setPrefix({});
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
    return stop() ? Outcome::Stopped : Outcome::Written;
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
    if (prefix.size() > kLongestPrefix)
        return Outcome::Refused;
    setPrefix(prefix);
    m_writer.declaration();
    const bool whole = mergeWorksheet(reader);
    if (!whole && !m_stopped) {
        if (m_sheetDataDone) {
            m_writer.endTo(0);
        } else {
            // What was open in front of or among the rows ends here, and the rows that are left follow.
            if (m_inSheetData) {
                if (m_rest.first > 0) {
                    m_writer.endTo(3);
                    writeCells(m_rest.first, m_rest.second, kBehindAll);
                }
                m_writer.endTo(2);
                writeRowsBefore(kBehindAll);
            } else {
                m_writer.endTo(1);
                writeSheetData();
            }
            m_writer.endTo(0);
        }
    }
    if (stop())
        return Outcome::Stopped;
    // Reading to the end has the archive's check of the part made.
    return whole && !part.isDamaged() ? Outcome::Written : Outcome::Damaged;
}

/** Whether to break off; asks when it is time. */
bool XlsxSheetWriter::stop()
{
    m_stopped = m_stopped || !m_output.isGood() || (m_cancelled && m_cancelled());
    m_untilAsked = kCellsBetweenAsking;
    return m_stopped;
}

void XlsxSheetWriter::setPrefix(const QByteArray &prefix)
{
    m_prefix = prefix;
    m_cellStart = '<' + prefix + "c r=\"";
    m_numberEnd = "</" + prefix + "v></" + prefix + "c>";
    m_numberMiddle.clear();
    for (const int style : m_styles)
        m_numberMiddle.append((style > 0 ? "\" s=\"" + QByteArray::number(style) : QByteArray()) + "\"><" + prefix
                              + "v>");
}

void XlsxSheetWriter::writeCells(int row, int from, int to, const QString &keptStyle)
{
    if (from >= to || !m_cells.hasRow(row))
        return;
    char rowText[16];
    const std::size_t rowSize
        = static_cast<std::size_t>(std::to_chars(rowText, rowText + sizeof rowText, row).ptr - rowText);
    m_writer.content();
    m_cells.forRow(row, from, to, [&](int column, const XlsxCells::Cell &cell) {
        if (--m_untilAsked < 0)
            stop();
        if (m_stopped)
            return;
        const ColumnNames::Name &name = nameOfColumn(column);
        const bool keeps = m_styles[static_cast<int>(cell.format)] < 0;
        char *place = m_output.room(kCellRoom);
        place = put(place, m_cellStart);
        std::memcpy(place, name.text, sizeof name.text);
        place += name.size;
        std::memcpy(place, rowText, rowSize);
        place += rowSize;
        if (cell.kind == XlsxCells::Kind::Number && std::isfinite(cell.number) && !(keeps && !keptStyle.isEmpty())) {
            place = put(place, m_numberMiddle[static_cast<int>(cell.format)]);
            // The shortest exact text of a number has at most 24 characters.
            place = std::to_chars(place, place + 32, cell.number).ptr;
            m_output.advance(put(place, m_numberEnd));
            return;
        }

        m_output.advance(place);
        QByteArray style;
        if (!keeps && m_styles[static_cast<int>(cell.format)] > 0)
            style = " s=\"" + QByteArray::number(m_styles[static_cast<int>(cell.format)]) + '"';
        else if (keeps && !keptStyle.isEmpty())
            style = " s=\"" + escapeMarkup(keptStyle, true) + '"';
        QByteArray rest = '"' + style;
        const QByteArray value = "><" + m_prefix + "v>";
        switch (cell.kind) {
        case XlsxCells::Kind::Blank:
            rest += "/>";
            break;
        case XlsxCells::Kind::Bool:
            rest += " t=\"b\"" + value + (cell.number != 0 ? '1' : '0') + m_numberEnd;
            break;
        case XlsxCells::Kind::Number:
            if (std::isfinite(cell.number)) {
                char text[32];
                rest += value
                    + QByteArray(text, static_cast<int>(std::to_chars(text, text + 32, cell.number).ptr - text))
                    + m_numberEnd;
            } else {
                rest += " t=\"e\"" + value + (std::isnan(cell.number) ? "#NUM!" : "#DIV/0!") + m_numberEnd;
            }
            break;
        case XlsxCells::Kind::Text: {
            const QString &text = m_cells.text(cell.text);
            rest += " t=\"inlineStr\"><" + m_prefix + "is><" + m_prefix + 't'
                + (needsSpacePreserved(text) ? " xml:space=\"preserve\">" : ">")
                + escapeMarkup(escapeCharacters(text), false) + "</" + m_prefix + "t></" + m_prefix + "is></" + m_prefix
                + "c>";
            break;
        }
        }
        m_output.append(rest);
    });
}

/** Writes the rows in front of one that have no old cells. */
void XlsxSheetWriter::writeRowsBefore(int row)
{
    if (m_nextRow == 0 || m_nextRow >= row)
        return;
    const QByteArray start = '<' + m_prefix + "row r=\"";
    const QByteArray end = "</" + m_prefix + "row>";
    m_writer.content();
    for (; m_nextRow != 0 && m_nextRow < row && !m_stopped; m_nextRow = m_cells.rowAfter(m_nextRow)) {
        char *place = put(m_output.room(kCellRoom), start);
        place = std::to_chars(place, place + 16, m_nextRow).ptr;
        *place++ = '"';
        *place++ = '>';
        m_output.advance(place);
        writeCells(m_nextRow, 1, kBehindAll);
        m_output.append(end);
    }
}

void XlsxSheetWriter::writeFrozenRows(int count)
{
    if (count <= 0 || count >= Document::kLastRow)
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

/** An element a column, since not every reader looks for a column inside a stretch. */
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
    m_writer.start(m_prefix + "sheetData");
    writeRowsBefore(kBehindAll);
    m_writer.end();
    m_sheetDataDone = true;
}

bool XlsxSheetWriter::next(XlsxXmlReader &reader)
{
    m_part->pieceDone();
    if (--m_untilAsked < 0)
        stop();
    return !m_stopped && reader.next();
}

bool XlsxSheetWriter::copyElement(XlsxXmlReader &reader)
{
    const int outside = reader.depth() - 1;
    m_writer.copy(reader);
    while (reader.depth() > outside) {
        if (!next(reader))
            return false;
        m_writer.copy(reader);
    }
    return true;
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
            return !reader.hasError() && !m_stopped;
        }
        if (!reader.isStartElement()) {
            m_writer.copy(reader);
            continue;
        }
        const QStringRef name = reader.localName();
        if (!m_sheetDataDone && name == QLatin1String("sheetData")) {
            m_writer.copy(reader);
            if (!mergeSheetData(reader))
                return false;
            continue;
        }
        if (!m_sheetDataDone && !isBeforeRows(name))
            writeSheetData();
        if (name == QLatin1String("dimension") && !m_cells.isEmpty()) {
            m_writer.start(reader.qualifiedName().toUtf8());
            m_writer.attribute("ref", dimension(reader.attribute(QLatin1String("ref"))));
            m_writer.end();
            if (!reader.skipElement())
                return false;
            continue;
        }
        if (!copyElement(reader))
            return false;
    }
    return false;
}

bool XlsxSheetWriter::mergeSheetData(XlsxXmlReader &reader)
{
    m_inSheetData = true;
    int row = 0;
    while (next(reader)) {
        if (reader.isEndElement()) {
            writeRowsBefore(kBehindAll);
            m_writer.copy(reader);
            m_inSheetData = false;
            m_sheetDataDone = true;
            return !m_stopped;
        }
        if (reader.isStartElement() && reader.localName() == QLatin1String("row")) {
            bool ok = false;
            const int stated = reader.attribute(QLatin1String("r")).toInt(&ok);
            row = ok && stated > 0 && stated < kBehindAll ? stated : row + 1;
            writeRowsBefore(row);
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
    const bool written = m_nextRow == row;
    const bool hasCells = m_cells.hasRow(row);
    m_writer.start(reader.qualifiedName().toUtf8());
    m_writer.attribute("r", QString::number(row));
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute &one : attributes)
        // The columns that a row spans are a hint for readers, which the cells put into it would make a lie.
        if (one.qualifiedName() != QLatin1String("r") && !(hasCells && one.qualifiedName() == QLatin1String("spans")))
            m_writer.attribute(one.qualifiedName().toUtf8(), one.value().toString());

    // A row that comes late or twice has its new cells written already.
    int from = written ? 1 : kBehindAll;
    if (written)
        m_nextRow = m_cells.rowAfter(row);
    int column = 0;
    m_rest = {row, from};
    while (next(reader)) {
        if (reader.isEndElement()) {
            writeCells(row, m_rest.second, kBehindAll);
            m_rest = {};
            m_writer.copy(reader);
            return !m_stopped;
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
        if (hasCells && column >= m_rest.second) {
            writeCells(row, m_rest.second, column);
            m_rest.second = column;
        }
        if (hasCells && m_cells.contains(row, column)) {
            if (column >= m_rest.second) {
                writeCells(row, column, column + 1, reader.attribute(QLatin1String("s")));
                m_rest.second = column + 1;
            }
            if (!skipReplaced(reader, row, column))
                return false;
        } else if (!mergeCell(reader, row, column)) {
            return false;
        }
    }
    return false;
}

/** Copies a cell that stays. */
bool XlsxSheetWriter::mergeCell(XlsxXmlReader &reader, int row, int column)
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

/** Goes over a cell that is written over, and keeps of it what cells that stay rest on. */
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
        // Written out at each of its followers, a longer one would make much of a small file. They keep their values.
        if (isShared && !text.isEmpty())
            m_replacedShared.insert(shared, {row, column, text.size() <= kLongestFormula ? text : QString()});
    }
    return true;
}

/** Copies a formula; one that shares its text with a cell that is written over gets a text of its own. */
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
    m_untilAsked -= text.size() / kFormulaCharactersACell;
    m_writer.start(name);
    m_writer.raw(escapeMarkup(text, false));
    m_writer.end();
    return !reader.hasError();
}

/** The stretch of cells that holds the old ones and the new. */
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
