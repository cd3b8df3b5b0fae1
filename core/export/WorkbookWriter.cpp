#include "WorkbookWriter.h"

namespace ostravel
{

namespace
{

/** Why nothing was saved. The lines name the path themselves. */
ExportError errorOf(const SavedWorkbook &saved)
{
    const QString reason = (saved.errors + saved.warnings).join(QStringLiteral("; "));
    return {ExportError::Code::CannotWrite, reason + QLatin1Char('.'), reason};
}

} // namespace

QXlsx::Format titleFormat()
{
    constexpr int kPoints = 12;
    QXlsx::Format format;
    format.setFontColor(Qt::black);
    format.setFontSize(kPoints);
    format.setBorderStyle(QXlsx::Format::BorderThin);
    format.setPatternBackgroundColor(Qt::lightGray);
    format.setFillPattern(QXlsx::Format::PatternSolid);
    format.setHorizontalAlignment(QXlsx::Format::AlignHCenter);
    return format;
}

QXlsx::Format numberFormat()
{
    QXlsx::Format format;
    format.setBorderStyle(QXlsx::Format::BorderThin);
    format.setHorizontalAlignment(QXlsx::Format::AlignHCenter);
    return format;
}

QXlsx::Document::SheetView sheetView()
{
    QXlsx::Document::SheetView view;
    view.frozenRows = 1;
    view.fitColumns = true;
    return view;
}

bool writeSheet(QXlsx::Document &document, const ExportGroup &group, const std::function<bool(int values)> &proceed)
{
    document.addSheet(group.name);
    // A chart that fills a sheet has no cells, and the selected sheet is another one.
    if (!document.selectSheet(group.name))
        return false;
    const QXlsx::Format title = titleFormat();
    for (int i = 0; i < group.labels.size(); ++i)
        document.write(1, i + 1, group.labels.at(i), title);
    const QXlsx::Format number = numberFormat();
    const int rows = group.rows();
    const int columns = group.samples.size();
    for (int row = 0; row < rows && proceed(columns); ++row) {
        for (int i = 0; i < columns; ++i) {
            const Series &series = group.samples.at(i);
            if (row < series.size())
                document.write(row + 2, i + 1, series.at(row), number);
        }
    }
    return true;
}

SavedWorkbook saveWorkbook(QXlsx::Document &document, const QString &path)
{
    SavedWorkbook result;
    result.saved = document.saveAs(path, QXlsx::Document::NoWorkbook::SetAside);
    if (!document.savedAside().isEmpty()) {
        const QString reason
            = document.refusal().isEmpty() ? QStringLiteral("a sheet of it is damaged") : document.refusal();
        result.warnings.append(path + QStringLiteral(" is kept as ") + document.savedAside() + QStringLiteral(": ")
                               + reason);
    }
    result.warnings += document.takeWarnings();
    result.errors = document.takeErrors();
    return result;
}

std::optional<ExportError> writeWorkbook(const Flight &flight, const QString &path, const ExportOptions &options)
{
    const QVector<ExportGroup> groups = exportGroups(flight);
    qint64 total = 0;
    for (const ExportGroup &group : groups)
        total += group.textOnly ? 0 : group.values();
    ExportProgress progress(options, total);
    if (!progress.ask())
        return exportCancelled(path);
    const auto warn = [&options](const QString &warning) {
        if (options.warn)
            options.warn(warning);
    };

    QXlsx::Document document(path, [&progress] { return !progress.ask(); });
    document.takeWarnings(); // about a file that is no workbook; saveWorkbook tells when it is renamed
    document.setSheetView(sheetView());
    for (const ExportGroup &group : groups) {
        if (group.textOnly)
            continue;
        if (!writeSheet(document, group, [&progress](int values) { return progress.advance(values); }))
            warn(group.name + QStringLiteral(" is left out: the sheet of that name holds no cells"));
        if (!progress.ask())
            return exportCancelled(path);
    }

    const SavedWorkbook saved = saveWorkbook(document, path);
    if (!saved.saved)
        return progress.ask() ? errorOf(saved) : exportCancelled(path);
    for (const QString &warning : saved.warnings + saved.errors)
        warn(warning);
    return std::nullopt;
}

} // namespace ostravel
