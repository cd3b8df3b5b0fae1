// Runs single operations of the program without its window: the tests of faults repeat them hundreds of times.
//
//   FaultsDriver OPERATION FILE
//
// Prints "ready", waits for a line on standard input, runs the operation and prints "done". Like the program, it uses
// config.ini and myPlot beside the executable, and the log in the working directory.

#include "AppConfig.h"
#include "ChannelStore.h"
#include "CurveMath.h"
#include "DataHandler.h"
#include "DecodeRoutes.h"
#include "ExportOperator.h"
#include "Logging.h"
#include "ModalAnswer.h"

#include <QApplication>
#include <QFileInfo>
#include <QTableWidget>
#include <cstdio>

namespace
{

constexpr int kWrongUse = 2;

void read(const QString &path)
{
    ModalAnswer answer;
    // The dialog of a database's tasks.
    answer.next([](QDialog *dialog) {
        constexpr int kTickColumn = 3;
        dialog->findChild<QTableWidget *>()->item(0, kTickColumn)->setCheckState(Qt::Checked);
        dialog->accept();
    });
    DataHandler().readDataSlot(path);
}

void exportAs(bool workbook, const QString &path)
{
    const QFileInfo log(path);
    ExportOperator operation;
    operation.setExcel(workbook);
    operation.setGroups(exportGroups());
    operation.setFilePath(log.absolutePath() + QLatin1Char('/') + log.baseName()
                          + (workbook ? QStringLiteral(".xlsx") : QStringLiteral("-export.txt")));
    operation.start();
    operation.wait();
}

void convertRoute(const QString &path)
{
    DecodeRoutes dialog(nullptr);
    dialog.setRouteFile(path);
    dialog.on_btn_writeExcel_clicked();
}

/** Prints the time that the read-out shows at each sample of the first channel, after its key. */
void printTimes()
{
    const int samples = attitudeGraphs[0]->yvalue().size();
    for (const double key : curvemath::timeKeys(samples, startDateTime.toSecsSinceEpoch(), sampleInterval))
        std::printf("%.3f %s\n", key, qPrintable(curvemath::dateTimeText(key)));
}

void waitForGo()
{
    std::puts("ready");
    std::fflush(stdout);
    for (int letter = std::getchar(); letter != EOF && letter != '\n'; letter = std::getchar()) { }
}

bool run(const QString &operation, const QString &path)
{
    const bool exports = operation == QLatin1String("text") || operation == QLatin1String("workbook");
    if (exports)
        read(path);
    waitForGo();
    if (exports)
        exportAs(operation == QLatin1String("workbook"), path);
    else if (operation == QLatin1String("read") || operation == QLatin1String("times"))
        read(path);
    else if (operation == QLatin1String("route"))
        convertRoute(path);
    else if (operation == QLatin1String("config"))
        AppConfig::getInstance().setTheme(path == QLatin1String("light") ? lightTheme : darkTheme);
    else
        return false;
    if (operation == QLatin1String("times"))
        printTimes();
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return kWrongUse;
    AppConfig::getInstance().init();
    const bool known = run(arguments.at(1), arguments.at(2));
    AppConfig::getInstance().shutdown();
    std::puts("done");
    return known ? 0 : kWrongUse;
}
