#include "ExportOperator.h"

#include "ExcelOperator.h"
#include "TxtOperator.h"

ExportOperator::~ExportOperator()
{
    cancel();
    wait();
    m_handOver.take();
}

void ExportOperator::run()
{
    // The main window terminates the thread after its signal: that must not kill it while it holds a lock.
    setTerminationEnabled(false);
    if (m_isExcel) {
        ExcelOperator excelOperator(nullptr);
        excelOperator.setGroups(m_groups);
        excelOperator.setCancelFlag(&m_cancelled);
        excelOperator.writeExcel(m_filePath);
    } else {
        TxtOperator txtOperator;
        txtOperator.setGroups(m_groups);
        txtOperator.setCancelFlag(&m_cancelled);
        txtOperator.writeTxtSlot(m_filePath);
    }
    emit writeExcelFinished();
    m_handOver.give();
}
