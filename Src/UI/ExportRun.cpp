#include "ExportRun.h"

#include "ChannelStore.h"
#include "ExportGroups.h"
#include "ExportOperator.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMessageBox>

namespace
{

void inform(QWidget *window, const QString &text)
{
    QMessageBox::information(window, QStringLiteral("info"), text, QMessageBox::Ok);
}

} // namespace

ExportRun::ExportRun(QWidget *window)
    : m_window(window)
{
}

ExportRun::~ExportRun()
{
    delete m_exportThread;
}

void ExportRun::start(Format format, const QString &logPath)
{
    if (!dataRead) {
        // The texts are in the catalogue's MainWindow context.
        inform(m_window, QCoreApplication::translate("MainWindow", "The data has not been read"));
        return;
    }
    if (m_exportThread)
        return;
    m_exportThread = new ExportOperator; // no parent: deleted in finish() or by the destructor
    m_exportThread->setExcel(format == Workbook);
    m_exportThread->setGroups(exportGroups());
    connect(m_exportThread, &ExportOperator::writeExcelFinished, this, [this, format] { finish(format); });
    const QFileInfo source(logPath);
    const QString pattern = format == Workbook ? QStringLiteral("%1/%2.xlsx") : QStringLiteral("%1/%2-export.txt");
    m_exportThread->setFilePath(pattern.arg(source.absolutePath(), source.baseName()));
    m_exportThread->start(QThread::InheritPriority);
}

void ExportRun::finish(Format format)
{
    inform(m_window,
           format == Workbook ? QCoreApplication::translate("MainWindow", "Excel export finished!")
                              : QCoreApplication::translate("MainWindow", "Txt export finished!"));
    m_exportThread->terminate();
    delete m_exportThread; // waits for the thread
    m_exportThread = nullptr;
}
