#pragma once

#include "XlsxFormat.h"
#include "XlsxLimits.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>

namespace QXlsx
{

class XlsxBook;

/**
 * A workbook (.xlsx) in memory: a new one, or an existing file that is written over cell by cell.
 *
 * Holds only the written cells: 8 bytes for each number and a few for each row. The content of an existing file stays
 * on disk until saveAs, which copies everything that was not written: cells with value and style, formulas, merged
 * cells, widths, other sheets and parts. Rows and columns count from 1. A document is for one thread at a time;
 * separate documents may be used on separate threads.
 */
class Document
{
public:
    /** Last row of a sheet. */
    static constexpr int kLastRow = kMaxRow;
    /** Last column of a sheet. */
    static constexpr int kLastColumn = kMaxColumn;
    /** Most characters in a cell. */
    static constexpr int kLongestText = kMaxCellText;

    /** How programs first show an added sheet. Sheets of an existing workbook keep their own view. */
    struct SheetView {
        /** Rows at the top that stay in sight when the others are scrolled. */
        int frozenRows = 0;
        /** Columns are as wide as their content. */
        bool fitColumns = false;
    };

    /** An empty workbook. When it is saved without a sheet, it gets "Sheet1". */
    Document();

    /**
     * Opens the workbook at path. Without a file there the document is empty.
     *
     * A file that is no workbook, or that unpacks to more than 1 GiB and 100 times its size, is treated as missing,
     * with a warning and refusal(). So is a file with what no workbook contains, which may be detected only in saveAs:
     * more than 1000 attributes of an element, more than 10000 sheets. Reads the list of sheets, no cells. Nobody else
     * may change the file while the document exists.
     *
     * @param cancelled see setCancelled; called while the file is opened, too. May be empty
     */
    explicit Document(const QString &path, const std::function<bool()> &cancelled = {});
    ~Document();

    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    /**
     * Adds a sheet after the others and selects it.
     *
     * The name is made valid: spaces replace `: \ / ? * [ ]` and control characters, and the name is cut to 31
     * characters; an empty name becomes the next free "Sheet1", "Sheet2", ... Names are compared without case.
     *
     * @return false, with nothing changed, when a sheet of that name exists
     */
    bool addSheet(const QString &name);

    /**
     * Selects the sheet for write and read; the name is made valid as by addSheet.
     *
     * @return false, with nothing changed, when no sheet of cells has that name
     */
    bool selectSheet(const QString &name);

    /** The names of all sheets in order; empty for a new workbook without sheets. */
    QStringList sheetNames() const;

    /**
     * Writes a cell of the selected sheet; without a sheet "Sheet1" is added first.
     *
     * Finite numbers keep every bit. Infinity becomes the error `#DIV/0!`, NaN becomes `#NUM!`. A text that begins with
     * an equals sign is still a text; texts are cut to kLongestText characters. With an empty format an existing cell
     * keeps its format.
     *
     * @return false when row or column are outside 1 to kLastRow and 1 to kLastColumn: the cell is left out, and saveAs
     *         warns how many rows of which sheet were left out
     *
     * O(1) when a row is written from left to right.
     */
    bool write(int row, int column, double value, const Format &format = Format());
    /** The same for a text. */
    bool write(int row, int column, const QString &text, const Format &format = Format());
    /** The same for a text in UTF-8; null is the empty text. */
    bool write(int row, int column, const char *utf8, const Format &format = Format());

    /** Writes a number or bool as such, an invalid value as an empty cell, and any other value as its text. */
    bool write(int row, int column, const QVariant &value, const Format &format = Format());

    /**
     * Reads a cell of the selected sheet: double, QString or bool; invalid when the cell is empty.
     *
     * The error `#DIV/0!` reads as infinity and `#NUM!` as NaN, other errors as their text; a formula reads as its
     * stored result, or as "=..." when the file has none; a date as its serial number. The first read of an existing
     * sheet loads the values of that sheet.
     */
    QVariant read(int row, int column) const;

    /** The text that a cell holds: cut to kLongestText characters, but not between two surrogates. */
    static QString cellText(const QString &text);

    /** Sets the view of added sheets; the default leaves it to the program that shows them. */
    void setSheetView(const SheetView &view);

    /**
     * Sets a function that saveAs calls at least every 100,000 cells or few kilobytes of an old workbook; returning
     * true stops it.
     *
     * It is called on the thread of saveAs and may read an atomic flag.
     */
    void setCancelled(std::function<bool()> cancelled);

    /** What saveAs does with an existing file at path that is no workbook and that the document was not made from. */
    enum class NoWorkbook { Replace, SetAside };

    /**
     * Writes the workbook into a new file beside path, and replaces path when the new file is complete.
     *
     * The file that the document was made from is renamed, see savedAside(), when it could not be opened as a workbook,
     * or when a sheet of it that is written over is damaged. A link is followed.
     *
     * @return false when it was cancelled or cannot be written: the unfinished file is removed and path is unchanged.
     *         The document may be written to and saved again in either case.
     */
    bool saveAs(const QString &path, NoWorkbook noWorkbook = NoWorkbook::Replace);

    /**
     * What was left out, cut or not possible since the last call, one log line each.
     *
     * The document has no logger; its owner decides where the warnings go.
     */
    QStringList takeWarnings();

    /** The same for saves that wrote nothing because an existing file could not be renamed. */
    QStringList takeErrors();

    /** Why the file that the document was made from, or the one at the path of saveAs, is no workbook; or empty. */
    QString refusal() const;

    /** The new name of the file that the last saveAs renamed: its path and ".old", ".old2", ...; or empty. */
    QString savedAside() const;

private:
    std::unique_ptr<XlsxBook> d;
};

} // namespace QXlsx
