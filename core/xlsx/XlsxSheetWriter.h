#pragma once

#include "XlsxCells.h"
#include "XlsxXmlWriter.h"
#include "XlsxZipReader.h"

#include <functional>
#include <utility>

namespace QXlsx
{

/**
 * Writes the XML of one sheet: of a new one, or of one that exists with cells written over it.
 *
 * Works in blocks: its memory does not grow with the sheet.
 */
class XlsxSheetWriter
{
public:
    enum class Outcome {
        Written,
        Stopped, // cancelled, or the output failed
        Damaged, // the sheet that was there breaks off; what came before is kept, and the new cells are all written
        Refused, // the elements of the sheet that was there have a longer prefix than kLongestPrefix
    };

    /** Bytes, with the colon. Every cell has it four times; known programs write "x:" or none. */
    static constexpr int kLongestPrefix = 32;

    /**
     * @param styles  the workbook's number for each format of the cells; below 0 for a cell that keeps the look it has
     * @param cancelled  asked now and then; may be empty
     */
    XlsxSheetWriter(const XlsxCells &cells, const QVector<int> &styles, XlsxOutput &output,
                    const std::function<bool()> &cancelled);

    /**
     * A sheet with nothing but the cells.
     *
     * @param widths  of the columns, as columnWidths gives them; may be empty
     * @param frozenRows  rows that stay in sight when the others are scrolled
     */
    Outcome writeNew(const QString &mainNamespace, const QVector<int> &widths = {}, int frozenRows = 0);

    /** The sheet that stands in part with the cells over it, all else of it kept. */
    Outcome merge(XlsxZipReader::Part &part, const QString &mainNamespace);

    /** True when a formula was written over. */
    bool formulaReplaced() const { return m_formulaReplaced; }

private:
    struct SharedFormula {
        int row;
        int column;
        QString text;
    };

    bool stop();
    void setPrefix(const QByteArray &prefix);
    void writeCells(int row, int from, int to, const QString &keptStyle = {});
    void writeRowsBefore(int row);
    void writeFrozenRows(int count);
    void writeWidths(const QVector<int> &widths);
    void writeSheetData();
    bool next(XlsxXmlReader &reader);
    bool copyElement(XlsxXmlReader &reader);
    bool mergeWorksheet(XlsxXmlReader &reader);
    bool mergeSheetData(XlsxXmlReader &reader);
    bool mergeRow(XlsxXmlReader &reader, int row);
    bool mergeCell(XlsxXmlReader &reader, int row, int column);
    bool skipReplaced(XlsxXmlReader &reader, int row, int column);
    bool copyFormula(XlsxXmlReader &reader, int row, int column);
    QString dimension(const QString &old) const;

    const XlsxCells &m_cells;
    const QVector<int> &m_styles;
    XlsxOutput &m_output;
    XlsxXmlWriter m_writer;
    const std::function<bool()> &m_cancelled;
    XlsxZipReader::Part *m_part = nullptr;
    QByteArray m_prefix;
    QByteArray m_cellStart;
    QByteArray m_numberEnd;
    QVector<QByteArray> m_numberMiddle; // of each format: from behind the cell's name to its value
    QHash<QString, SharedFormula> m_replacedShared;
    int m_nextRow; // the first that has cells to be written
    std::pair<int, int> m_rest; // row that is being merged and the first of its columns that is still to be written
    int m_untilAsked = 0;
    bool m_stopped = false;
    bool m_inSheetData = false;
    bool m_sheetDataDone = false;
    bool m_formulaReplaced = false;
};

} // namespace QXlsx
