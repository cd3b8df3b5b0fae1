#pragma once

#include "ExportGroups.h"
#include "QXlsx.h"

#include <QList>
#include <QObject>
#include <QVariant>
#include <atomic>

/**
 * Writes workbooks: all channels of a flight (writeExcel), or single rows into a workbook that the operator owns
 * (writeTitleRow, writeNumberRow, save). Rows and columns count from 1.
 *
 * For one thread at a time; any thread.
 */
class ExcelOperator : public QObject
{
    Q_OBJECT

public:
    /** An empty workbook. */
    explicit ExcelOperator(QObject *parent);

    /** What writeExcel writes. Without groups it reads the store, which only the main thread may do. */
    void setGroups(const QVector<ExportGroup> &groups) { m_groups = groups; }
    /** A flag that cancels writeExcel when another thread sets it; it must outlive the export. Null for none. */
    void setCancelFlag(const std::atomic<bool> *cancelled) { m_cancelled = cancelled; }

    /**
     * Writes each group that is not for text only to a sheet. An existing workbook at path is written over cell by
     * cell, and replaced only when the new one is complete. Any other file there is renamed to its name and ".old",
     * with a log line. Columns of new sheets fit their content, and row 1 stays in sight.
     *
     * @return false when it was cancelled or the workbook cannot be written; an old one is then unchanged
     */
    bool writeExcel(const QString &path);

    /**
     * Writes channels as columns of a sheet, which is added when it is missing: the labels in row 1, the samples below,
     * as many as the first channel has. Cells below the end of a shorter channel are unchanged. A sheet of that name
     * that has no cells, such as a chart, is unchanged, with a log line.
     */
    void writeSheet(QXlsx::Document &doc, const QString &sheetName, MyGraph **channels, int count);

    /** Writes the texts of the first count cells in the title format. */
    void writeTitleRow(int row, int count, const QList<QVariant> &cells);
    /** Writes the first count cells as numbers in the number format. */
    void writeNumberRow(int row, int count, const QList<QVariant> &cells);
    /**
     * Saves the rows as a workbook, which replaces an existing one; any other file is renamed as by writeExcel.
     *
     * @return false when it cannot be written; an old file is then unchanged
     */
    bool save(const QString &path);

private:
    void writeSheet(QXlsx::Document &doc, const ExportGroup &group);
    bool isCancelled() const { return m_cancelled && m_cancelled->load(std::memory_order_relaxed); }

    QXlsx::Document m_document;
    QXlsx::Format m_titleFormat;
    QXlsx::Format m_numberFormat;
    QVector<ExportGroup> m_groups;
    const std::atomic<bool> *m_cancelled = nullptr;
};
