#include "ExcelOperator.h"

#include "Logging.h"
#include "WorkbookWriter.h"

namespace
{

/** Saves a workbook and logs what there is to say. */
bool saveAndLog(QXlsx::Document &doc, const QString &path)
{
    const ostravel::SavedWorkbook result = ostravel::saveWorkbook(doc, path);
    for (const QString &warning : result.warnings)
        logToBoth(warn, "{}", warning);
    for (const QString &problem : result.errors)
        logToBoth(error, "{}", problem);
    return result.saved;
}

} // namespace

ExcelOperator::ExcelOperator(QObject *parent)
    : QObject(parent)
    , m_titleFormat(ostravel::titleFormat())
    , m_numberFormat(ostravel::numberFormat())
{
    m_document.setSheetView(ostravel::sheetView());
}

bool ExcelOperator::writeExcel(const QString &path)
{
    const QVector<ExportGroup> groups = m_groups.isEmpty() ? exportGroups() : m_groups;
    QXlsx::Document doc(path, [this] { return isCancelled(); });
    doc.takeWarnings(); // about a file that is no workbook; saveAndLog tells when it is renamed
    doc.setSheetView(ostravel::sheetView());
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
    if (!ostravel::writeSheet(doc, group, [this](int) { return !isCancelled(); }))
        logToBoth(error, "{} is left out: the sheet of that name holds no cells", group.name);
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
