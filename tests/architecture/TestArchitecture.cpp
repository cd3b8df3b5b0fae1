#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

namespace
{

// A file may include files of its own floor and of floors below.
enum Floor { Ground = 1, Tables, Store, Frame, TextFiles, Read, Export, Plot, Tool, Window, Process };

enum Kind {
    Plain,
    Dialog, // knows no other dialog
    Workbook, // part of the small workbook library, which knows nothing of ours
};

struct Unit {
    const char *stem; // path of header and source under Src, without the suffix
    Floor floor;
    Kind kind = Plain;
};

// A new file fails the test until it stands here.
const Unit kUnits[] = {
    {"App/Logging", Ground},
    {"App/MyThemes", Ground},
    {"App/BuildDate", Ground},
    {"App/Release", Ground},
    {"App/ThreadHandOver", Ground},
    {"Tools/Geodesy", Ground},
    {"FileOperator/RegularFile", Ground},
    {"FileOperator/QXlsx", Ground, Workbook},
    {"FileOperator/XlsxBook", Ground, Workbook},
    {"FileOperator/XlsxCells", Ground, Workbook},
    {"FileOperator/XlsxColumnWidths", Ground, Workbook},
    {"FileOperator/XlsxFormat", Ground, Workbook},
    {"FileOperator/XlsxOutput", Ground, Workbook},
    {"FileOperator/XlsxPackage", Ground, Workbook},
    {"FileOperator/XlsxSheetReader", Ground, Workbook},
    {"FileOperator/XlsxSheetWriter", Ground, Workbook},
    {"FileOperator/XlsxStyles", Ground, Workbook},
    {"FileOperator/XlsxTarget", Ground, Workbook},
    {"FileOperator/XlsxText", Ground, Workbook},
    {"FileOperator/XlsxXmlGuard", Ground, Workbook},
    {"FileOperator/XlsxXmlReader", Ground, Workbook},
    {"FileOperator/XlsxXmlWriter", Ground, Workbook},
    {"FileOperator/XlsxZipReader", Ground, Workbook},
    {"FileOperator/XlsxZipWriter", Ground, Workbook},
    {"Data/FrameTable", Tables},
    {"Data/QDataPacket", Tables},
    {"Data/ChannelStore", Store},
    {"Data/MyGraph", Store},
    {"App/AppConfig", Frame},
    {"App/AppEvent", Frame},
    {"App/ScreenFit", Frame},
    {"FileOperator/ExportGroups", TextFiles},
    {"FileOperator/LineReader", TextFiles},
    {"FileOperator/NumberText", TextFiles},
    {"FileOperator/TxtOperator", TextFiles},
    {"Data/DataHandler", Read},
    {"Data/DataListDia", Read},
    {"Data/FlightDatabase", Read},
    {"Data/HexText", Read},
    {"Data/LogText", Read},
    {"Data/PostProcess", Read},
    {"FileOperator/ExcelOperator", Export},
    {"FileOperator/ExportOperator", Export},
    {"Plot/AlignedMargins", Plot},
    {"Plot/CanvasKeys", Plot},
    {"Plot/CanvasLook", Plot},
    {"Plot/CanvasSelection", Plot},
    {"Plot/CanvasTracer", Plot},
    {"Plot/CurveMath", Plot},
    {"Plot/MyCustomPlot", Plot},
    {"Plot/ReadOutText", Plot},
    {"Plot/TimeTicker", Plot},
    {"Plot/ValueTicker", Plot},
    {"Plot/ViewHistory", Plot},
    {"Plot/ZoomRectangle", Plot},
    {"UI/AboutDialog", Tool, Dialog},
    {"UI/ColorButtonStyle", Tool},
    {"UI/TrackNote", Tool},
    {"UI/SwitchButton", Tool},
    {"UI/GlobalSettingDialog", Tool, Dialog},
    {"UI/SettingDialog", Tool, Dialog},
    {"UI/SettingDialog_2", Tool, Dialog},
    {"UI/WindowSettingDialog", Tool, Dialog},
    {"Tools/CommonModule", Tool, Dialog},
    {"Tools/DecodeRoutes", Tool, Dialog},
    {"Map/WkeApi", Tool},
    {"Map/WkeLibrary", Tool},
    {"Map/WkeLibrary_unix", Tool},
    {"Map/WkeLibrary_win", Tool},
    {"Map/WkeStandIn", Tool},
    {"Map/WkeWebEngine", Tool},
    {"Map/WebWidget", Tool},
    {"Map/MapWidget", Tool, Dialog},
    {"PythonPlot/FigureArea", Tool},
    {"PythonPlot/PlotShell", Tool},
    {"PythonPlot/PlotShell_unix", Tool},
    {"PythonPlot/PlotShell_win", Tool},
    {"PythonPlot/PythonPlot", Tool},
    {"PythonPlot/PyPlotDialog", Tool, Dialog},
    {"MatlabPlot/MatlabLibrary", Tool},
    {"MatlabPlot/MatlabLibrary_octave", Tool},
    {"MatlabPlot/MatlabLibrary_runtime", Tool},
    {"MatlabPlot/OctaveProcess", Tool},
    {"MatlabPlot/MatlabPlot", Tool},
    {"MatlabPlot/MPlotDialog", Tool, Dialog},
    {"UI/CanvasMenu", Window},
    {"UI/CanvasPair", Window},
    {"UI/CanvasPicture", Window},
    {"UI/CanvasTexts", Window},
    {"UI/ChannelBoxes", Window},
    {"UI/ExportRun", Window},
    {"UI/MainWindow", Window},
    {"UI/ReadProgress", Window},
    {"UI/ReadReport", Window},
    {"UI/Updater", Window},
    {"UI/WindowLook", Window},
    {"App/main", Process},
};

// What may ask which platform it is compiled for.
const QSet<QString> kSeamFiles{"MatlabPlot/MatlabLibrary_runtime.cpp"};

const Unit *unitOf(const QString &stem)
{
    for (const Unit &unit : kUnits) {
        if (stem == QLatin1String(unit.stem))
            return &unit;
    }
    return nullptr;
}

QString stemOf(const QString &path)
{
    return path.left(path.lastIndexOf('.'));
}

/** Everything wrong with a file, given its path under Src and what stands in it. */
QStringList faultsOf(const QString &path, const QString &source)
{
    const Unit *unit = unitOf(stemOf(path));
    if (!unit)
        return {path + " has no place on a floor"};

    QMap<QString, const Unit *> byName;
    for (const Unit &other : kUnits)
        byName[QFileInfo(QLatin1String(other.stem)).fileName()] = &other;

    QStringList faults;
    static const QRegularExpression include(R"(^\s*#\s*include\s*"([^"]+)\")", QRegularExpression::MultilineOption);
    for (auto match = include.globalMatch(source); match.hasNext();) {
        const QString included = match.next().captured(1);
        QString name = QFileInfo(stemOf(included)).fileName();
        // Made from a form or by moc: belongs to the unit of its name alone.
        const bool generated = name.startsWith("ui_") || included.endsWith(".moc");
        if (name.startsWith("ui_"))
            name.remove(0, 3);
        const Unit *other = byName.value(name);
        const QString arrow = path + " includes " + included;
        if (!other)
            faults << arrow + ", which has no place on a floor";
        else if (generated && other != unit)
            faults << arrow + ", which is another's";
        else if (other->floor > unit->floor)
            faults << arrow + " from a floor above";
        else if (other != unit && unit->kind == Dialog && other->kind == Dialog)
            faults << arrow + ", and no dialog knows another";
        else if (unit->kind == Workbook && other->kind != Workbook)
            faults << arrow + ", and the workbook library knows nothing of ours";
    }

    static const QRegularExpression condition(R"(^\s*#\s*(?:if|ifdef|ifndef|elif)\b(.*)$)",
                                              QRegularExpression::MultilineOption);
    static const QRegularExpression platform(
        R"(Q_OS_|Q_CC_|WIN32|WIN64|_MSC_VER|__MINGW|__linux|__APPLE__|__unix|__GNUC__|__clang__)");
    for (auto match = condition.globalMatch(source); match.hasNext();) {
        const QString text = match.next().captured(1);
        if (platform.match(text).hasMatch() && !kSeamFiles.contains(path))
            faults << path + " asks for the platform:" + text;
    }
    return faults;
}

} // namespace

/** Holds the sources against the floors of the program, so that an arrow that runs upward fails. */
class TestArchitecture : public QObject
{
    Q_OBJECT

private slots:
    void everyFileKeepsToItsFloor();
    void everyUnitOfTheListExists();
    void namesAreUnique();
    void faultsAreFound_data();
    void faultsAreFound();
};

void TestArchitecture::everyFileKeepsToItsFloor()
{
    const QDir src(QStringLiteral(OSTRAVEL_SRC_DIR));
    QVERIFY(src.exists());
    QStringList faults;
    int files = 0;
    QDirIterator iterator(src.path(), {"*.h", "*.cpp", "*.hpp", "*.c", "*.cc", "*.inl"}, QDir::Files,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        QFile file(iterator.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        faults << faultsOf(src.relativeFilePath(file.fileName()), QString::fromUtf8(file.readAll()));
        ++files;
    }
    faults.sort();
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join('\n')));
    QVERIFY(files > 40);
}

void TestArchitecture::everyUnitOfTheListExists()
{
    const QDir src(QStringLiteral(OSTRAVEL_SRC_DIR));
    for (const Unit &unit : kUnits) {
        const QString stem = QLatin1String(unit.stem);
        QVERIFY2(src.exists(stem + ".h") || src.exists(stem + ".cpp"), unit.stem);
    }
}

void TestArchitecture::namesAreUnique()
{
    // An include gives the file's name alone, so two of one name would be mistaken for each other.
    QSet<QString> names;
    for (const Unit &unit : kUnits) {
        const QString name = QFileInfo(QLatin1String(unit.stem)).fileName();
        QVERIFY2(!names.contains(name), qPrintable(name));
        names.insert(name);
    }
}

void TestArchitecture::faultsAreFound_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("count");
    QTest::newRow("downward") << "Data/DataHandler.cpp"
                              << "#include \"AppConfig.h\"\n#include <QDir>\n"
                              << 0;
    QTest::newRow("own floor") << "Data/DataHandler.cpp"
                               << "#include \"DataListDia.h\"\n"
                               << 0;
    QTest::newRow("own form") << "UI/SettingDialog.cpp"
                              << "#include \"ui_SettingDialog.h\"\n"
                              << 0;
    QTest::newRow("upward") << "Data/MyGraph.cpp"
                            << "#include \"MyGraph.h\"\n#include \"DataHandler.h\"\n"
                            << 1;
    QTest::newRow("upward with a folder") << "Data/MyGraph.h"
                                          << "  #  include \"../UI/MainWindow.h\"\n"
                                          << 1;
    QTest::newRow("dialog to dialog") << "UI/SettingDialog.cpp"
                                      << "#include \"SettingDialog_2.h\"\n"
                                      << 1;
    QTest::newRow("dialog to window") << "UI/SettingDialog.cpp"
                                      << "#include \"MainWindow.h\"\n"
                                      << 1;
    QTest::newRow("form of another") << "UI/MainWindow.cpp"
                                     << "#include \"ui_SettingDialog.h\"\n"
                                     << 1;
    QTest::newRow("workbook to ours") << "FileOperator/QXlsx.cpp"
                                      << "#include \"Geodesy.h\"\n"
                                      << 1;
    QTest::newRow("workbook to the log") << "FileOperator/QXlsx.cpp"
                                         << "#include \"XlsxText.h\"\n#include \"Logging.h\"\n"
                                         << 1;
    QTest::newRow("unplaced file") << "UI/Surprise.cpp"
                                   << "" << 1;
    QTest::newRow("unplaced include") << "UI/MainWindow.cpp"
                                      << "#include \"Surprise.h\"\n"
                                      << 1;
    QTest::newRow("platform") << "UI/MainWindow.cpp"
                              << "#ifdef Q_OS_WIN\n#endif\n#if defined(_WIN32)\n#endif\n"
                              << 2;
    QTest::newRow("no platform") << "UI/MainWindow.cpp"
                                 << "#if QT_VERSION >= 0x050f00\n#endif\n"
                                 << 0;
}

void TestArchitecture::faultsAreFound()
{
    QFETCH(QString, path);
    QFETCH(QString, source);
    QFETCH(int, count);
    QCOMPARE(faultsOf(path, source).size(), count);
}

QTEST_GUILESS_MAIN(TestArchitecture)
#include "TestArchitecture.moc"
