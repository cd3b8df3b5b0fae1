#pragma once

#include "XlsxCellWriter.h"
#include "XlsxZipReader.h"

#include <functional>
#include <utility>

namespace QXlsx
{

/**
 * Writes the XML of one sheet: of a new one, or of an existing one with cells written over it.
 *
 * Works in blocks: its memory does not grow with the sheet.
 */
class XlsxSheetWriter
{
public:
    /** How writing a sheet ended. */
    enum class Outcome {
        Written, ///< completely
        Stopped, ///< cancelled, or the output failed
        Damaged, ///< the existing sheet breaks off; what came before is kept, and all new cells are written
        Refused, ///< the element prefix of the existing sheet is longer than XlsxCellWriter::kMaxPrefix
    };

    /** See XlsxCellWriter. */
    XlsxSheetWriter(const XlsxCells &cells, const QVector<int> &styles, XlsxOutput &output,
                    const std::function<bool()> &cancelled);

    /**
     * Writes a sheet that holds the cells and nothing else.
     *
     * @param widths of the columns, as columnWidths gives them; may be empty
     * @param frozenRows rows at the top that stay in sight when the others are scrolled
     */
    Outcome writeNew(const QString &mainNamespace, const QVector<int> &widths = {}, int frozenRows = 0);

    /** Writes the existing sheet in part with the cells over it; everything else of it is kept. */
    Outcome merge(XlsxZipReader::Part &part, const QString &mainNamespace);

    /** Whether a formula was replaced by a cell. */
    bool formulaReplaced() const { return m_formulaReplaced; }

private:
    struct SharedFormula {
        int row;
        int column;
        QString text;
    };

    void writeFrozenRows(int count);
    void writeWidths(const QVector<int> &widths);
    void writeSheetData();
    void completeDamaged();
    bool next(XlsxXmlReader &reader);
    bool copyElement(XlsxXmlReader &reader);
    bool mergeWorksheet(XlsxXmlReader &reader);
    bool mergeSheetElement(XlsxXmlReader &reader);
    bool mergeSheetData(XlsxXmlReader &reader);
    bool mergeRow(XlsxXmlReader &reader, int row);
    bool mergeRowCells(XlsxXmlReader &reader, int row, bool hasCells);
    bool mergeCellOver(XlsxXmlReader &reader, int row, int column, bool hasCells);
    bool copyCell(XlsxXmlReader &reader, int row, int column);
    bool skipReplaced(XlsxXmlReader &reader, int row, int column);
    bool copyFormula(XlsxXmlReader &reader, int row, int column);
    QString dimension(const QString &old) const;

    const XlsxCells &m_cells;
    XlsxXmlWriter m_writer;
    XlsxCellWriter m_cellWriter;
    XlsxZipReader::Part *m_part = nullptr;
    QHash<QString, SharedFormula> m_replacedShared;
    std::pair<int, int> m_rest; // the row that is being merged and the first of its columns that is not written yet
    bool m_inSheetData = false;
    bool m_sheetDataDone = false;
    bool m_formulaReplaced = false;
};

} // namespace QXlsx
