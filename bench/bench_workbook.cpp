// The workbook of a two-hour flight, compared with libxlsxwriter in constant-memory mode with the same cells and
// formats.

#include "Bench.h"
#include "QXlsx.h"

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <random>
#include <vector>
#include <xlsxwriter.h>

namespace
{

constexpr double kTarget = 0.7;
constexpr double kMemoryLimit = 64; // MiB
constexpr int kRows = 36000; // 5 frames a second for two hours

struct Sheet {
    const char *name;
    int columns;
    std::vector<std::vector<double>> values; // by column
};

/** Sheets like those of the export. Channels are random walks of integers times a scale, similar to recorded data. */
std::vector<Sheet> flight()
{
    std::vector<Sheet> sheets{
        {"0x01-HeartBeat", 5, {}},    {"0x02-ControlSystemStatus", 37, {}}, {"0x03-AttitudeAndPositionInfo", 18, {}},
        {"0x04-SensorValue", 34, {}}, {"0x05-FlightTargetValue", 13, {}},   {"0x41-PayloadInfo", 14, {}},
        {"0x51-Difference", 5, {}},   {"0x53-EquipmentStatus", 16, {}}};
    constexpr std::array kScales{1.0, 0.1, 0.01, 0.001, 1e-7, 1.0};
    constexpr std::array kSteps{1, 5, 20, 100, 2000, 0};
    std::mt19937 random(20);
    std::size_t kind = 0;
    for (Sheet &sheet : sheets)
        for (int column = 0; column < sheet.columns; ++column, kind = (kind + 1) % kScales.size()) {
            std::uniform_int_distribution<int> step(-kSteps[kind], kSteps[kind]);
            std::vector<double> values;
            values.reserve(kRows);
            int raw = kind == 4 ? 1139137800 : 1000;
            for (int row = 0; row < kRows; ++row, raw += step(random))
                values.push_back(raw * kScales[kind]);
            sheet.values.push_back(std::move(values));
        }
    return sheets;
}

void writeOurs(const std::vector<Sheet> &sheets, const QString &path)
{
    using QXlsx::Format;
    Format title;
    title.setFontColor(Qt::black);
    title.setFontSize(12);
    title.setBorderStyle(Format::BorderThin);
    title.setPatternBackgroundColor(Qt::lightGray);
    title.setFillPattern(Format::PatternSolid);
    title.setHorizontalAlignment(Format::AlignHCenter);
    Format number;
    number.setBorderStyle(Format::BorderThin);
    number.setHorizontalAlignment(Format::AlignHCenter);

    QXlsx::Document document;
    // libxlsxwriter cannot fit columns by itself; the caller has to compute the widths.
    QXlsx::Document::SheetView view;
    view.frozenRows = 1;
    view.fitColumns = true;
    document.setSheetView(view);
    for (const Sheet &sheet : sheets) {
        document.addSheet(QString::fromLatin1(sheet.name));
        for (int column = 0; column < sheet.columns; ++column)
            document.write(1, column + 1, QStringLiteral("通道%1").arg(column), title);
        for (int row = 0; row < kRows; ++row)
            for (int column = 0; column < sheet.columns; ++column)
                document.write(row + 2, column + 1,
                               sheet.values[static_cast<std::size_t>(column)][static_cast<std::size_t>(row)], number);
    }
    if (!document.saveAs(path))
        std::exit(1);
}

void writeTheirs(const std::vector<Sheet> &sheets, const QByteArray &path)
{
    lxw_workbook_options options{};
    options.constant_memory = 1;
    lxw_workbook *const workbook = workbook_new_opt(path.constData(), &options);
    lxw_format *const title = workbook_add_format(workbook);
    format_set_font_color(title, LXW_COLOR_BLACK);
    format_set_font_size(title, 12);
    format_set_border(title, LXW_BORDER_THIN);
    format_set_bg_color(title, 0xc0c0c0);
    format_set_pattern(title, LXW_PATTERN_SOLID);
    format_set_align(title, LXW_ALIGN_CENTER);
    lxw_format *const number = workbook_add_format(workbook);
    format_set_border(number, LXW_BORDER_THIN);
    format_set_align(number, LXW_ALIGN_CENTER);
    for (const Sheet &sheet : sheets) {
        lxw_worksheet *const worksheet = workbook_add_worksheet(workbook, sheet.name);
        for (int column = 0; column < sheet.columns; ++column)
            worksheet_write_string(worksheet, 0, static_cast<lxw_col_t>(column),
                                   QStringLiteral("通道%1").arg(column).toUtf8().constData(), title);
        for (int row = 0; row < kRows; ++row)
            for (int column = 0; column < sheet.columns; ++column)
                worksheet_write_number(worksheet, static_cast<lxw_row_t>(row + 1), static_cast<lxw_col_t>(column),
                                       sheet.values[static_cast<std::size_t>(column)][static_cast<std::size_t>(row)],
                                       number);
    }
    if (workbook_close(workbook) != LXW_NO_ERROR)
        std::exit(1);
}

/** A field of /proc/self/status in MiB. */
double statusMiB(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly))
        for (const QByteArray &line : status.readAll().split('\n'))
            if (line.startsWith(field))
                return line.simplified().split(' ').at(1).toDouble() / 1024;
    return 0;
}

/** Peak memory of some work above the memory in use before it. */
template <typename Work>
double peakMiB(Work work)
{
    QFile reset(QStringLiteral("/proc/self/clear_refs"));
    if (reset.open(QIODevice::WriteOnly))
        reset.write("5");
    reset.close();
    const double before = statusMiB("VmRSS:");
    work();
    return statusMiB("VmHWM:") - before;
}

} // namespace

int main()
{
    const QTemporaryDir folder;
    const QString ours = folder.filePath(QStringLiteral("ours.xlsx"));
    const QByteArray theirs = QFile::encodeName(folder.filePath(QStringLiteral("theirs.xlsx")));
    const std::vector<Sheet> sheets = flight();

    const double memory = peakMiB([&] { writeOurs(sheets, ours); });
    const bench::Figures time
        = bench::bestOfSeven([&] { writeTheirs(sheets, theirs); }, [&] { writeOurs(sheets, ours); });
    bench::printRow("workbook of a 2-hour flight", time, kTarget);
    bench::printLimit("workbook of a 2-hour flight, memory", memory, kMemoryLimit, "MiB");
    std::printf("size of the file: libxlsxwriter %lld, ours %lld bytes\n",
                static_cast<long long>(QFile(QFile::decodeName(theirs)).size()),
                static_cast<long long>(QFile(ours).size()));
    return 0;
}
