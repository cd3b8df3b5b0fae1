#include "XlsxColumnWidths.h"

#include "XlsxLimits.h"

#include <algorithm>
#include <cmath>

namespace QXlsx
{

namespace
{

constexpr int kRowsBetweenAsking = 1000;
constexpr int kStandardPoints = 11;
constexpr int kStandardDigit = 7; // pixels, in 11-point Calibri
constexpr int kMargin = 7; // pixels: the space that programs leave at both sides, and the borders
constexpr int kMinWidth = 9; // about the default width of a column
constexpr int kShownDigits = 11; // of a number without a number format
constexpr double kFirstLongNumber = 1e11;
constexpr int kLongestNumber = kShownDigits + 2; // point and sign

/** What the shown length of a column's numbers depends on. */
struct Numbers {
    double largest = 0;
    bool any = false;
    bool fraction = false; // a number has decimals, or more digits than are shown
    bool negative = false;
    bool error = false;

    void add(double number)
    {
        const double size = std::abs(number);
        any = true;
        negative = negative || number < 0;
        if (size < kFirstLongNumber) {
            fraction = fraction || static_cast<double>(static_cast<qint64>(size)) != size;
            largest = std::max(largest, size);
        } else if (std::isfinite(number)) {
            fraction = true;
        } else {
            error = true;
        }
    }

    int characters() const
    {
        int count = fraction ? kLongestNumber - 1 : 1;
        for (double rest = largest; !fraction && rest >= 10; rest /= 10)
            ++count;
        count += negative ? 1 : 0;
        return error ? std::max<int>(count, sizeof "#DIV/0!" - 1) : count;
    }
};

/** Width of the longest line of a text in characters; a Chinese character counts as two. */
int textColumns(const QString &text)
{
    constexpr ushort kFirstWide = 0x1100;
    int longest = 0;
    int count = 0;
    for (const QChar character : text) {
        if (character == QLatin1Char('\n'))
            count = 0;
        else // the two halves of a surrogate pair are one wide character
            count += character.unicode() >= kFirstWide && !character.isSurrogate() ? 2 : 1;
        longest = std::max(longest, count);
    }
    return longest;
}

int pointsOf(const Format &format)
{
    return format.fontSize() > 0 ? format.fontSize() : kStandardPoints;
}

} // namespace

QVector<int> columnWidths(const XlsxCells &cells, const QVector<Format> &formats,
                          const std::function<bool()> &cancelled)
{
    const int columns = cells.extent().lastColumn + 1;
    std::vector<Numbers> numbers(static_cast<std::size_t>(columns));
    std::vector<int> points(static_cast<std::size_t>(columns), 0); // font size of the numbers
    std::vector<int> pixels(static_cast<std::size_t>(columns), 0); // width of the texts
    QHash<quint32, int> known; // width by text: a text that many cells share is measured once
    int untilAsked = kRowsBetweenAsking;
    for (int row = cells.rowAfter(0); row != 0; row = cells.rowAfter(row)) {
        if (--untilAsked < 0 && cancelled) {
            if (cancelled())
                break;
            untilAsked = kRowsBetweenAsking;
        }
        cells.forRow(row, 1, columns, [&](int column, const XlsxCells::Cell &cell) {
            const auto place = static_cast<std::size_t>(column);
            if (cell.kind == XlsxCells::Kind::Number) {
                numbers[place].add(cell.number);
                points[place] = std::max(points[place], pointsOf(formats.at(static_cast<int>(cell.format))));
                return;
            }
            int size = 5; // TRUE, FALSE
            if (cell.kind == XlsxCells::Kind::Text) {
                auto found = known.find(cell.text);
                if (found == known.end())
                    found = known.insert(cell.text, textColumns(cells.text(cell.text)));
                size = *found;
            }
            // A point is 4/3 pixels. A Chinese character is as wide as the font size, another character at most half of
            // it.
            const int width = (size * pointsOf(formats.at(static_cast<int>(cell.format))) * 2 + 2) / 3;
            pixels[place] = std::max(pixels[place], width);
        });
    }

    QVector<int> widths(columns, 0);
    for (int column = 1; column < columns; ++column) {
        const auto place = static_cast<std::size_t>(column);
        int width = pixels[place];
        if (numbers[place].any)
            width = std::max(width, numbers[place].characters() * kStandardDigit * points[place] / kStandardPoints);
        if (width > 0)
            widths[column]
                = qBound(kMinWidth, (width + kMargin + kStandardDigit - 1) / kStandardDigit, kMaxColumnWidth);
    }
    return widths;
}

} // namespace QXlsx
