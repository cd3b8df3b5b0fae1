#pragma once

namespace QXlsx
{

/** What the format allows in a workbook. Readers offer to repair a file that holds more. */
///@{
inline constexpr int kMaxRow = 1048576; ///< rows of a sheet, counted from 1
inline constexpr int kMaxColumn = 16384; ///< columns of a sheet, counted from 1
inline constexpr int kMaxCellText = 32767; ///< characters (UTF-16 units) of a cell
inline constexpr int kMaxSheetName = 31; ///< characters of a sheet's name
inline constexpr int kMaxFormula = 8192; ///< characters of a formula
inline constexpr int kMaxColumnWidth = 255; ///< digits of the standard font
inline constexpr int kMaxFontPoints = 409; ///< size of a font
///@}

/** Whether a sheet has such a row. */
constexpr bool isRow(int row)
{
    return row >= 1 && row <= kMaxRow;
}

/** Whether a sheet has such a column. */
constexpr bool isColumn(int column)
{
    return column >= 1 && column <= kMaxColumn;
}

} // namespace QXlsx
