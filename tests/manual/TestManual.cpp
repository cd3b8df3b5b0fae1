#include "AboutDialog.h"
#include "CommonModule.h"
#include "CurveMath.h"
#include "DataListDia.h"
#include "DecodeRoutes.h"
#include "FrameTable.h"
#include "GlobalSettingDialog.h"
#include "PyPlotDialog.h"
#include "SettingDialog.h"
#include "SettingDialog_2.h"
#include "WindowFixture.h"
#include "WindowSettingDialog.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolBar>
#include <QXmlStreamReader>

namespace
{

QString fileText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return QString::fromUtf8(file.readAll());
}

/** All matches of the first group of a regular expression. */
QStringList found(const QString &pattern, const QString &text)
{
    QStringList all;
    QRegularExpressionMatchIterator match = QRegularExpression(pattern).globalMatch(text);
    while (match.hasNext())
        all.append(match.next().captured(1));
    return all;
}

void addText(QStringList *texts, const QString &text)
{
    const QString plain = text.simplified();
    if (!plain.isEmpty() && !texts->contains(plain))
        texts->append(plain);
}

void addActions(QStringList *texts, const QWidget *bar)
{
    for (const QAction *action : bar->actions()) {
        addText(texts, action->text());
        if (action->menu())
            addActions(texts, action->menu());
    }
}

/** The visible texts of a dialog, except the contents of edits. */
QStringList textsOf(const QWidget &dialog)
{
    QStringList texts;
    addText(&texts, dialog.windowTitle());
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        addText(&texts, label->text());
    for (const QAbstractButton *button : dialog.findChildren<QAbstractButton *>())
        addText(&texts, button->text());
    for (const QGroupBox *box : dialog.findChildren<QGroupBox *>())
        addText(&texts, box->title());
    for (const QTabWidget *tabs : dialog.findChildren<QTabWidget *>()) {
        for (int i = 0; i < tabs->count(); ++i)
            addText(&texts, tabs->tabText(i));
    }
    for (const QComboBox *box : dialog.findChildren<QComboBox *>()) {
        for (int i = 0; i < box->count(); ++i)
            addText(&texts, box->itemText(i));
    }
    for (const QTableWidget *table : dialog.findChildren<QTableWidget *>()) {
        for (int i = 0; i < table->columnCount(); ++i) {
            if (table->horizontalHeaderItem(i))
                addText(&texts, table->horizontalHeaderItem(i)->text());
        }
    }
    return texts;
}

} // namespace

/** Checks that the manual contains the texts of the program as shown on the screen. */
class TestManual : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_fixture = std::make_unique<WindowFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void everyChapterIsPartOfThePage();
    void everyTextOfTheCatalogueIsInTheManual();
    void everyMenuEntryAndButtonIsInTheManual();
    void everyContextMenuEntryIsInTheManual();
    void everyShortcutIsInTheManual();
    void everyTextOfTheDialogsIsInTheManual();
    void everyMessageWithoutATranslationIsInTheManual();
    void everyChannelIsInTheTable();
    void everyFlightModeIsInTheTables();
    void everyKeyOfTheConfigurationIsInTheManual();
    void everyPictureExistsInBothThemes();
    void everyLinkHasAHeading();
    void pageIsBesideTheExecutableAndNeedsNoNetwork();

private:
    /** The texts that the manual does not contain in quotation marks, as code, in bold or alone in a table cell. */
    QString missing(const QStringList &texts) const;
    QStringList popUpTexts(QCustomPlot *canvas) const;

    QStringList m_chapters; // paths
    QString m_manual; // text of all chapters
    QString m_plain; // m_manual with simplified whitespace
    std::unique_ptr<WindowFixture> m_fixture;
};

void TestManual::initTestCase()
{
    const QDir dir(QStringLiteral(OSTRAVEL_MANUAL_DIR));
    for (const QString &name : dir.entryList({QStringLiteral("[0-9]*.md")}, QDir::Files, QDir::Name)) {
        m_chapters.append(dir.filePath(name));
        m_manual += fileText(m_chapters.constLast()) + QLatin1Char('\n');
    }
    QVERIFY(!m_chapters.isEmpty());
    m_plain = m_manual.simplified();
}

QString TestManual::missing(const QStringList &texts) const
{
    QStringList result;
    for (const QString &text : texts) {
        const QRegularExpression quoted(QStringLiteral("(“|`|\\*\\*|\\| )\\s*%1\\s*(”|`|\\*\\*| \\|)")
                                            .arg(QRegularExpression::escape(text.simplified())));
        if (!quoted.match(m_plain).hasMatch())
            result.append(text);
    }
    return result.join(QStringLiteral("; "));
}

void TestManual::everyChapterIsPartOfThePage()
{
    const QString list = fileText(QStringLiteral(OSTRAVEL_MANUAL_DIR "/CMakeLists.txt"));
    int before = -1;
    for (const QString &path : qAsConst(m_chapters)) {
        const int at = list.indexOf(QLatin1Char(' ') + QFileInfo(path).fileName());
        QVERIFY2(at > before, qPrintable(path + QStringLiteral(" is not listed, or not in the order of the numbers")));
        before = at;
        // Each chapter has one first-level heading.
        QCOMPARE(found(QStringLiteral("(?m)^(# )"), fileText(path)).size(), 1);
    }
}

void TestManual::everyTextOfTheCatalogueIsInTheManual()
{
    QFile file(QStringLiteral(OSTRAVEL_ROOT_DIR "/Resources/Ostravel_zh.ts"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    QStringList texts;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("translation"))
            addText(&texts, xml.readElementText());
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QVERIFY2(texts.size() > 100, "the catalogue was not read");
    QCOMPARE(missing(texts), QString());
}

void TestManual::everyMenuEntryAndButtonIsInTheManual()
{
    QStringList texts;
    addActions(&texts, m_fixture->window().menuBar());
    QVERIFY(texts.contains(QStringLiteral("读取数据(R)")));
    const auto *toolBar = m_fixture->window().findChild<QToolBar *>();
    addActions(&texts, toolBar);
    QVERIFY(texts.contains(QStringLiteral("Route2Excel")));
    for (const QAction *action : toolBar->actions())
        addText(&texts, QTextDocumentFragment::fromHtml(action->toolTip()).toPlainText());
    QVERIFY(texts.contains(QStringLiteral("UiSetting")));
    QCOMPARE(missing(texts), QString());
}

QStringList TestManual::popUpTexts(QCustomPlot *canvas) const
{
    emit canvas->customContextMenuRequested(QPoint(20, 20));
    QStringList texts;
    for (QMenu *menu : m_fixture->window().findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (menu->isVisible()) {
            addActions(&texts, menu);
            menu->close();
        }
    }
    return texts;
}

void TestManual::everyContextMenuEntryIsInTheManual()
{
    m_fixture->pretendRead();
    for (QCheckBox *box : m_fixture->window().findChildren<QCheckBox *>())
        box->setChecked(true);
    for (QCustomPlot *canvas : {m_fixture->canvas(), m_fixture->canvas_2()}) {
        QStringList texts = popUpTexts(canvas);
        QCOMPARE(texts.size(), 3);
        canvas->xAxis->setSelectedParts(QCPAxis::spAxis);
        texts += popUpTexts(canvas);
        QCOMPARE(texts.size(), 4);
        WindowFixture::select(canvas->graph(0));
        texts += popUpTexts(canvas);
        QCOMPARE(texts.size(), canvas == m_fixture->canvas() ? 13 : 11);
        QCOMPARE(missing(texts), QString());
    }
}

void TestManual::everyShortcutIsInTheManual()
{
    QStringList texts;
    for (const QAction *action : m_fixture->window().findChildren<QAction *>())
        addText(&texts, action->shortcut().toString(QKeySequence::PortableText));
    QCOMPARE(texts.size(), 2);
    QCOMPARE(missing(texts), QString());
}

void TestManual::everyTextOfTheDialogsIsInTheManual()
{
    const auto check = [this](const QWidget &dialog, int least) {
        const QStringList texts = textsOf(dialog);
        QVERIFY2(texts.size() >= least, dialog.metaObject()->className());
        QCOMPARE(missing(texts), QString());
    };
    check(GlobalSettingDialog(nullptr), 143);
    check(WindowSettingDialog(nullptr), 6);
    check(SettingDialog(nullptr), 9);
    check(SettingDialog_2(nullptr), 2);
    check(DecodeRoutes(nullptr), 12);
    check(CommonModule(), 25);
    check(PyPlotDialog(nullptr), 6);
    check(DataListDia(nullptr), 5);

    // Skips version numbers, which change with each release.
    for (const QString &text : textsOf(AboutDialog(nullptr))) {
        const QString words = text.section(QRegularExpression(QStringLiteral("\\d")), 0, 0);
        QVERIFY2(m_manual.contains(words), qPrintable(words));
    }
}

void TestManual::everyMessageWithoutATranslationIsInTheManual()
{
    // Texts of boxes, titles and the status bar that are English in any language.
    QCOMPARE(missing({QStringLiteral("Info"),
                      QStringLiteral("info"),
                      QStringLiteral("error"),
                      QStringLiteral("Select data file"),
                      QStringLiteral("Selected file is "),
                      QStringLiteral("selected file is "),
                      QStringLiteral("file is empty"),
                      QStringLiteral("No data is selected!"),
                      QStringLiteral("write data txt failed"),
                      QStringLiteral("Please waiting..."),
                      QStringLiteral("Decoding data..."),
                      QStringLiteral("Clicked on graph '%1' at data point #%2 with value %3."),
                      QStringLiteral("New graph name:"),
                      QStringLiteral("New axis label:"),
                      QStringLiteral("route file is empty"),
                      QStringLiteral("route file not exists"),
                      QStringLiteral("route file open failed"),
                      QStringLiteral("wmts doesnot exists"),
                      QStringLiteral("wke api not found"),
                      QStringLiteral("init..."),
                      QStringLiteral("MPlot"),
                      QStringLiteral("Init Failed"),
                      QStringLiteral("cannot use this module,because matlab module init failed!"),
                      QStringLiteral("please check matlab environment"),
                      QStringLiteral("About Ostravel")}),
             QString());
}

void TestManual::everyChannelIsInTheTable()
{
    // | 序号 | 通道 | 内部名 | 单位 | 字节 | 宽度 | 符号 | 除数 |, below a heading with the name of the frame.
    const QString chapter = fileText(QStringLiteral(OSTRAVEL_MANUAL_DIR "/95-channels.md"));
    QStringList expected;
    for (const FrameInfo *frame = frameInfos; frame->name != nullptr; ++frame) {
        expected.append(QStringLiteral("## %1").arg(QLatin1String(frame->name)));
        for (int i = 0; i + 1 < frame->fieldCount; ++i) {
            const FrameField &field = frame->fields[i];
            expected.append(QStringLiteral("| %1 | %2 | `%3` | %4 | %5 | %6 | %7 |")
                                .arg(field.index)
                                .arg(field.label, QLatin1String(field.name))
                                .arg(field.offset)
                                .arg(field.width)
                                .arg(field.isSigned ? QStringLiteral("有") : QStringLiteral("无"))
                                .arg(qint64(field.divisor)));
        }
    }
    QCOMPARE(expected.size(), 9 + 143);
    // Removes the unit between name and byte, because the program has no units.
    QString rows = chapter;
    rows.replace(QRegularExpression(QStringLiteral("(?m)^(\\| \\d+ \\| [^|]+ \\| `[A-Za-z0-9_]+` \\|)[^|]*\\|")),
                 QStringLiteral("\\1"));
    const QStringList there
        = found(QStringLiteral("(?m)^(## 0x\\S+|\\| \\d+ \\| [^|]+ \\| `[A-Z]+_[A-Za-z0-9_]+` \\|.*\\|)"), rows);
    QCOMPARE(there, expected);
}

void TestManual::everyFlightModeIsInTheTables()
{
    int modes = 0;
    for (int value = 0; value < 256; ++value) {
        for (const QString &text : {curvemath::mainFlightModeText(value), curvemath::subFlightModeText(value)}) {
            if (text.isEmpty())
                continue;
            ++modes;
            QVERIFY2(m_manual.contains(QStringLiteral("| %1 | %2 |").arg(value).arg(text)), qPrintable(text));
        }
    }
    QCOMPARE(modes, 5 + 33);
}

void TestManual::everyKeyOfTheConfigurationIsInTheManual()
{
    const QString path = m_fixture->path(QStringLiteral("config.ini"));
    AppConfig::getInstance().writeConfigIni(path);
    const QSettings settings(path, QSettings::IniFormat);
    QCOMPARE(settings.allKeys().size(), 3);
    for (const QString &key : settings.allKeys()) {
        const QStringList parts = key.split(QLatin1Char('/'));
        QVERIFY2(m_manual.contains(QStringLiteral("[%1]").arg(parts.constFirst())), qPrintable(key));
        QCOMPARE(missing({parts.constLast()}), QString());
    }
}

void TestManual::everyPictureExistsInBothThemes()
{
    const QDir dir(QStringLiteral(OSTRAVEL_MANUAL_DIR));
    QSet<QString> shown;
    for (const QString &name : found(QStringLiteral("!\\[[^\\]]*\\]\\(([^)]+)\\)"), m_manual)) {
        QVERIFY2(QFileInfo::exists(dir.filePath(name)), qPrintable(name));
        shown.insert(QFileInfo(name).fileName());
    }
    QVERIFY(shown.size() > 20);

    QDirIterator screens(QStringLiteral(OSTRAVEL_ROOT_DIR "/docs/screens"), {QStringLiteral("*.png")});
    while (screens.hasNext()) {
        screens.next();
        QString name = screens.fileName();
        if (name.startsWith(QLatin1String("night-")))
            name.replace(0, 5, QStringLiteral("day"));
        QVERIFY2(shown.contains(name), qPrintable(name + QStringLiteral(" is shown nowhere in the manual")));
        const QString night = QString(name).replace(0, 3, QStringLiteral("night"));
        for (const QString &each : {name, night})
            QVERIFY2(QFileInfo::exists(screens.path() + QLatin1Char('/') + each), qPrintable(each));
    }

    const QString readme = fileText(QStringLiteral(OSTRAVEL_ROOT_DIR "/README.md"));
    for (const QString &name : found(QStringLiteral("!\\[[^\\]]*\\]\\(([^)]+)\\)"), readme))
        QVERIFY2(QFileInfo::exists(QStringLiteral(OSTRAVEL_ROOT_DIR "/") + name), qPrintable(name));
}

void TestManual::everyLinkHasAHeading()
{
    const QStringList headings = found(QStringLiteral("(?m)^#+ .*\\{#([a-z0-9-]+)\\}$"), m_manual);
    QCOMPARE(headings.size(), QSet<QString>(headings.begin(), headings.end()).size());
    for (const QString &link : found(QStringLiteral("\\]\\(#([^)]+)\\)"), m_manual))
        QVERIFY2(headings.contains(link), qPrintable(link));
}

void TestManual::pageIsBesideTheExecutableAndNeedsNoNetwork()
{
    if (!OSTRAVEL_MANUAL_MADE)
        QSKIP("pandoc is not installed, so there is no page");
    const QString path = QStringLiteral(OSTRAVEL_MANUAL_PAGE);
    QVERIFY(QFileInfo::exists(path));
    const QString page = fileText(path);
    for (const QString &chapter : qAsConst(m_chapters)) {
        const QString id = found(QStringLiteral("(?m)^# .*\\{#([a-z0-9-]+)\\}$"), fileText(chapter)).value(0);
        QVERIFY2(page.contains(QStringLiteral("<h1 data-number="))
                     && page.contains(QStringLiteral("id=\"%1\"").arg(id)),
                 qPrintable(chapter));
    }
    // The page embeds everything that a browser would load, and links only to itself.
    const QStringList targets
        = found(QStringLiteral("(?:src|srcset|href|action|data|poster|content)=[\"']([^\"']{0,40})"), page)
        + found(QStringLiteral("(?:url\\(|@import)\\s*[\"']?([^\"')]{0,40})"), page);
    QVERIFY(targets.size() > m_chapters.size());
    for (const QString &target : targets) {
        const bool inside = target.startsWith(QLatin1Char('#')) || target.startsWith(QLatin1String("data:"))
            || target == QLatin1String("width=device-width, initial-scale=1") || target == QLatin1String("light dark");
        QVERIFY2(inside, qPrintable(target));
    }
    QVERIFY(!page.contains(QLatin1String("<script")));
    // The page has each screenshot twice: day and night theme.
    const int screens = found(QStringLiteral("(\\]\\(\\.\\./screens/day-)"), m_manual).size();
    const int others = found(QStringLiteral("(!\\[[^\\]]*\\]\\((?!\\.\\./screens/))"), m_manual).size();
    QCOMPARE(page.count(QLatin1String("<img ")), 2 * screens + others);
    QCOMPARE(page.count(QLatin1String("src=\"data:image/png;base64,")), 2 * screens + others);
}

QTEST_MAIN(TestManual)
#include "TestManual.moc"
