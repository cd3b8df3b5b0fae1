#pragma once

#include "XlsxBook.h"
#include "XlsxSheetWriter.h"

#include <map>
#include <optional>
#include <set>

namespace QXlsx
{

/**
 * Writes a workbook into an archive: the parts of the workbook that is written over, in their order, with changed parts
 * in place of the old ones, then the new sheets.
 *
 * For one call of write().
 */
class XlsxBookWriter
{
public:
    /** @param book its sheets get their parts, and its warnings what was lost; both must outlive the writer */
    XlsxBookWriter(XlsxBook &book, XlsxZipWriter &zip)
        : m_book(book)
        , m_zip(zip)
        , m_source(book.package->zip())
    {
    }

    /** @return false when it was cancelled or cannot be written: the archive is of no use then */
    bool write();

private:
    bool prepareStyles();
    void placeNewSheets();
    void planOldParts();
    bool writeLists(const QByteArray &dropped);
    bool writeOldPart(int index);
    bool writeOldParts();
    bool writeLateLists();
    bool writeSheet(XlsxBook::SheetState &state);
    XlsxSheetWriter::Outcome writeCells(XlsxBook::SheetState &state, int old, XlsxSheetWriter &writer);
    const QByteArray &nameOf(int index) const { return m_source.entries()[static_cast<std::size_t>(index)].name; }
    bool isNew() const { return m_book.package->isNew(); }

    XlsxBook &m_book;
    XlsxZipWriter &m_zip;
    XlsxZipReader &m_source;

    QByteArray m_oldStyles; // XML of the style sheet that is written over
    std::optional<XlsxStyles> m_styles;
    QVector<int> m_styleNumbers; // by format
    bool m_hasStyles = false; // there is a style sheet to write over
    QByteArray m_newStylesPart; // name of a style sheet that is added; empty for none

    QVector<XlsxPackage::Sheet> m_added;
    std::map<int, XlsxBook::SheetState *> m_writtenOver; // by index of the part
    std::set<int> m_lists; // parts that list the sheets and parts, by index
    int m_stylesIndex = -1;
    int m_chainIndex = -1; // of the calculation chain, which is dropped when a formula was replaced
    bool m_listsChange = false;
    bool m_listsFirst = false;
    bool m_formulaReplaced = false;
};

} // namespace QXlsx
