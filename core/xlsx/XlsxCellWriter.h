#pragma once

#include "XlsxCells.h"
#include "XlsxXmlWriter.h"

#include <functional>

namespace QXlsx
{

/**
 * Writes cells and rows of a sheet as XML, and keeps track of the rows that are still to be written.
 *
 * Formats numbers straight into the output's block: a sheet is mostly numbers, and nothing is allocated for one.
 */
class XlsxCellWriter
{
public:
    /** Bytes of an element prefix, with the colon. Each cell has it four times; known programs write "x:" or none. */
    static constexpr int kMaxPrefix = 32;
    /** A column after the last of any sheet, for ranges that end with the row. */
    static constexpr int kEndOfRow = 1 << 30;
    /** A row after the last of any sheet. */
    static constexpr int kEndOfSheet = 1 << 30;

    /**
     * @param cells the cells to write
     * @param styles the workbook's style number for each format of the cells; below 0 for a cell that keeps its style
     * @param writer the XML around the cells
     * @param output what the writer writes to
     * @param cancelled called every 100,000 cells; may be empty. Returning true stops the writing
     */
    XlsxCellWriter(const XlsxCells &cells, const QVector<int> &styles, XlsxXmlWriter &writer, XlsxOutput &output,
                   const std::function<bool()> &cancelled);

    /** The prefix of the sheet's elements, with its colon, at most kMaxPrefix bytes; empty at first. */
    ///@{
    void setPrefix(const QByteArray &prefix);
    const QByteArray &prefix() const { return m_prefix; }
    ///@}

    /**
     * Writes the cells of a row with column in [from, to).
     *
     * @param keptStyle style of the old cell, for cells that keep it; empty for none
     */
    void writeCells(int row, int from, int to, const QString &keptStyle = {});

    /** Writes the rows from nextRow() to the one before row, with their elements. */
    void writeRowsBefore(int row);

    /** The first row that has cells and is not written; 0 when there is none. */
    int nextRow() const { return m_nextRow; }
    /** Takes a row out of those to be written: the caller writes its element and its cells. */
    void passRow(int row) { m_nextRow = m_cells.rowAfter(row); }

    /** Counts work that takes as long as some cells, and calls cancelled when it is time. @return isStopped() */
    bool countWork(int cells)
    {
        m_untilAsked -= cells;
        return m_untilAsked < 0 ? stop() : m_stopped;
    }
    /** Calls cancelled at once and looks at the output. @return isStopped() */
    bool stop();
    /** Whether the writing was cancelled or the output has failed. */
    bool isStopped() const { return m_stopped; }

private:
    QByteArray styleAttribute(const XlsxCells::Cell &cell, const QString &keptStyle) const;
    QByteArray contentOf(const XlsxCells::Cell &cell) const;

    const XlsxCells &m_cells;
    const QVector<int> &m_styles;
    XlsxXmlWriter &m_writer;
    XlsxOutput &m_output;
    const std::function<bool()> &m_cancelled;
    QByteArray m_prefix;
    QByteArray m_cellStart;
    QByteArray m_numberEnd;
    QVector<QByteArray> m_numberMiddle; // for each format: what stands between the cell's name and its value
    int m_nextRow;
    int m_untilAsked = 0;
    bool m_stopped = false;
};

} // namespace QXlsx
