#include "XlsxCells.h"

#include <algorithm>

namespace QXlsx
{

void XlsxCells::setText(int row, int column, const QString &text, quint32 format)
{
    auto found = m_textIndex.find(text);
    if (found == m_textIndex.end()) {
        found = m_textIndex.insert(text, static_cast<quint32>(m_texts.size()));
        m_texts.append(text);
    }
    set(row, column, Kind::Text, format, *found);
}

bool XlsxCells::cell(int row, int column, Cell &cell) const
{
    const quint32 index = find(row, column);
    if (index == kNone)
        return false;
    cell = cellOf(m_runs[index], column - m_runs[index].column);
    return true;
}

int XlsxCells::rowAfter(int row) const
{
    for (std::size_t next = static_cast<std::size_t>(std::max(row, 0)) + 1; (next >> kPageBits) < m_pages.size();) {
        const std::size_t number = next >> kPageBits;
        if (const Page *const page = m_pages[number].get()) {
            for (; next >> kPageBits == number; ++next)
                if ((*page)[next & (page->size() - 1)].first != kNone)
                    return static_cast<int>(next);
        } else {
            next = (number + 1) << kPageBits;
        }
    }
    return 0;
}

std::size_t XlsxCells::bytes() const
{
    std::size_t pages = 0;
    for (const std::unique_ptr<Page> &page : m_pages)
        pages += page ? sizeof(Page) : 0;
    return (m_slots.size() << kSlotBits) * sizeof(double) + m_runs.capacity() * sizeof(Run) + pages;
}

void XlsxCells::set(int row, int column, Kind kind, quint32 format, double value)
{
    Row &head = makeRow(row);
    if (m_extent.firstRow == 0) {
        m_extent = {row, row, column, column};
    } else {
        m_extent = {std::min(m_extent.firstRow, row), std::max(m_extent.lastRow, row),
                    std::min(m_extent.firstColumn, column), std::max(m_extent.lastColumn, column)};
    }

    if (head.last == kNone) {
        head.first = head.last = appendRun(column, kind, format, value);
        return;
    }
    Run &last = m_runs[head.last];
    if (column >= last.column + last.count) {
        const bool joins = column == last.column + last.count && last.format == format
            && last.kind == static_cast<quint8>(kind) && last.slot + last.count == m_slotCount;
        if (joins) {
            appendSlot(value);
            ++last.count;
            return;
        }
        const quint32 run = appendRun(column, kind, format, value);
        m_runs[head.last].next = run;
        head.last = run;
        return;
    }

    quint32 before = kNone;
    quint32 index = head.first;
    while (index != kNone && m_runs[index].column + m_runs[index].count <= column) {
        before = index;
        index = m_runs[index].next;
    }
    if (m_runs[index].column > column) {
        const quint32 run = appendRun(column, kind, format, value);
        m_runs[run].next = index;
        (before == kNone ? head.first : m_runs[before].next) = run;
        return;
    }
    if (m_runs[index].format != format || m_runs[index].kind != static_cast<quint8>(kind)) {
        // Split the run so that the cell is a run of its own; its neighbours keep their slots.
        const auto cut = [this, &head](quint32 run, int at) {
            const quint32 rest = splitOff(run, at);
            if (head.last == run)
                head.last = rest;
            return rest;
        };
        if (m_runs[index].column < column)
            index = cut(index, column);
        if (m_runs[index].count > 1)
            cut(index, column + 1);
        m_runs[index].format = format & 0xffffff;
        m_runs[index].kind = static_cast<quint8>(kind);
    }
    const Run &run = m_runs[index];
    slot(run.slot + static_cast<quint32>(column - run.column)) = value;
}

quint32 XlsxCells::appendSlot(double value)
{
    const std::size_t block = m_slotCount >> kSlotBits;
    if (block == m_slots.size())
        m_slots.emplace_back(new double[1U << kSlotBits]); // not initialised: every slot is written before it is read
    slot(m_slotCount) = value;
    return m_slotCount++;
}

quint32 XlsxCells::appendRun(int column, Kind kind, quint32 format, double value)
{
    Run run{};
    run.next = kNone;
    run.slot = appendSlot(value);
    run.column = static_cast<quint16>(column);
    run.count = 1;
    run.format = format & 0xffffff;
    run.kind = static_cast<quint8>(kind);
    m_runs.push_back(run);
    return static_cast<quint32>(m_runs.size() - 1);
}

/** Splits a run before a column inside it. @return the right half, which follows the left one */
quint32 XlsxCells::splitOff(quint32 index, int column)
{
    Run right = m_runs[index];
    const auto kept = static_cast<quint16>(column - right.column);
    right.slot += kept;
    right.column = static_cast<quint16>(column);
    right.count = static_cast<quint16>(right.count - kept);
    m_runs.push_back(right);
    m_runs[index].count = kept;
    m_runs[index].next = static_cast<quint32>(m_runs.size() - 1);
    return m_runs[index].next;
}

const XlsxCells::Row *XlsxCells::rowAt(int row) const
{
    const std::size_t page = static_cast<std::size_t>(row) >> kPageBits;
    if (row < 0 || page >= m_pages.size() || !m_pages[page])
        return nullptr;
    return &(*m_pages[page])[static_cast<std::size_t>(row) & ((1U << kPageBits) - 1)];
}

XlsxCells::Row &XlsxCells::makeRow(int row)
{
    const std::size_t page = static_cast<std::size_t>(row) >> kPageBits;
    if (page >= m_pages.size())
        m_pages.resize(page + 1);
    if (!m_pages[page])
        m_pages[page] = std::make_unique<Page>();
    return (*m_pages[page])[static_cast<std::size_t>(row) & ((1U << kPageBits) - 1)];
}

quint32 XlsxCells::find(int row, int column) const
{
    const Row *const head = rowAt(row);
    if (!head || head->last == kNone || column >= m_runs[head->last].column + m_runs[head->last].count)
        return kNone;
    quint32 index = head->first;
    while (index != kNone && m_runs[index].column + m_runs[index].count <= column)
        index = m_runs[index].next;
    return index != kNone && m_runs[index].column <= column ? index : kNone;
}

XlsxCells::Cell XlsxCells::cellOf(const Run &run, int offset) const
{
    Cell cell;
    cell.kind = static_cast<Kind>(static_cast<quint8>(run.kind));
    cell.format = run.format;
    const double value = slot(run.slot + static_cast<quint32>(offset));
    if (cell.kind == Kind::Text)
        cell.text = static_cast<quint32>(value);
    else
        cell.number = value;
    return cell;
}

} // namespace QXlsx
