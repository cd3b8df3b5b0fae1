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
 * A workbook (.xlsx) in memory: new, or one that stands on disk and is written over cell by cell.
 *
 * Only what was written is held, 8 bytes a number plus little a row. What an existing file holds stays there until
 * saveAs, which carries over all that was not written: cells with value and style, formulas, merged cells, widths,
 * other sheets and parts. Rows and columns count from 1. Not safe for use by two threads at once; separate documents
 * may live on separate threads.
 */
class Document
{
public:
    /** Rows that a sheet may have. */
    static constexpr int kLastRow = kMaxRow;
    /** Columns that a sheet may have. */
    static constexpr int kLastColumn = kMaxColumn;
    /** Characters that a cell may have; readers offer to repair a file with longer texts. */
    static constexpr int kLongestText = kMaxCellText;

    /** How a reader first shows the sheets that are added; those of an existing workbook keep their own. */
    struct SheetView {
        /** Rows at the top that stay in sight when the others are scrolled. */
        int frozenRows = 0;
        /** Columns as wide as what stands in them. */
        bool fitColumns = false;
    };

    /** An empty workbook. One that nobody gives a sheet has "Sheet1". */
    Document();

    /**
     * Takes over the workbook at path. With no file there the document is empty.
     *
     * A file that is no workbook, or one that unpacks to more than 1 GiB and 100 times its size, counts as not there,
     * with a warning and refusal(). So does what no workbook has, which may show only in saveAs: more than 1000
     * attributes of an element, more than 10000 sheets. Reads the workbook's list of sheets only, no cells. The file
     * must not be changed by others before the document is gone.
     *
     * @param cancelled  as of setCancelled, asked already while the file is read; may be empty
     */
    explicit Document(const QString &path, const std::function<bool()> &cancelled = {});
    ~Document();

    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    /**
     * Adds a sheet behind the others and selects it.
     *
     * What a sheet name must not have is replaced: `: \ / ? * [ ]` and control characters by blanks, and what is beyond
     * 31 characters is cut; an empty name becomes the next free "Sheet1", "Sheet2", ... Names differ by more than case.
     *
     * @return false, with nothing changed, when there is a sheet of that name
     */
    bool addSheet(const QString &name);

    /**
     * Makes a sheet the one that write and read work on; the name is taken as addSheet takes it.
     *
     * @return false, with nothing changed, when no sheet of cells has that name
     */
    bool selectSheet(const QString &name);

    /** All sheets in the workbook's order; empty for a new workbook that has none yet. */
    QStringList sheetNames() const;

    /**
     * Writes a cell of the selected sheet; without a sheet "Sheet1" is made first.
     *
     * Finite numbers keep every bit. Infinity becomes the error `#DIV/0!`, not-a-number `#NUM!`. Texts are texts, also
     * those that begin with an equals sign; they are cut to kLongestText characters. With an empty format a cell that
     * exists keeps its look.
     *
     * @return false when row or column lie outside 1 to kLastRow and 1 to kLastColumn: the cell is left out, and
     *         saveAs warns how many rows of which sheet were
     *
     * O(1) when a row is written from left to right.
     */
    bool write(int row, int column, double value, const Format &format = Format());
    /** The same for a text. */
    bool write(int row, int column, const QString &text, const Format &format = Format());
    /** The same for a text in UTF-8; null is the empty text. */
    bool write(int row, int column, const char *utf8, const Format &format = Format());

    /** Writes a number or bool as such, an invalid value as an empty cell, and all else as its text. */
    bool write(int row, int column, const QVariant &value, const Format &format = Format());

    /**
     * A cell of the selected sheet: double, QString or bool; invalid when there is none.
     *
     * The error `#DIV/0!` reads as infinity and `#NUM!` as not-a-number, other errors as their text; a formula reads as
     * its last result, or as "=..." when the file holds none; a date as its serial number. The first read of an
     * existing sheet loads that sheet's values.
     */
    QVariant read(int row, int column) const;

    /** A text as a cell holds it: cut to kLongestText, but not inside a pair of surrogates. */
    static QString cellText(const QString &text);

    /** Sets the view of the sheets that are added; the default is the reader's own. */
    void setSheetView(const SheetView &view);

    /**
     * Rows of a sheet that were left out because they lie beyond kLastRow. A row counts once when its cells are written
     * one behind the other.
     */
    int rowsLeftOut(const QString &sheetName) const;

    /**
     * Has saveAs ask, at least every hundred thousand cells or few kilobytes of an old workbook, whether it shall stop.
     *
     * The callable is called on the thread of saveAs and may read an atomic flag.
     */
    void setCancelled(std::function<bool()> cancelled);

    /** What saveAs does with a file of another origin that stands in its place and is no workbook. */
    enum class NoWorkbook { Replace, SetAside };

    /**
     * Writes the workbook into a new file beside path and puts it in path's place when it is complete.
     *
     * A file at path that the document was made from is not lost when it could not be taken over, or when a sheet of it
     * that is written over is damaged: it is renamed, see savedAside(). A link is followed.
     *
     * @return false when it was cancelled or cannot be written: the unfinished file is removed, and what stood at path
     *         is as it was. The document may be written to and saved again in either case.
     */
    bool saveAs(const QString &path, NoWorkbook noWorkbook = NoWorkbook::Replace);

    /**
     * What was left out, cut or could not be done since the last call, each in the words of a log line.
     *
     * The document itself tells nobody: whoever has one decides where its warnings go.
     */
    QStringList takeWarnings();

    /** The same for files in the way of the last saves that could not be renamed, so that nothing was written. */
    QStringList takeErrors();

    /** Why the file that the document was made from, or that stands where it is saved, is no workbook; else empty. */
    QString refusal() const;

    /** Where the last saveAs put the file that stood in its place: its path and ".old", ".old2", ...; else empty. */
    QString savedAside() const;

private:
    std::unique_ptr<XlsxBook> d;
};

} // namespace QXlsx
