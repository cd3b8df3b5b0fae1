#pragma once

#include "ExportGroups.h"
#include "QXlsx.h"

#include <QList>
#include <QObject>
#include <QVariant>
#include <atomic>

/**
 * Writes workbooks: the channels of a flight as a whole (writeExcel), or single rows into a workbook of its own
 * (writeTitleRow, writeNumberRow, save). Rows and columns count from 1.
 *
 * For one thread at a time, which need not be the main thread.
 */
class ExcelOperator : public QObject
{
    Q_OBJECT

public:
    /** An empty workbook. */
    explicit ExcelOperator(QObject *parent);

    /** What writeExcel writes. When nobody sets it, the store as it is then; only the main thread may do that. */
    void setGroups(const QVector<ExportGroup> &groups) { m_groups = groups; }
    /** A flag that ends writeExcel early when another thread raises it; it must outlive the export. Null for none. */
    void setCancelFlag(const std::atomic<bool> *cancelled) { m_cancelled = cancelled; }

    /**
     * Writes every group but those of the text export to a sheet of its own. A workbook that stands at path is written
     * over cell by cell, and replaced only when the new one is complete. Any other file there is renamed, to its name
     * and ".old", and the log says so. New sheets have widths that fit, and row 1 stays in sight.
     *
     * @return false when it was cancelled or the workbook cannot be written; the old one is then as it was
     */
    bool writeExcel(const QString &path);

    /**
     * Writes channels as columns of a sheet, which is added when it is missing: the labels in row 1, below them the
     * samples of as many rows as the first channel has. Cells below the end of a shorter channel are not touched. When
     * the sheet of that name is one without cells, such as a chart, it stays as it is and the log says so.
     */
    void writeSheet(QXlsx::Document &doc, const QString &sheetName, MyGraph **channels, int count);

    /** Writes the texts of the first count cells, in the look of a title. */
    void writeTitleRow(int row, int count, const QList<QVariant> &cells);
    /** Writes the first count cells as numbers. */
    void writeNumberRow(int row, int count, const QList<QVariant> &cells);
    /**
     * Writes the rows as a workbook, which replaces one that stands there; any other file is renamed as by writeExcel.
     *
     * @return false when they cannot be written; an old file is then as it was
     */
    bool save(const QString &path);

private:
    void writeSheet(QXlsx::Document &doc, const ExportGroup &group);
    bool isCancelled() const { return m_cancelled != nullptr && m_cancelled->load(std::memory_order_relaxed); }

    QXlsx::Document m_document;
    QXlsx::Format m_titleFormat;
    QXlsx::Format m_numberFormat;
    QVector<ExportGroup> m_groups;
    const std::atomic<bool> *m_cancelled = nullptr;
};
