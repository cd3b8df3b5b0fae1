#include "ExportOperator.h"
#include "ExportRun.h"
#include "Fixture.h"
#include "ModalAnswer.h"

#include <QMessageBox>
#include <QTest>
#include <QWidget>

#include <memory>

class TestExportRun : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<Fixture>();
        m_window = std::make_unique<QWidget>();
        m_answer = std::make_unique<ModalAnswer>();
        m_run = std::make_unique<ExportRun>(m_window.get());
    }
    void cleanup()
    {
        m_run.reset();
        m_answer.reset();
        m_window.reset();
        m_fixture.reset();
    }

    void formatSetsTargetAndMessage_data();
    void formatSetsTargetAndMessage();
    void withoutDataAMessageIsShownAndNothingRuns();
    void endSignalAfterDeletionShowsNothing();

private:
    std::unique_ptr<Fixture> m_fixture;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<ModalAnswer> m_answer;
    std::unique_ptr<ExportRun> m_run;
};

void TestExportRun::formatSetsTargetAndMessage_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("text");
    QTest::newRow("workbook") << int(ExportRun::Workbook) << "a.xlsx"
                              << "Excel导出完成！";
    QTest::newRow("text") << int(ExportRun::Text) << "a-export.txt"
                          << "Txt导出完成！";
}

void TestExportRun::formatSetsTargetAndMessage()
{
    QFETCH(int, format);
    QFETCH(QString, target);
    QFETCH(QString, text);
    dataRead = true;
    QString message;
    bool runsDuringTheMessage = false;
    m_answer->next([&](QDialog *dialog) {
        QCOMPARE(dialog->parentWidget(), m_window.get());
        message = qobject_cast<QMessageBox *>(dialog)->text();
        runsDuringTheMessage = m_run->exportThread() != nullptr;
    });
    m_run->start(ExportRun::Format(format), m_fixture->path(QStringLiteral("a.b.txt")));
    QVERIFY(m_run->exportThread());
    QCOMPARE(m_run->exportThread()->filePath(), m_fixture->path(target));
    QCOMPARE(m_run->exportThread()->isExcel(), format == ExportRun::Workbook);
    QTRY_VERIFY(!m_run->exportThread());
    QCOMPARE(message, text);
    QVERIFY(runsDuringTheMessage);
}

void TestExportRun::withoutDataAMessageIsShownAndNothingRuns()
{
    QString message;
    m_answer->next([&](QDialog *dialog) { message = qobject_cast<QMessageBox *>(dialog)->text(); });
    m_run->start(ExportRun::Text, m_fixture->path(QStringLiteral("a.txt")));
    QCOMPARE(message, QStringLiteral("还未读取数据"));
    QVERIFY(!m_run->exportThread());
    QVERIFY(!QFile::exists(m_fixture->path(QStringLiteral("a-export"))));
}

void TestExportRun::endSignalAfterDeletionShowsNothing()
{
    dataRead = true;
    m_run->start(ExportRun::Text, m_fixture->path(QStringLiteral("a.txt")));
    // The thread is finished; its signal is still in the event queue.
    QVERIFY(m_run->exportThread()->wait(60000));
    m_run.reset();
    QCoreApplication::processEvents();
    QVERIFY2(m_answer->allAnswered(), qPrintable(m_answer->unexpected().join(QLatin1Char(' '))));
}

QTEST_MAIN(TestExportRun)
#include "TestExportRun.moc"
