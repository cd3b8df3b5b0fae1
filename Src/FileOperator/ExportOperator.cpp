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
    // Whoever terminates the thread once it has reported must not catch it on its way out with a lock in its hand.
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
