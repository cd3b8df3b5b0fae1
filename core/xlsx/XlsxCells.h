#pragma once

#include <QHash>
#include <QString>
#include <QVector>

#include <array>
#include <memory>
#include <vector>

namespace QXlsx
{

/**
 * The cells of one sheet, stored for each row as runs of adjacent cells of one kind and format.
 *
 * The values of a run are adjacent 8-byte slots of one store that never moves them, so a row written from left to right
 * takes 8 bytes for each cell and 24 bytes for each run. Equal texts are stored once.
 */
class XlsxCells
{
public:
    enum class Kind : quint8 { Blank, Number, Text, Bool };

    struct Cell {
        Kind kind = Kind::Blank;
        quint32 format = 0; // a number that the caller chose
        double number = 0; // value of a number or bool
        quint32 text = 0; // index of a text, for XlsxCells::text
    };

    /** Adds or replaces a cell; row and column count from 1, column is at most 65535. */
    void setNumber(int row, int column, double value, quint32 format) { set(row, column, Kind::Number, format, value); }
    void setBool(int row, int column, bool value, quint32 format) { set(row, column, Kind::Bool, format, value); }
    void setBlank(int row, int column, quint32 format) { set(row, column, Kind::Blank, format, 0); }
    void setText(int row, int column, const QString &text, quint32 format);

    bool isEmpty() const { return m_runs.empty(); }
    bool contains(int row, int column) const { return find(row, column) != kNone; }

    bool hasRow(int row) const
    {
        const Row *const head = rowAt(row);
        return head && head->first != kNone;
    }

    /** Reads a cell. @return false, with cell unchanged, when it does not exist */
    bool cell(int row, int column, Cell &cell) const;

    const QString &text(quint32 index) const { return m_texts.at(static_cast<int>(index)); }

    /** The first row after row that has cells; 0 when there is none. */
    int rowAfter(int row) const;

    /** First and last row and column with cells; all 0 in an empty sheet. */
    struct Extent {
        int firstRow = 0;
        int lastRow = 0;
        int firstColumn = 0;
        int lastColumn = 0;
    };
    Extent extent() const { return m_extent; }

    /** Calls visit(column, cell) for each cell of a row with column in [from, to), from left to right. */
    template <typename Visit>
    void forRow(int row, int from, int to, Visit visit) const
    {
        const Row *const head = rowAt(row);
        for (quint32 index = head ? head->first : kNone; index != kNone; index = m_runs[index].next) {
            const Run &run = m_runs[index];
            if (run.column >= to)
                break;
            for (int i = qMax(0, from - run.column); i < run.count && run.column + i < to; ++i)
                visit(run.column + i, cellOf(run, i));
        }
    }

    /** Number of slots in use: at least the number of cells. */
    quint64 cellCount() const { return m_slotCount; }

    /** Memory of the cells in bytes, without texts. For the test that limits it. */
    std::size_t bytes() const;

private:
    static constexpr quint32 kNone = 0xffffffff;
    static constexpr quint32 kSlotBits = 13; // 64 KiB for each block
    static constexpr quint32 kPageBits = 9;

    struct Run {
        quint32 next;
        quint32 slot;
        quint16 column;
        quint16 count;
        quint32 format : 24;
        quint32 kind : 8;
    };
    struct Row {
        quint32 first = kNone;
        quint32 last = kNone;
    };
    using Page = std::array<Row, 1U << kPageBits>;

    void set(int row, int column, Kind kind, quint32 format, double value);
    quint32 appendSlot(double value);
    quint32 appendRun(int column, Kind kind, quint32 format, double value);
    quint32 splitOff(quint32 index, int column);
    double &slot(quint32 index) { return m_slots[index >> kSlotBits][index & ((1U << kSlotBits) - 1)]; }
    double slot(quint32 index) const { return m_slots[index >> kSlotBits][index & ((1U << kSlotBits) - 1)]; }
    const Row *rowAt(int row) const;
    Row &makeRow(int row);
    quint32 find(int row, int column) const;
    Cell cellOf(const Run &run, int offset) const;

    std::vector<std::unique_ptr<double[]>> m_slots;
    quint32 m_slotCount = 0;
    std::vector<Run> m_runs;
    std::vector<std::unique_ptr<Page>> m_pages;
    Extent m_extent;
    QVector<QString> m_texts;
    QHash<QString, quint32> m_textIndex;
};

} // namespace QXlsx
