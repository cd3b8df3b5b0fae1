#include "ExcelOperator.h"

#include "Logging.h"

#include <QColor>

namespace
{

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

/** The head stays in sight, and columns can be read as they are. */
QXlsx::Document::SheetView sheetView()
{
    QXlsx::Document::SheetView view;
    view.frozenRows = 1;
    view.fitColumns = true;
    return view;
}

/** Saves and logs what there is to say; a file that is set aside takes one line, with both names and the reason. */
bool saveAndLog(QXlsx::Document &doc, const QString &path)
{
    const bool saved = doc.saveAs(path, QXlsx::Document::NoWorkbook::SetAside);
    if (!doc.savedAside().isEmpty())
        logToBoth(warn, "{} is kept as {}: {}", path, doc.savedAside(),
                  doc.refusal().isEmpty() ? QStringLiteral("a sheet of it is damaged") : doc.refusal());
    for (const QString &warning : doc.takeWarnings())
        logToBoth(warn, "{}", warning);
    for (const QString &problem : doc.takeErrors())
        logToBoth(error, "{}", problem);
    return saved;
}

} // namespace

ExcelOperator::ExcelOperator(QObject *parent)
    : QObject(parent)
    , m_titleFormat(titleFormat())
    , m_numberFormat(numberFormat())
{
    m_document.setSheetView(sheetView());
}

bool ExcelOperator::writeExcel(const QString &path)
{
    const QVector<ExportGroup> groups = m_groups.isEmpty() ? exportGroups() : m_groups;
    QXlsx::Document doc(path, [this] { return isCancelled(); });
    doc.takeWarnings(); // of a file that is no workbook; told when it is set aside
    doc.setSheetView(sheetView());
    for (const ExportGroup &group : groups) {
        if (!group.textOnly)
            writeSheet(doc, group);
        if (isCancelled())
            return false;
    }
    return saveAndLog(doc, path);
}

void ExcelOperator::writeSheet(QXlsx::Document &doc, const QString &sheetName, MyGraph **channels, int count)
{
    writeSheet(doc, exportGroup(sheetName, channels, count));
}

void ExcelOperator::writeSheet(QXlsx::Document &doc, const ExportGroup &group)
{
    doc.addSheet(group.name);
    if (!doc.selectSheet(group.name)) {
        // A chart that fills a sheet has no cells, and the sheet that is selected now is another's.
        logToBoth(error, "{} is left out: the sheet of that name holds no cells", group.name);
        return;
    }
    for (int i = 0; i < group.labels.size(); ++i)
        doc.write(1, i + 1, group.labels.at(i), m_titleFormat);
    const int rows = group.rows();
    const int columns = group.samples.size();
    for (int row = 0; row < rows && !isCancelled(); ++row) {
        for (int i = 0; i < columns; ++i) {
            const QVector<double> &series = group.samples.at(i);
            if (row < series.size())
                doc.write(row + 2, i + 1, series.at(row), m_numberFormat);
        }
    }
}

void ExcelOperator::writeTitleRow(int row, int count, const QList<QVariant> &cells)
{
    for (int i = 0; i < qMin(count, cells.size()); ++i)
        m_document.write(row, i + 1, cells.at(i).toString(), m_titleFormat);
}

void ExcelOperator::writeNumberRow(int row, int count, const QList<QVariant> &cells)
{
    for (int i = 0; i < qMin(count, cells.size()); ++i)
        m_document.write(row, i + 1, cells.at(i).toDouble(), m_numberFormat);
}

bool ExcelOperator::save(const QString &path)
{
    return saveAndLog(m_document, path);
}
