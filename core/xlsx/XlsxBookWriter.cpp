#include "XlsxBookWriter.h"

#include "XlsxColumnWidths.h"

namespace QXlsx
{

namespace
{

// The XML of a sheet is shorter than this for each cell; with it a part is known to need no 64-bit sizes.
constexpr quint64 kMaxBytesACell = 80 + 4 * XlsxCellWriter::kMaxPrefix;
constexpr quint64 kLargePart = 0xc0000000;

} // namespace

bool XlsxBookWriter::write()
{
    if (!prepareStyles())
        return false;
    placeNewSheets();
    planOldParts();
    if (m_listsFirst && !writeLists({}))
        return false;
    if (!writeOldParts() || !writeLateLists())
        return false;
    for (const std::unique_ptr<XlsxBook::SheetState> &state : m_book.sheets) {
        if (state->sheet.isNew && !writeSheet(*state))
            return false;
    }
    if (!m_newStylesPart.isEmpty() && !m_zip.add(m_newStylesPart, m_styles->xml()))
        return false;
    // A list that was cut short by the cancellation must not pass for a complete one.
    return m_zip.finish() && !m_book.isCancelled();
}

/** Adds the formats to the style sheet, or to a new one. */
bool XlsxBookWriter::prepareStyles()
{
    XlsxPackage &package = *m_book.package;
    m_hasStyles = !isNew() && package.styles(m_oldStyles);
    m_styles.emplace(m_hasStyles ? m_oldStyles : XlsxStyles::plain(), m_book.cancelled);
    const bool lost = !isNew() && !package.stylesPart().isEmpty() && (!m_hasStyles || !m_styles->isValid());
    if (m_book.isCancelled() || !m_source.refusal().isEmpty())
        return false;
    const QVector<Format> &formats = m_book.formats;
    if (lost) {
        m_book.warnings.append(
            QStringLiteral("the style sheet of %1 cannot be read: new cells get no format").arg(m_book.path));
        m_styleNumbers = QVector<int>(formats.size(), -1);
        return true;
    }
    m_styleNumbers = m_book.styleNumbers(*m_styles);
    if (!m_hasStyles && (isNew() || formats.size() > 1))
        m_newStylesPart
            = package.workbookPart().left(package.workbookPart().lastIndexOf('/') + 1) + QByteArray("styles.xml");
    return true;
}

void XlsxBookWriter::placeNewSheets()
{
    QSet<QByteArray> taken;
    for (const std::unique_ptr<XlsxBook::SheetState> &state : m_book.sheets) {
        if (!state->sheet.isNew)
            continue;
        m_book.package->placeSheet(state->sheet, taken);
        m_added.append(state->sheet);
    }
}

/** Finds the parts that change. */
void XlsxBookWriter::planOldParts()
{
    const XlsxPackage &package = *m_book.package;
    for (const std::unique_ptr<XlsxBook::SheetState> &state : m_book.sheets) {
        if (!state->sheet.isNew && !state->cells.isEmpty())
            m_writtenOver.emplace(m_source.indexOf(state->sheet.part), state.get());
    }
    m_stylesIndex = m_hasStyles ? m_source.indexOf(package.stylesPart()) : -1;
    m_chainIndex = package.calcChainPart().isEmpty() ? -1 : m_source.indexOf(package.calcChainPart());
    m_lists = {m_source.indexOf(package.contentTypesPart()), m_source.indexOf(package.workbookPart()),
               m_source.indexOf(package.relationsPart())};
    m_listsChange = isNew() || !m_added.isEmpty() || !m_newStylesPart.isEmpty();
    // With a calculation chain the lists wait until it is known whether a formula was replaced.
    m_listsFirst = m_listsChange && m_chainIndex < 0;
}

/** Writes the parts that list sheets and parts. @param dropped a part that they leave out; empty for none */
bool XlsxBookWriter::writeLists(const QByteArray &dropped)
{
    const XlsxPackage &package = *m_book.package;
    return m_zip.add(package.contentTypesPart(), package.contentTypes(m_added, m_newStylesPart, dropped))
        && (!isNew() || m_zip.add("_rels/.rels", XlsxPackage::rootRelations()))
        && m_zip.add(package.workbookPart(), package.workbook(m_added))
        && m_zip.add(package.relationsPart(), package.relations(m_added, m_newStylesPart, dropped));
}

bool XlsxBookWriter::writeOldPart(int index)
{
    const auto over = m_writtenOver.find(index);
    if (over != m_writtenOver.end())
        return writeSheet(*over->second);
    if (index == m_stylesIndex && m_styles->isValid()) {
        const QByteArray xml = m_styles->xml();
        if (xml != m_oldStyles)
            return m_zip.add(nameOf(index), xml);
    }
    const bool listsElsewhere = m_listsFirst || m_chainIndex >= 0;
    if (index == m_chainIndex || (m_lists.count(index) > 0 && listsElsewhere))
        return true;
    return m_zip.carry(m_source, index, m_book.cancelled);
}

bool XlsxBookWriter::writeOldParts()
{
    for (int i = 0; i < static_cast<int>(m_source.entries().size()); ++i) {
        if (writeOldPart(i))
            continue;
        if (m_source.isDamaged() && !m_book.isCancelled())
            m_book.warnings.append(QStringLiteral("part %1 of %2 is damaged and cannot be carried over")
                                       .arg(QString::fromUtf8(nameOf(i)), m_book.path));
        return false;
    }
    return true;
}

/** After the sheets: writes the calculation chain, unless a formula was replaced, and the lists that waited for it. */
bool XlsxBookWriter::writeLateLists()
{
    if (m_chainIndex < 0)
        return true;
    if (m_formulaReplaced)
        return writeLists(m_book.package->calcChainPart());
    if (!m_zip.carry(m_source, m_chainIndex, m_book.cancelled))
        return false;
    if (m_listsChange)
        return writeLists({});
    for (const int list : m_lists) {
        if (!m_zip.carry(m_source, list, m_book.cancelled))
            return false;
    }
    return true;
}

bool XlsxBookWriter::writeSheet(XlsxBook::SheetState &state)
{
    using Outcome = XlsxSheetWriter::Outcome;
    const int old = state.sheet.isNew ? -1 : m_source.indexOf(state.sheet.part);
    quint64 size = state.cells.cellCount() * kMaxBytesACell;
    if (old >= 0)
        size += m_source.entries()[static_cast<std::size_t>(old)].unpacked * 2;
    if (!m_zip.begin(old >= 0 ? nameOf(old) : state.sheet.part, size > kLargePart))
        return false;
    XlsxOutput output([this](const char *data, std::size_t count) { return m_zip.write(data, count); });
    XlsxSheetWriter writer(state.cells, m_styleNumbers, output, m_book.cancelled);
    const Outcome outcome = writeCells(state, old, writer);
    if (outcome == Outcome::Refused)
        m_book.warnings.append(QStringLiteral("sheet %1 of %2 has elements whose names are too long to be written over")
                                   .arg(state.sheet.name, m_book.path));
    if (outcome == Outcome::Stopped || outcome == Outcome::Refused || !m_source.refusal().isEmpty())
        return false;
    if (outcome == Outcome::Damaged) {
        m_book.sheetDamaged = true;
        m_book.warnings.append(QStringLiteral("sheet %1 of %2 is damaged: what can be read of it is kept")
                                   .arg(state.sheet.name, m_book.path));
    }
    m_formulaReplaced = m_formulaReplaced || writer.formulaReplaced();
    return output.flush() && m_zip.end();
}

/** @param old index of the part that is written over; negative for a new sheet */
XlsxSheetWriter::Outcome XlsxBookWriter::writeCells(XlsxBook::SheetState &state, int old, XlsxSheetWriter &writer)
{
    using Outcome = XlsxSheetWriter::Outcome;
    const QString space = m_book.package->mainNamespace();
    if (old < 0) {
        const bool isEmpty = state.cells.isEmpty();
        const QVector<int> widths = m_book.view.fitColumns && !isEmpty
            ? columnWidths(state.cells, m_book.formats, m_book.cancelled)
            : QVector<int>();
        return writer.writeNew(space, widths, isEmpty ? 0 : m_book.view.frozenRows);
    }
    if (const auto part = m_source.openPart(old))
        return writer.merge(*part, space);
    const Outcome outcome = writer.writeNew(space);
    return outcome == Outcome::Written ? Outcome::Damaged : outcome;
}

} // namespace QXlsx
