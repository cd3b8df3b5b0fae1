#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QTranslator>
#include <QXmlStreamReader>

#include <cstddef>

namespace
{
struct Pair {
    const char *context; // class whose tr() asks
    const char *source;
    const char *chinese;
};

struct Text {
    const char *context;
    const char *source;
};

// Written out by hand, not taken from the .ts file: two tables that one person copied from the other would agree
// on every slip. Blanks at the ends, full-width signs and odd spellings are part of the texts.
constexpr Pair kPairs[] = {
    // The curve record recognises its role by these, as do the check boxes of the window below.
    {"QObject", "Roll", "横滚"},
    {"QObject", "Pitch", "俯仰"},
    {"QObject", "Yaw", "航向"},
    {"QObject", "IndicatedAirspeed", "指示空速"},
    {"QObject", "RelativeHeight", "相对高度"},
    {"QObject", "RollDiff", "横滚差值"},
    {"QObject", "PitchDiff", "俯仰差值"},
    {"QObject", "YawDiff", "航向差值"},
    {"QObject", "SpeedDiff", "速度差值"},
    {"QObject", "HeightDiff", "高度差值"},
    {"QObject", "TargetRoll", "目标横滚"},
    {"QObject", "TargetPitch", "目标俯仰"},
    {"QObject", "TargetYaw", "目标航向"},
    {"QObject", "TargetSpeed", "目标速度"},
    {"QObject", "TargetHeight", "目标高度"},

    {"TxtOperator", "file name is empty", "文件名为空"},
    {"TxtOperator", "open file failed", "打开文件失败"},
    {"TxtOperator", "occur exception when close file", "关闭文件时发生异常"},

    {"DataHandler", "start decoding data", "开始解析数据"},
    {"DataHandler", "decode sucess, handling data...", "文件解析成功,处理数据..."},
    {"DataHandler", "file open failed", "文件打开失败"},
    {"DataHandler", "data handing finished", "数据处理完成"},

    {"MyCustomPlot", "not find graph", "未找到曲线"},
    {"MyCustomPlot", "data count is zero", "数据量为0"},
    {"MyCustomPlot", "not read data yet", "还未读取数据"},
    {"MyCustomPlot", "show graph:", "显示曲线："},
    {"MyCustomPlot", "remove all graph", "移除所有曲线"},
    {"MyCustomPlot", "graph", "曲线"},
    {"MyCustomPlot", "remove", "移除"},
    {"MyCustomPlot", "Diff: ", "偏       差: "},
    {"MyCustomPlot", "Area: ", "面       积: "},
    {"MyCustomPlot", "RisingTime: ", "上升时间: "},

    {"MainWindow", "WriteExcel", "写Excel"},
    {"MainWindow", "WriteTxt", "写Txt"},
    {"MainWindow", "File(F)", "文件(F)"},
    {"MainWindow", "SelectFile(O)", "选择文件(O)"},
    {"MainWindow", "ReadData(R)", "读取数据(R)"},
    {"MainWindow", "View(V)", "视图(V)"},
    {"MainWindow", "Clear(C)", "清空(C)"},
    {"MainWindow", "Rescale(R)", "缩放(R)"},
    {"MainWindow", "Setting(S)", "设置(S)"},
    {"MainWindow", "DataSetting(D)", "数据设置(D)"},
    {"MainWindow", "UiSetting(G)", "界面设置(G)"},
    {"MainWindow", "Trace(T)", "轨迹(T)"},
    {"MainWindow", "Other(O)", "其他(O)"},
    {"MainWindow", "route(R)", "航线解析(R)"},
    {"MainWindow", "MathLib(M)", "共用模块(M)"},
    {"MainWindow", "Help(H)", "帮助(H)"},
    {"MainWindow", "About(A)", "关于(A)"},
    {"MainWindow", "Document(D)", "文档(D)"},
    {"MainWindow", "Update(D)", "更新(D)"},
    {"MainWindow", "File selected is empty", "未选择文件"},
    {"MainWindow", "Decode finished:", "解析完成:"},
    {"MainWindow", "TotalFrame:", "总帧数:"},
    {"MainWindow", "ErrorFrame:", "错误帧："},
    {"MainWindow", "%1# plane's frame:", "%1#飞机的帧数："},
    {"MainWindow", "All plane's frame:", "所有飞机的帧数："},
    {"MainWindow", "QuitApp", "退出程序"},
    {"MainWindow", "QuitApp?", "退出程序？"},
    {"MainWindow", "Pitch", "俯仰"},
    {"MainWindow", "TargetPitch", "目标俯仰"},
    {"MainWindow", "PitchDiff", "俯仰差值"},
    {"MainWindow", "Roll", "横滚"},
    {"MainWindow", "TargetRoll", "目标横滚"},
    {"MainWindow", "RollDiff", "横滚差值"},
    {"MainWindow", "Yaw", "航向"},
    {"MainWindow", "TargetYaw", "目标航向"},
    {"MainWindow", "YawDiff", "航向差值"},
    {"MainWindow", "RelativeHeight", "相对高度"},
    {"MainWindow", "TargetHeight", "目标高度"},
    {"MainWindow", "HeightDiff", "高度差值"},
    {"MainWindow", "IndicatedAirspeed", "指示空速"},
    {"MainWindow", "TargetSpeed", "目标速度"},
    {"MainWindow", "SpeedDiff", "速度差值"},
    {"MainWindow", "Modify label", "修改标签"},
    {"MainWindow", "Modify name of axis", "修改坐标轴名称"},
    {"MainWindow", "Modify title", "修改标题"},
    {"MainWindow", "Modify font size", "修改字体大小"},
    {"MainWindow", "Focus Y", "聚焦Y"},
    {"MainWindow", "Focus", "聚焦"},
    {"MainWindow", "Delete error data", "去除错误帧"},
    {"MainWindow", "Delete error point", "删除选定的点"},
    {"MainWindow", "Delete selected curve", "删除选定的曲线"},
    {"MainWindow", "Setting", "设置"},
    {"MainWindow", "Add one point", "增加1个数据"},
    {"MainWindow", "Add ten points", "增加10个数据"},
    {"MainWindow", "Swap position", "交换显示位置"},
    {"MainWindow", "Adaptive scaling axis Y", "自适应Y轴"},
    {"MainWindow", "Adaptive scaling", "自适应缩放"},
    {"MainWindow", "Remove all curves", "清空所有曲线"},
    {"MainWindow", "The data has not been read", "还未读取数据"},
    {"MainWindow", "%1 Curve not found", "%1曲线未找到"},
    {"MainWindow", "Excel export finished!", "Excel导出完成！"},
    {"MainWindow", "Txt export finished!", "Txt导出完成！"},

    {"GlobalSettingDialog", "GraphSetting", "曲线设置"},
    {"GlobalSettingDialog", "Global", "全局"},
    {"GlobalSettingDialog", "Setting", "设置"},
    {"GlobalSettingDialog", "EnableId", "启用Id"},
    {"GlobalSettingDialog", "UavId", "飞机ID"},
    {"GlobalSettingDialog", "Enable", "启用"},
    {"GlobalSettingDialog", "Period", "周期"},

    {"WindowSettingDialog", "ShowFactor", "指标显示"},
    {"WindowSettingDialog", "TouchMode", "触摸模式"},
    {"WindowSettingDialog", "NightMode", "夜间模式"},
    {"WindowSettingDialog", "Color1 ", "颜色1 "},
    {"WindowSettingDialog", "Color2 ", "颜色2 "},
    {"WindowSettingDialog", "Show Setting", "显示设置"},

    {"SettingDialog", "Color", "颜色"},
    {"SettingDialog", "LineStyle", "线型"},
    {"SettingDialog", "Thickness", "粗细"},
    {"SettingDialog", "Setting", "设置"},
    {"SettingDialog", "Solid line", "实线"},
    {"SettingDialog", "Dotted line", "点划线"},
    {"SettingDialog", "Dot line", "点线"},
    {"SettingDialog", "Double dotted line", "双点划线"},
    {"SettingDialog", "Custom dotted line", "定制虚线"},

    {"SettingDialog_2", "FontSize", "字体大小"},
    {"SettingDialog_2", "Setting", "设置"},

    {"MPlotDialog", "Height", "高度"},
    {"MPlotDialog", "Two-dimensional track", "二维航迹"},
    {"MPlotDialog", "Three-dimensional - full stage", "三维-全阶段"},
    {"MPlotDialog", "Three-dimensional-attack", "三维-末端攻击"},
    {"MPlotDialog", "use last data", "使用上次数据"},

    {"PyPlotDialog", "Height", "高度"},
    {"PyPlotDialog", "Two-dimensional track", "二维航迹"},
    {"PyPlotDialog", "Three-dimensional - full stage", "三维-全阶段"},
    {"PyPlotDialog", "Three-dimensional-attack", "三维-末端攻击"},
    {"PyPlotDialog", "use last data", "使用上次数据"},

    {"MapWidget", "GroupBox", "控制"},
    {"MapWidget", "CallWMTS", "启功WMTS"},
    {"MapWidget", "DrawUavTrace", "画无人机航迹"},
    {"MapWidget", "EnableRoutesLine", "航线使能"},
    {"MapWidget", "measureDis", "测距"},
    {"MapWidget", "ClearAllLines", "清除所有航线"},
    {"MapWidget", "OpenInBrowser", "在浏览器中打开"},

    {"DecodeRoutes", "SelectRoute", "选择航线"},
    {"DecodeRoutes", "DecodeRoutes", "解析航线"},
    {"DecodeRoutes", "ID", "序号"},
    {"DecodeRoutes", "longitude", "经度"},
    {"DecodeRoutes", "latitude", "纬度"},
    {"DecodeRoutes", "height", "高度"},
    {"DecodeRoutes", "radius", "半径"},
    {"DecodeRoutes", "speed", "速度"},
    {"DecodeRoutes", "distance", "相对距离"},
    {"DecodeRoutes", "flyTime", "飞行时间"},
    {"DecodeRoutes", "totalTime", "总时间"},
    {"DecodeRoutes", "Select route file", "选择航线文件"},

    {"CommonModule", "LocationInput", "位置输入"},
    {"CommonModule", "Loc1_lng：", "1点经度："},
    {"CommonModule", "Loc1_lat：", "1点纬度："},
    {"CommonModule", "Loc2_lng：", "2点经度："},
    {"CommonModule", "Loc2_lat：", "2点纬度："},
    {"CommonModule", "calculate", "计算"},
    {"CommonModule", "DistanceAndBearing", "距离和方位"},
    {"CommonModule", "Distance：", "相对距离："},
    {"CommonModule", "m", "米"},
    {"CommonModule", "Bearing：", "相对方位："},
    {"CommonModule", "°", "度"},
    {"CommonModule", "Offset", "航点偏移量"},
    {"CommonModule", "Offset_North：", "北向偏移量："},
    {"CommonModule", "Offset_East：", "东向偏移量："},
    {"CommonModule", "OffsetRoute", "偏移航点位置"},
    {"CommonModule", "Offset_Lng：", "偏移航点经度："},
    {"CommonModule", "Offset_Lat：", "偏移航点纬度："},
    {"CommonModule", "Vector2Input", "向量输入"},
    {"CommonModule", "Vector2 a", "二维向量a"},
    {"CommonModule", "Vector2 b", "二维向量b"},
    {"CommonModule", "Angle", "角度"},
    {"CommonModule", "AddAndSub", "加减"},
    {"CommonModule", "MulAndDot", "叉积和点积"},
    {"CommonModule", "In degrees, 0 to 180", "单位：度，0 至 180"},

    {"CanvasPicture", "Save picture", "保存图片"},
    {"CanvasPicture", "Picture copied to the clipboard", "图片已复制到剪贴板"},
    {"CanvasPicture", "Picture saved: %1", "图片已保存：%1"},
    {"CanvasPicture", "Picture not saved: %1 (%2)", "图片未能保存：%1（%2）"},
    {"CanvasPicture", "Picture not saved: the name must end in .png, .svg or .pdf",
     "图片未能保存：文件名须以 .png、.svg 或 .pdf 结尾"},
};

// What users see in English even with the catalogue installed.
constexpr Text kEnglish[] = {
    {"DataHandler", "file is empty"},
    {"DataHandler", "No data is selected!"},
    {"DataHandler", "write data txt failed"},
    {"TxtOperator", "write data txt failed"},

    {"DataListDia", "fly data lists"},
    {"DataListDia", "Confirm"},
    {"DataListDia", "id"},
    {"DataListDia", "name"},
    {"DataListDia", "time"},

    {"MyCustomPlot", "Clicked on graph '%1' at data point #%2 with value %3."},

    {"MainWindow", "File"},
    {"MainWindow", "GolbalSetting"},
    {"MainWindow", "Read"},
    {"MainWindow", "Help"},
    {"MainWindow", "ViewSetting"},
    {"MainWindow", "Trace"},
    {"MainWindow", "PythonPlot"},
    {"MainWindow", "<html><head/><body><p>SelectFile</p></body></html>"},
    {"MainWindow", "<html><head/><body><p>GolbalSetting</p></body></html>"},
    {"MainWindow", "<html><head/><body><p>ReadData</p></body></html>"},
    {"MainWindow", "<html><head/><body><p>Help</p></body></html>"},
    {"MainWindow", "<html><head/><body><p>UiSetting</p></body></html>"},
    {"MainWindow", "MPlot"},
    {"MainWindow", "PyPlot"},
    {"MainWindow", "Map"},
    {"MainWindow", "Route2Excel"},
    {"MainWindow", "MathLib"},
    {"MainWindow", "Document"},
    {"MainWindow", "matlib(M)"},
    {"MainWindow", "python(P)"},
    {"MainWindow", "Ostravel"},
    {"MainWindow", "Select data file"},
    {"MainWindow", "Selected file is "},
    {"MainWindow", "selected file is "},
    {"MainWindow", "Info"},
    {"MainWindow", "info"},
    {"MainWindow", "Please waiting..."},
    {"MainWindow", "Decoding data..."},
    {"MainWindow", "0x01:"},
    {"MainWindow", "0x02:"},
    {"MainWindow", "0x03:"},
    {"MainWindow", "0x04:"},
    {"MainWindow", "0x05:"},
    {"MainWindow", "0x41:"},
    {"MainWindow", "New graph name:"},
    {"MainWindow", "New axis label:"},
    {"MainWindow", "New plot title:"},
    {"MainWindow", "Clicked on graph '%1' at data point #%2 with value %3."},

    {"GlobalSettingDialog", "HeartBeat"},
    {"GlobalSettingDialog", "ControlSystemStatus"},
    {"GlobalSettingDialog", "AttitudeAndPositionInfo"},
    {"GlobalSettingDialog", "SensorValue"},
    {"GlobalSettingDialog", "FlightTargetValue"},
    {"GlobalSettingDialog", "PayloadInfo"},
    {"GlobalSettingDialog", "Difference"},
    {"GlobalSettingDialog", "EquipmentStatus"},
    {"GlobalSettingDialog", "Other"},
    {"GlobalSettingDialog", "0x01-HeartBeat"},
    {"GlobalSettingDialog", "0x02-ControlSystemStatus"},
    {"GlobalSettingDialog", "0x03-AttitudeAndPositionInfo"},
    {"GlobalSettingDialog", "0x04-SensorValue"},
    {"GlobalSettingDialog", "0x05-FlightTargetValue"},
    {"GlobalSettingDialog", "0x41-PayloadInfo"},
    {"GlobalSettingDialog", "0x51-Difference"},
    {"GlobalSettingDialog", "Y"},
    {"GlobalSettingDialog", "N"},

    {"ExcelOperator", "0x01-HeartBeat"},
    {"ExcelOperator", "0x53-EquipmentStatus"},
    {"TxtOperator", "0x01-HeartBeat"},
    {"TxtOperator", "0x52-Backup"},

    {"SwitchButton", "Yes"},
    {"SwitchButton", "No"},

    {"MPlotDialog", "init..."},
    {"MPlotDialog", "MPlot"},
    {"MPlotDialog", "Init Failed"},
    {"MPlotDialog", "cannot use this module,because matlab module init failed!\nplease check matlab environment"},

    {"PyPlotDialog", "PyPlot"},
    {"PyPlotDialog", "demo"},

    {"WebWidget", "error"},
    {"WebWidget", "wmts doesnot exists"},

    {"MapWidget", "Form"},

    {"DecodeRoutes", "Routes"},
    {"DecodeRoutes", "info"},
    {"DecodeRoutes", "route file is empty"},
    {"DecodeRoutes", "route file not exists"},
    {"DecodeRoutes", "route file open failed"},
    {"DecodeRoutes", "id"},

    {"CommonModule", "CommonModule"},
    {"CommonModule", "a+b"},
    {"CommonModule", "a-b"},
    {"CommonModule", "a×b"},
    {"CommonModule", "a·b"},

    {"AboutDialog", "Ostravel for Windows"},
    {"AboutDialog", "Version v"},
    {"AboutDialog", "v"},
    {"AboutDialog", "Build on "},
    {"AboutDialog", "Author "},
    {"AboutDialog", "About Ostravel"},
};

// A character more, less or other is another text. A table "tidied" on both sides would pass the pairs above.
constexpr Text kNearMisses[] = {
    {"WindowSettingDialog", "Color1"},
    {"WindowSettingDialog", "Color2"},
    {"MyCustomPlot", "Diff:"},
    {"MyCustomPlot", "Area:"},
    {"MyCustomPlot", "RisingTime:"},
    {"DataHandler", "decode success, handling data..."},
    {"DataHandler", "data handling finished"},
    {"CommonModule", "Loc1_lng:"},
    {"CommonModule", "Distance:"},
    {"DecodeRoutes", "Longitude"},
    {"MainWindow", "SelectFile"},
    {"MainWindow", "ReadData"},
    {"MainWindow", "UiSetting"},
};

QByteArray rowName(const char *context, const char *source)
{
    QByteArray name = QByteArray(context) + ": \"" + source + '"';
    return name.replace('\n', ' '); // one line each in the test's output
}

QString key(const QString &context, const QString &source)
{
    return context + QLatin1String(": \"") + source + QLatin1Char('"');
}

template <std::size_t N>
void addRows(const Text (&texts)[N])
{
    for (const Text &text : texts)
        QTest::newRow(rowName(text.context, text.source).constData())
            << QByteArray(text.context) << QByteArray(text.source);
}
} // namespace

/** Holds the compiled Chinese catalogue and its source file against a table of all texts that users read in Chinese. */
class TestCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyPairIsGivenExactly_data();
    void everyPairIsGivenExactly();
    void textsWithoutChineseStayEmpty_data();
    void textsWithoutChineseStayEmpty();
    void similarTextsAreNotTakenForOneAnother_data();
    void similarTextsAreNotTakenForOneAnother();
    void aPairAnswersInNoOtherClass();
    void installedCatalogueReachesTr();
    void sourceFileHoldsThePairsAndNothingElse();

private:
    QTranslator m_translator;
};

void TestCatalogue::initTestCase()
{
    QVERIFY2(m_translator.load(QStringLiteral(":/Ostravel_zh.qm")),
             "the compiled catalogue is not among the resources");
}

void TestCatalogue::everyPairIsGivenExactly_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("chinese");

    for (const Pair &pair : kPairs)
        QTest::newRow(rowName(pair.context, pair.source).constData())
            << QByteArray(pair.context) << QByteArray(pair.source) << QString::fromUtf8(pair.chinese);
}

void TestCatalogue::everyPairIsGivenExactly()
{
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, source);
    QFETCH(QString, chinese);

    QCOMPARE(m_translator.translate(context.constData(), source.constData()), chinese);
}

void TestCatalogue::textsWithoutChineseStayEmpty_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    addRows(kEnglish);
}

void TestCatalogue::textsWithoutChineseStayEmpty()
{
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, source);

    QCOMPARE(m_translator.translate(context.constData(), source.constData()), QString());
}

void TestCatalogue::similarTextsAreNotTakenForOneAnother_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    addRows(kNearMisses);
}

void TestCatalogue::similarTextsAreNotTakenForOneAnother()
{
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, source);

    QCOMPARE(m_translator.translate(context.constData(), source.constData()), QString());
}

// A pair belongs to its class alone: a context written wrongly in the catalogue, or lost when it is compiled, would
// put Chinese where English is due.
void TestCatalogue::aPairAnswersInNoOtherClass()
{
    for (const Pair &pair : kPairs)
        for (const char *stranger : {"AboutDialog", "SwitchButton", "MyGraph", "DataListDia", ""})
            QVERIFY2(m_translator.translate(stranger, pair.source).isEmpty(),
                     rowName(stranger, pair.source).constData());
}

void TestCatalogue::installedCatalogueReachesTr()
{
    QCOMPARE(QObject::tr("TargetYaw"), QStringLiteral("TargetYaw"));

    QVERIFY(QCoreApplication::installTranslator(&m_translator));
    const QString known = QObject::tr("TargetYaw");
    const QString numbered = QCoreApplication::translate("MainWindow", "%1# plane's frame:").arg(7);
    const QString unknown = QCoreApplication::translate("MainWindow", "Route2Excel");
    QVERIFY(QCoreApplication::removeTranslator(&m_translator));

    QCOMPARE(known, QStringLiteral("目标航向"));
    QCOMPARE(numbered, QStringLiteral("7#飞机的帧数："));
    QCOMPARE(unknown, QStringLiteral("Route2Excel"));
}

void TestCatalogue::sourceFileHoldsThePairsAndNothingElse()
{
    QFile file(QStringLiteral(OSTRAVEL_TS_FILE));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));

    QStringList contexts;
    QStringList found;
    QString language;
    QString source;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("TS")) {
            language = xml.attributes().value(QLatin1String("language")).toString();
        } else if (xml.name() == QLatin1String("name")) {
            contexts << xml.readElementText();
        } else if (xml.name() == QLatin1String("message")) {
            source.clear();
            QVERIFY2(!xml.attributes().hasAttribute(QLatin1String("numerus")), qPrintable(contexts.last()));
        } else if (xml.name() == QLatin1String("source")) {
            source = xml.readElementText();
        } else if (xml.name() == QLatin1String("comment")) {
            QFAIL(qPrintable(key(contexts.last(), source) + QLatin1String(" asks for a note that no caller gives")));
        } else if (xml.name() == QLatin1String("translation")) {
            // Unfinished, obsolete and vanished all stand in this attribute; a finished message has none.
            QVERIFY2(!xml.attributes().hasAttribute(QLatin1String("type")), qPrintable(key(contexts.last(), source)));
            QVERIFY2(!xml.readElementText().isEmpty(), qPrintable(key(contexts.last(), source)));
            found << key(contexts.last(), source);
        }
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QCOMPARE(language, QStringLiteral("zh_CN"));
    QCOMPARE(contexts.removeDuplicates(), 0);

    // Lists, not sets: a text that stands twice shows as one too many on its side.
    QStringList missing;
    for (const Pair &pair : kPairs) {
        const QString wanted = key(QString::fromUtf8(pair.context), QString::fromUtf8(pair.source));
        if (!found.removeOne(wanted))
            missing << wanted;
    }
    QVERIFY2(missing.isEmpty(), qPrintable(QLatin1String("missing: ") + missing.join(QLatin1String(", "))));
    QVERIFY2(found.isEmpty(), qPrintable(QLatin1String("too many: ") + found.join(QLatin1String(", "))));
}

QTEST_GUILESS_MAIN(TestCatalogue)
#include "TestCatalogue.moc"
