#include "XlsxCellWriter.h"

#include "XlsxLimits.h"
#include "XlsxText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace QXlsx
{

namespace
{

constexpr int kCellsBetweenAsking = 100000;

// Room for a cell that is written without checking the end of the block: at most four prefixes, and names, numbers and
// quotes between them.
constexpr std::size_t kCellRoom = 128 + 4 * XlsxCellWriter::kMaxPrefix;
static_assert(kCellRoom <= XlsxOutput::kLargestPiece);

constexpr int kNumberRoom = 32; // the shortest exact text of a double has at most 24 characters

struct ColumnNames {
    struct Name {
        char text[3];
        quint8 size;
    };
    std::array<Name, kMaxColumn + 1> names{};

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

QByteArray numberText(double number)
{
    char text[kNumberRoom];
    return {text, static_cast<int>(std::to_chars(text, text + kNumberRoom, number).ptr - text)};
}

bool needsSpacePreserved(const QString &text)
{
    return !text.isEmpty()
        && (text.front().isSpace() || text.back().isSpace() || text.contains(QLatin1Char('\n'))
            || text.contains(QLatin1Char('\t')) || text.contains(QLatin1String("  ")));
}

} // namespace

XlsxCellWriter::XlsxCellWriter(const XlsxCells &cells, const QVector<int> &styles, XlsxXmlWriter &writer,
                               XlsxOutput &output, const std::function<bool()> &cancelled)
    : m_cells(cells)
    , m_styles(styles)
    , m_writer(writer)
    , m_output(output)
    , m_cancelled(cancelled)
    , m_nextRow(cells.rowAfter(0))
{
    setPrefix({});
}

void XlsxCellWriter::setPrefix(const QByteArray &prefix)
{
    m_prefix = prefix;
    m_cellStart = '<' + prefix + "c r=\"";
    m_numberEnd = "</" + prefix + "v></" + prefix + "c>";
    m_numberMiddle.clear();
    for (const int style : m_styles)
        m_numberMiddle.append((style > 0 ? "\" s=\"" + QByteArray::number(style) : QByteArray()) + "\"><" + prefix
                              + "v>");
}

bool XlsxCellWriter::stop()
{
    m_stopped = m_stopped || !m_output.isGood() || (m_cancelled && m_cancelled());
    m_untilAsked = kCellsBetweenAsking;
    return m_stopped;
}

void XlsxCellWriter::writeCells(int row, int from, int to, const QString &keptStyle)
{
    if (from >= to || !m_cells.hasRow(row))
        return;
    char rowText[16];
    const std::size_t rowSize
        = static_cast<std::size_t>(std::to_chars(rowText, rowText + sizeof rowText, row).ptr - rowText);
    m_writer.content();
    m_cells.forRow(row, from, to, [&](int column, const XlsxCells::Cell &cell) {
        if (countWork(1))
            return;
        const ColumnNames::Name &name = nameOfColumn(column);
        char *place = m_output.room(kCellRoom);
        place = put(place, m_cellStart);
        std::memcpy(place, name.text, sizeof name.text);
        place += name.size;
        std::memcpy(place, rowText, rowSize);
        place += rowSize;
        const bool keeps = m_styles[static_cast<int>(cell.format)] < 0 && !keptStyle.isEmpty();
        if (cell.kind == XlsxCells::Kind::Number && std::isfinite(cell.number) && !keeps) {
            place = put(place, m_numberMiddle[static_cast<int>(cell.format)]);
            place = std::to_chars(place, place + kNumberRoom, cell.number).ptr;
            m_output.advance(put(place, m_numberEnd));
            return;
        }
        m_output.advance(place);
        m_output.append('"' + styleAttribute(cell, keptStyle) + contentOf(cell));
    });
}

QByteArray XlsxCellWriter::styleAttribute(const XlsxCells::Cell &cell, const QString &keptStyle) const
{
    const int style = m_styles[static_cast<int>(cell.format)];
    if (style > 0)
        return " s=\"" + QByteArray::number(style) + '"';
    if (style < 0 && !keptStyle.isEmpty())
        return " s=\"" + escapeMarkup(keptStyle, true) + '"';
    return {};
}

/** What follows the attributes r and s, to the end of the cell. */
QByteArray XlsxCellWriter::contentOf(const XlsxCells::Cell &cell) const
{
    const QByteArray value = "><" + m_prefix + "v>";
    switch (cell.kind) {
    case XlsxCells::Kind::Blank:
        break;
    case XlsxCells::Kind::Bool:
        return " t=\"b\"" + value + (cell.number != 0 ? '1' : '0') + m_numberEnd;
    case XlsxCells::Kind::Number:
        if (std::isfinite(cell.number))
            return value + numberText(cell.number) + m_numberEnd;
        return " t=\"e\"" + value + (std::isnan(cell.number) ? "#NUM!" : "#DIV/0!") + m_numberEnd;
    case XlsxCells::Kind::Text: {
        const QString &text = m_cells.text(cell.text);
        return " t=\"inlineStr\"><" + m_prefix + "is><" + m_prefix + 't'
            + (needsSpacePreserved(text) ? " xml:space=\"preserve\">" : ">")
            + escapeMarkup(escapeCharacters(text), false) + "</" + m_prefix + "t></" + m_prefix + "is></" + m_prefix
            + "c>";
    }
    }
    return "/>";
}

void XlsxCellWriter::writeRowsBefore(int row)
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
        writeCells(m_nextRow, 1, kEndOfRow);
        m_output.append(end);
    }
}

} // namespace QXlsx
