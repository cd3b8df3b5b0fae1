#include "AppConfig.h"
#include "Fifo.h"
#include "Fixture.h"
#include "LogFile.h"
#include "MetaMethods.h"
#include "OrdinaryUser.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTextStream>

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace
{

AppConfig &config()
{
    return AppConfig::getInstance();
}

/** Each file with a time of its own: QSettings takes one of the same name, size and time for the one that it knows. */
void write(const QString &path, const QByteArray &bytes)
{
    static qint64 seconds = 1700000000;
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
    QVERIFY(file.flush());
    QVERIFY(file.setFileTime(QDateTime::fromSecsSinceEpoch(++seconds), QFileDevice::FileModificationTime));
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/** What is printed on standard output meanwhile. */
template <typename Work>
QByteArray printedBy(const QString &path, Work work)
{
    std::fflush(stdout);
    const int terminal = dup(STDOUT_FILENO);
    const int file = open(QFile::encodeName(path).constData(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
    dup2(file, STDOUT_FILENO);
    work();
    std::fflush(stdout);
    dup2(terminal, STDOUT_FILENO);
    close(file);
    close(terminal);
    return content(path);
}

QString styleOf(const char *path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? QTextStream(&file).readAll() : QString();
}

} // namespace

// The resource's macros do not work inside a namespace.
static void removeStyleSheets()
{
    Q_CLEANUP_RESOURCE(darkstyle);
    Q_CLEANUP_RESOURCE(lightstyle);
}

static void restoreStyleSheets()
{
    Q_INIT_RESOURCE(darkstyle);
    Q_INIT_RESOURCE(lightstyle);
}

class TestAppConfig : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void isBuiltEmpty();
    void isOneForTheProcess();
    void metaObjectHasItsSignalAndSlot();
    void pathsFollowTheExecutable();
    void trackPathsAreReferences();
    void settersNeitherSaveNorSignal();
    void plotFolderIsMadeOnceAndKept();
    void plotFolderThatCannotBeMadeIsNoMatter();
    void themeNumbersAreFixed();
    void missingFileIsCreatedEmptyWithAWarning();
    void existingFileIsNotCreated();
    void readsTheStoredValues_data();
    void readsTheStoredValues();
    void garbageGivesTheDefaults_data();
    void garbageGivesTheDefaults();
    void serialisedObjectsAreSetAside_data();
    void serialisedObjectsAreSetAside();
    void filesSetAsideEarlierAreKept();
    void serialisedObjectsThatCannotBeSetAsideStayUnread();
    void textThatOnlyResemblesAnObjectIsReadAndWrittenBack_data();
    void textThatOnlyResemblesAnObjectIsReadAndWrittenBack();
    void folderInPlaceOfTheFileGivesTheDefaults();
    void pipeInPlaceOfTheFileGivesTheDefaultsAndIsLeftAlone_data();
    void pipeInPlaceOfTheFileGivesTheDefaultsAndIsLeftAlone();
    void linkToARegularFileIsRead();
    void unreadableFileGivesTheDefaults();
    void fileThatCannotBeCreatedGivesTheDefaults();
    void exceptionAtCreatingTheFileIsLoggedAndTheReadGoesOn();
    void fieldsOfARunBeforeAreReplaced();
    void writesItsThreeKeys_data();
    void writesItsThreeKeys();
    void nextWriteSettlesTheSpelling_data();
    void nextWriteSettlesTheSpelling();
    void otherKeysOfTheFileStay();
    void writeThatFailsIsSilent();
    void lockOfAKilledProcessDoesNotDelayTheWrite();
    void initRunsItsStepsInOrder();
    void initThatFailsAtTheLogHasMadeThePlotFolderAndNoMore();
    void shutdownRunsItsStepsInOrder();
    void fieldsAreReadableAfterShutdown();
    void themeSlotAppliesTheStyleAndTells_data();
    void themeSlotAppliesTheStyleAndTells();
    void unknownThemeAppliesNothingAndIsTold();
    void missingStyleSheetIsPrintedAndTheThemeToldAllTheSame_data();
    void missingStyleSheetIsPrintedAndTheThemeToldAllTheSame();
    void styleSheetsAreCompiledInWithTheirImages();
};

void TestAppConfig::initTestCase()
{
    // Before any fixture: the fields as the first call leaves them.
    QCOMPARE(config().getTheme(), darkTheme);
    QCOMPARE(config().getTouchMode(), false);
    QCOMPARE(config().getShowFactor(), false);
    QVERIFY(config().configPath().isNull());
    QVERIFY(config().plotDir().isNull());
    QVERIFY(config().getDataPath().isNull());
    QVERIFY(config().getAttackDataPath().isNull());
}

void TestAppConfig::isBuiltEmpty()
{
    // Nothing was made beside the executable by the look at the fields above.
    QVERIFY(!QFileInfo::exists(QCoreApplication::applicationDirPath() + "/config.ini"));
    QVERIFY(!spdlog::get("file_logger"));
}

void TestAppConfig::isOneForTheProcess()
{
    QCOMPARE(&AppConfig::getInstance(), &AppConfig::getInstance());
}

void TestAppConfig::metaObjectHasItsSignalAndSlot()
{
    QCOMPARE(ownMethods(AppConfig::staticMetaObject),
             (QStringList{"signal switchThemeSignal(MyThemes)", "slot switchThemeSlot(MyThemes)"}));
}

void TestAppConfig::pathsFollowTheExecutable()
{
    const Fixture fixture;
    const QString dir = QCoreApplication::applicationDirPath();
    QVERIFY(QDir(dir) != QDir::current());
    config().initPaths();
    QCOMPARE(config().configPath(), dir + "/config.ini");
    QCOMPARE(config().plotDir(), dir + "/myPlot");
    QCOMPARE(config().getDataPath(), dir + "/myPlot/data.txt");
    QCOMPARE(config().getAttackDataPath(), dir + "/myPlot/data_attack.txt");
}

void TestAppConfig::trackPathsAreReferences()
{
    const Fixture fixture;
    QCOMPARE(&config().getDataPath(), &config().getDataPath());
    QCOMPARE(&config().getAttackDataPath(), &config().getAttackDataPath());
    QVERIFY(&config().getDataPath() != &config().getAttackDataPath());
}

void TestAppConfig::settersNeitherSaveNorSignal()
{
    const Fixture fixture;
    const QSignalSpy spy(&config(), &AppConfig::switchThemeSignal);
    const LogFile log;
    config().setTheme(lightTheme);
    config().setTouchMode(true);
    config().setShowFactor(true);
    QCOMPARE(config().getTheme(), lightTheme);
    QCOMPARE(config().getTouchMode(), true);
    QCOMPARE(config().getShowFactor(), true);
    QCOMPARE(spy.count(), 0);
    QVERIFY(log.lines().isEmpty());
    QVERIFY(!QFileInfo::exists(config().configPath()));
}

void TestAppConfig::plotFolderIsMadeOnceAndKept()
{
    const Fixture fixture;
    QVERIFY(QDir(config().plotDir()).removeRecursively());
    config().createPlotDir();
    QVERIFY(QFileInfo(config().plotDir()).isDir());
    write(config().getDataPath(), "kept");
    config().createPlotDir();
    QCOMPARE(content(config().getDataPath()), QByteArray("kept"));
}

void TestAppConfig::plotFolderThatCannotBeMadeIsNoMatter()
{
    const Fixture fixture;
    QVERIFY(QDir(config().plotDir()).removeRecursively());
    write(config().plotDir(), "a file");
    const LogFile log;
    config().createPlotDir();
    QVERIFY(log.lines().isEmpty());
    QCOMPARE(content(config().plotDir()), QByteArray("a file"));
    QVERIFY(QFile::remove(config().plotDir()));
}

void TestAppConfig::themeNumbersAreFixed()
{
    QCOMPARE(int(lightTheme), 0);
    QCOMPARE(int(darkTheme), 1);
}

void TestAppConfig::missingFileIsCreatedEmptyWithAWarning()
{
    const Fixture fixture;
    const LogFile log;
    config().readConfigIni(config().configPath());
    QCOMPARE(log.leveledMessages(),
             (QStringList{"info: read config.ini", "warning: config.ini donot exist, create config.ini"}));
    QVERIFY(QFileInfo(config().configPath()).isFile());
    QCOMPARE(content(config().configPath()), QByteArray());
    QCOMPARE(config().getTheme(), darkTheme);
    QCOMPARE(config().getTouchMode(), false);
    QCOMPARE(config().getShowFactor(), false);
}

void TestAppConfig::existingFileIsNotCreated()
{
    const Fixture fixture;
    write(config().configPath(), "");
    const LogFile log;
    config().readConfigIni(config().configPath());
    QCOMPARE(log.leveledMessages(), QStringList{"info: read config.ini"});
}

void TestAppConfig::readsTheStoredValues_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("theme");
    QTest::addColumn<bool>("touch");
    QTest::addColumn<bool>("factor");
    QTest::newRow("all set") << QByteArray("[Global]\ntouchMode=true\ntheme=lightTheme\nshowFactor=true\n") << 0 << true
                             << true;
    QTest::newRow("all clear") << QByteArray("[Global]\ntouchMode=false\ntheme=darkTheme\nshowFactor=false\n") << 1
                               << false << false;
    QTest::newRow("CR LF") << QByteArray("[Global]\r\ntouchMode=true\r\ntheme=lightTheme\r\n") << 0 << true << false;
    QTest::newRow("numbers") << QByteArray("[Global]\ntouchMode=1\nshowFactor=1\n") << 1 << true << true;
    QTest::newRow("zero") << QByteArray("[Global]\ntouchMode=0\nshowFactor=0\n") << 1 << false << false;
    QTest::newRow("no key") << QByteArray("[Global]\n") << 1 << false << false;
    QTest::newRow("empty file") << QByteArray() << 1 << false << false;
    QTest::newRow("theme of another case") << QByteArray("[Global]\ntheme=LightTheme\n") << 1 << false << false;
    QTest::newRow("empty theme") << QByteArray("[Global]\ntheme=\n") << 1 << false << false;
    QTest::newRow("theme as a number") << QByteArray("[Global]\ntheme=0\n") << 1 << false << false;
    QTest::newRow("keys outside the section")
        << QByteArray("touchMode=true\ntheme=lightTheme\n") << 1 << false << false;
    QTest::newRow("another section") << QByteArray("[Other]\ntouchMode=true\ntheme=lightTheme\n") << 1 << false
                                     << false;
}

void TestAppConfig::readsTheStoredValues()
{
    const Fixture fixture;
    QFETCH(QByteArray, text);
    QFETCH(int, theme);
    QFETCH(bool, touch);
    QFETCH(bool, factor);
    write(config().configPath(), text);
    config().readConfigIni(config().configPath());
    QCOMPARE(int(config().getTheme()), theme);
    QCOMPARE(config().getTouchMode(), touch);
    QCOMPARE(config().getShowFactor(), factor);
    QCOMPARE(content(config().configPath()), text);
}

void TestAppConfig::garbageGivesTheDefaults_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QByteArray noise;
    for (int i = 0; i < 5000; ++i)
        noise.append(char(i * 7919 >> 3));
    QTest::newRow("noise") << noise;
    QTest::newRow("null bytes") << QByteArray(1000, '\0');
    QTest::newRow("open section") << QByteArray("[Global");
    QTest::newRow("bad escapes") << QByteArray("[Global]\ntheme=@Variant(\\0\\0\\0\\xff)\ntouchMode=@Invalid()\n");
    QTest::newRow("lists") << QByteArray("[Global]\ntheme=lightTheme, darkTheme\ntouchMode=a, b\n");
    QTest::newRow("very long line") << QByteArray("[Global]\ntheme=" + QByteArray(1000000, 'x'));
}

void TestAppConfig::garbageGivesTheDefaults()
{
    const Fixture fixture;
    QFETCH(QByteArray, bytes);
    write(config().configPath(), bytes);
    config().readConfigIni(config().configPath());
    QCOMPARE(config().getTheme(), darkTheme);
    QCOMPARE(config().getTouchMode(), false);
    QCOMPARE(config().getShowFactor(), false);
}

void TestAppConfig::serialisedObjectsAreSetAside_data()
{
    QTest::addColumn<QByteArray>("start");
    // What QSettings reads as "@Variant(" in each case.
    QTest::newRow("plain") << QByteArray("@Variant(");
    QTest::newRow("hexadecimal") << QByteArray("\\x40\\x56\\x61riant\\x28");
    QTest::newRow("octal") << QByteArray("\\100Variant(");
    QTest::newRow("beyond 16 bits") << QByteArray("\\x10040Variant(");
    QTest::newRow("escape of nothing") << QByteArray("@Va\\xriant(");
    QTest::newRow("unknown escape") << QByteArray("@Va\\qriant(");
    QTest::newRow("in quotes") << QByteArray("\"@Var\"\"iant(\"");
    QTest::newRow("blanks behind a quote") << QByteArray("\"@Var\" \tiant(");
    QTest::newRow("over two lines") << QByteArray("@Var\\\niant(");
    QTest::newRow("over two lines of Windows") << QByteArray("@Var\\\r\niant(");
    QTest::newRow("second of a list") << QByteArray("1, @Variant(");
}

void TestAppConfig::serialisedObjectsAreSetAside()
{
    const Fixture fixture;
    QFETCH(QByteArray, start);
    // A pen whose brush has a picture without an end: reading it ends the process.
    const QByteArray bytes = "[Global]\nother=" + start + "\\x0\\x0\\x0\\x4d"
        + QByteArray("\\x0\\x10\\x0\\x0").repeated(10) + "\\x0)\ntouchMode=true\n";
    const QString path = config().configPath();
    const QString aside = path + ".damaged";
    write(aside, "of an earlier time");
    write(path, bytes);
    const LogFile log;
    config().readConfigIni(path);
    QCOMPARE(log.leveledMessages().value(1),
             "warning: config.ini holds serialised objects and is not read, it is now " + aside);
    QFile kept(aside);
    QVERIFY(kept.open(QFile::ReadOnly));
    QCOMPARE(kept.readAll(), bytes);
    kept.close(); // else it could not be replaced everywhere
    QCOMPARE(config().getTouchMode(), false);
    // Written by somebody while the program ran.
    write(path, bytes);
    config().setShowFactor(true);
    config().writeConfigIni(path);
    config().setShowFactor(false);
    config().readConfigIni(path);
    QCOMPARE(config().getShowFactor(), true);
    QVERIFY(QFile::remove(aside));
    for (const char *number : {".1", ".2"})
        QVERIFY(QFile::remove(aside + number));
}

void TestAppConfig::filesSetAsideEarlierAreKept()
{
    const Fixture fixture;
    const QString path = config().configPath();
    const QString aside = path + ".damaged";
    const QByteArrayList bytes{"[Global]\na=@Variant(1)\n", "[Global]\na=@Variant(2)\n", "[Global]\na=@Variant(3)\n"};
    for (const QByteArray &text : bytes) {
        write(path, text);
        config().readConfigIni(path);
    }
    const QStringList names{aside + ".1", aside + ".2", aside};
    for (int i = 0; i < names.size(); ++i) {
        QFile kept(names[i]);
        QVERIFY2(kept.open(QFile::ReadOnly), qPrintable(names[i]));
        QCOMPARE(kept.readAll(), bytes[i]);
        kept.close();
        QVERIFY(QFile::remove(names[i]));
    }
}

void TestAppConfig::serialisedObjectsThatCannotBeSetAsideStayUnread()
{
    const Fixture fixture;
    const QByteArray bytes("[Global]\ntouchMode=true\nother=@Variant(\\0)\n");
    const QString path = config().configPath();
    write(path, bytes);
    QVERIFY(QDir().mkpath(path + ".damaged/in the way"));
    config().setTouchMode(true);
    config().readConfigIni(path);
    QCOMPARE(config().getTouchMode(), false);
    config().writeConfigIni(path);
    QFile file(path);
    QVERIFY(file.open(QFile::ReadOnly));
    QCOMPARE(file.readAll(), bytes);
    QVERIFY(QDir(path + ".damaged").removeRecursively());
}

void TestAppConfig::textThatOnlyResemblesAnObjectIsReadAndWrittenBack_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("value");
    // A character between the letters keeps the word from being "@Variant(", also in the spelling of QSettings.
    QTest::newRow("vertical tab") << QByteArray("@Var\x0biant(") << QStringLiteral("@Var\viant(");
    QTest::newRow("escaped vertical tab") << QByteArray("@Var\\viant(") << QStringLiteral("@Var\viant(");
    QTest::newRow("bell, whose escape is a letter of the word")
        << QByteArray("@V\\ariant(") << QStringLiteral("@V\ariant(");
    QTest::newRow("blank") << QByteArray("@Var iant(") << QStringLiteral("@Var iant(");
    QTest::newRow("blank by its number") << QByteArray("@Var\\x20iant(") << QStringLiteral("@Var iant(");
    QTest::newRow("quote") << QByteArray("@Var\\\"iant(") << QStringLiteral("@Var\"iant(");
    QTest::newRow("backslash") << QByteArray("@Var\\\\iant(") << QStringLiteral("@Var\\iant(");
}

void TestAppConfig::textThatOnlyResemblesAnObjectIsReadAndWrittenBack()
{
    const Fixture fixture;
    QFETCH(QByteArray, text);
    QFETCH(QString, value);
    const QString path = config().configPath();
    write(path, "[Global]\nother=" + text + "\ntouchMode=true\ntheme=lightTheme\nshowFactor=true\n");
    for (int time = 0; time < 2; ++time) {
        config().setTouchMode(false);
        config().setTheme(darkTheme);
        config().setShowFactor(false);
        config().readConfigIni(path);
        QVERIFY(!QFileInfo::exists(path + ".damaged"));
        QCOMPARE(config().getTouchMode(), true);
        QCOMPARE(config().getTheme(), lightTheme);
        QCOMPARE(config().getShowFactor(), true);
        QCOMPARE(QSettings(path, QSettings::IniFormat).value("Global/other").toString(), value);
        config().writeConfigIni(path);
    }
}

void TestAppConfig::folderInPlaceOfTheFileGivesTheDefaults()
{
    const Fixture fixture;
    QVERIFY(QDir().mkdir(config().configPath()));
    config().setTouchMode(true);
    config().readConfigIni(config().configPath());
    QCOMPARE(config().getTheme(), darkTheme);
    QCOMPARE(config().getTouchMode(), false);
    config().writeConfigIni(config().configPath());
    QVERIFY(QFileInfo(config().configPath()).isDir());
}

void TestAppConfig::pipeInPlaceOfTheFileGivesTheDefaultsAndIsLeftAlone_data()
{
    QTest::addColumn<bool>("linked");
    QTest::newRow("itself") << false;
    QTest::newRow("behind a link") << true;
}

void TestAppConfig::pipeInPlaceOfTheFileGivesTheDefaultsAndIsLeftAlone()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its reader");
    const Fixture fixture;
    QFETCH(bool, linked);
    const QString path = config().configPath();
    const Fifo fifo(linked ? fixture.path("pipe") : path);
    QVERIFY(fifo.isValid());
    if (linked)
        QVERIFY(QFile::link(fixture.path("pipe"), path));
    config().setTouchMode(true);
    config().setTheme(lightTheme);
    config().setShowFactor(true);
    const LogFile log;
    config().readConfigIni(path);
    QCOMPARE(config().getTheme(), darkTheme);
    QCOMPARE(config().getTouchMode(), false);
    QCOMPARE(config().getShowFactor(), false);
    config().writeConfigIni(path);
    QVERIFY(!fifo.wasOpened());
    QVERIFY(QFileInfo::exists(path) && !QFileInfo(path).isFile());
    QCOMPARE(log.leveledMessages(),
             (QStringList{"info: read config.ini", "warning: config.ini is not a regular file and is left alone",
                          "info: write config ini", "warning: config.ini is not a regular file and is left alone"}));
}

void TestAppConfig::linkToARegularFileIsRead()
{
    if (!hasFifos())
        QSKIP("QFile::link() makes a shortcut, which needs a name of its own");
    const Fixture fixture;
    write(fixture.path("settings"), "[Global]\ntouchMode=true\n");
    QVERIFY(QFile::link(fixture.path("settings"), config().configPath()));
    config().readConfigIni(config().configPath());
    QCOMPARE(config().getTouchMode(), true);
}

void TestAppConfig::unreadableFileGivesTheDefaults()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    const QString path = fixture.path("config.ini");
    write(path, "[Global]\ntouchMode=true\ntheme=lightTheme\n");
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letNobodyRead(path));
    const int code = asOrdinaryUser([&] {
        config().readConfigIni(path);
        return config().getTheme() == darkTheme && !config().getTouchMode() && !config().getShowFactor() ? 0 : 1;
    });
    QCOMPARE(code, 0);
}

void TestAppConfig::fileThatCannotBeCreatedGivesTheDefaults()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    QVERIFY(letOthersRead(fixture.dir()));
    const QString path = fixture.path("config.ini");
    const int code = asOrdinaryUser([&] {
        const LogFile log;
        config().setTheme(lightTheme);
        config().readConfigIni(path);
        if (QFileInfo::exists(path))
            return 1;
        // Nothing beyond the ordinary two lines is reported.
        if (log.leveledMessages()
            != QStringList{"info: read config.ini", "warning: config.ini donot exist, create config.ini"})
            return 2;
        config().writeConfigIni(path);
        if (QFileInfo::exists(path))
            return 3;
        return config().getTheme() == darkTheme ? 0 : 4;
    });
    QCOMPARE(code, 0);
}

void TestAppConfig::exceptionAtCreatingTheFileIsLoggedAndTheReadGoesOn()
{
    const Fixture fixture;
    config().setTouchMode(true);
    const LogFile log;
    // Qt complains of a file without a name while it opens one; a handler that throws makes that an exception.
    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &) { throw std::runtime_error("no such luck"); });
    config().readConfigIni(QString());
    qInstallMessageHandler(before);
    QCOMPARE(log.leveledMessages(),
             (QStringList{"info: read config.ini", "warning: config.ini donot exist, create config.ini",
                          "error: create config.ini failed, exception:"}));
    QCOMPARE(config().getTouchMode(), false);
    QCOMPARE(config().getTheme(), darkTheme);
}

void TestAppConfig::fieldsOfARunBeforeAreReplaced()
{
    const Fixture fixture;
    config().setTheme(lightTheme);
    config().setTouchMode(true);
    config().setShowFactor(true);
    config().readConfigIni(config().configPath());
    QCOMPARE(config().getTheme(), darkTheme);
    QCOMPARE(config().getTouchMode(), false);
    QCOMPARE(config().getShowFactor(), false);
}

void TestAppConfig::writesItsThreeKeys_data()
{
    QTest::addColumn<int>("theme");
    QTest::addColumn<bool>("touch");
    QTest::addColumn<bool>("factor");
    QTest::newRow("light, all on") << 0 << true << true;
    QTest::newRow("dark, all off") << 1 << false << false;
    QTest::newRow("dark, touch") << 1 << true << false;
}

void TestAppConfig::writesItsThreeKeys()
{
    const Fixture fixture;
    QFETCH(int, theme);
    QFETCH(bool, touch);
    QFETCH(bool, factor);
    config().setTheme(MyThemes(theme));
    config().setTouchMode(touch);
    config().setShowFactor(factor);
    const LogFile log;
    config().writeConfigIni(config().configPath());
    QCOMPARE(log.leveledMessages(), QStringList{"info: write config ini"});
    QStringList lines = QString::fromUtf8(content(config().configPath())).remove('\r').split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.takeFirst(), QStringLiteral("[Global]"));
    lines.sort();
    QCOMPARE(lines,
             (QStringList{QString("showFactor=") + (factor ? "true" : "false"),
                          QString("theme=") + (theme == 0 ? "lightTheme" : "darkTheme"),
                          QString("touchMode=") + (touch ? "true" : "false")}));
    config().setTheme(darkTheme);
    config().setTouchMode(false);
    config().setShowFactor(false);
    config().readConfigIni(config().configPath());
    QCOMPARE(int(config().getTheme()), theme);
    QCOMPARE(config().getTouchMode(), touch);
    QCOMPARE(config().getShowFactor(), factor);
}

void TestAppConfig::nextWriteSettlesTheSpelling_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("theme in another case")
        << QByteArray("theme") << QByteArray("LightTheme") << QByteArray("darkTheme");
    QTest::newRow("empty theme") << QByteArray("theme") << QByteArray() << QByteArray("darkTheme");
    QTest::newRow("light theme") << QByteArray("theme") << QByteArray("lightTheme") << QByteArray("lightTheme");
    QTest::newRow("touch mode of 1") << QByteArray("touchMode") << QByteArray("1") << QByteArray("true");
    QTest::newRow("touch mode of true") << QByteArray("touchMode") << QByteArray("true") << QByteArray("true");
    QTest::newRow("touch mode of 0") << QByteArray("touchMode") << QByteArray("0") << QByteArray("false");
}

void TestAppConfig::nextWriteSettlesTheSpelling()
{
    const Fixture fixture;
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, stored);
    QFETCH(QByteArray, written);
    write(config().configPath(), "[Global]\n" + key + '=' + stored + '\n');
    config().readConfigIni(config().configPath());
    config().writeConfigIni(config().configPath());
    const QList<QByteArray> lines = content(config().configPath()).replace('\r', "").split('\n');
    QVERIFY2(lines.contains(key + '=' + written), content(config().configPath()).constData());
}

void TestAppConfig::otherKeysOfTheFileStay()
{
    const Fixture fixture;
    write(config().configPath(), "[Global]\nmine=7\ntheme=LightTheme\n[Other]\nkey=value\n");
    config().readConfigIni(config().configPath());
    config().writeConfigIni(config().configPath());
    const QSettings settings(config().configPath(), QSettings::IniFormat);
    QCOMPARE(settings.value("Global/mine").toInt(), 7);
    QCOMPARE(settings.value("Other/key").toString(), QStringLiteral("value"));
    QCOMPARE(settings.value("Global/theme").toString(), QStringLiteral("darkTheme"));
}

void TestAppConfig::writeThatFailsIsSilent()
{
    const Fixture fixture;
    const LogFile log;
    config().writeConfigIni(fixture.path("logs/log.txt/config.ini"));
    QCOMPARE(log.leveledMessages(), QStringList{"info: write config ini"});
}

void TestAppConfig::lockOfAKilledProcessDoesNotDelayTheWrite()
{
    const Fixture fixture;
    const QString path = fixture.path("config.ini");
    write(path, "[Global]\ntheme=lightTheme\n");
    QVERIFY(QFile(path + ".lock").open(QIODevice::WriteOnly)); // just now, unlike those of write()
    config().setTheme(darkTheme);
    QElapsedTimer timer;
    timer.start();
    config().writeConfigIni(path);
    // QSettings takes a lock without a content over after 30 seconds.
    QVERIFY2(timer.elapsed() < 10'000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(content(path).contains("theme=darkTheme"));
    QVERIFY(!QFileInfo::exists(path + ".lock"));
}

void TestAppConfig::initRunsItsStepsInOrder()
{
    const Fixture fixture;
    write(config().configPath(), "[Global]\ntheme=lightTheme\n");
    clearData();
    closeLogger();
    QVERIFY(QDir(config().plotDir()).removeRecursively());
    QVERIFY(QDir("logs").removeRecursively());
    LogFile log;
    const QSignalSpy spy(&config(), &AppConfig::switchThemeSignal);
    config().init();
    QVERIFY(QFileInfo(config().plotDir()).isDir());
    QCOMPARE(log.leveledMessages(),
             (QStringList{"info: read config.ini", "info: init global data", "info: switchTheme"}));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().value<MyThemes>(), lightTheme);
    QCOMPARE(qApp->styleSheet(), styleOf(":qdarkstyle/light/lightstyle.qss"));
    QVERIFY(findGraph(QStringLiteral("横滚"))->yvalue().isEmpty());
}

void TestAppConfig::initThatFailsAtTheLogHasMadeThePlotFolderAndNoMore()
{
    const Fixture fixture;
    closeLogger();
    QVERIFY(QDir(config().plotDir()).removeRecursively());
    QVERIFY(QDir("logs").removeRecursively());
    write("logs", "a file in place of the folder");
    QVERIFY_EXCEPTION_THROWN(config().init(), spdlog::spdlog_ex);
    QVERIFY(QFileInfo(config().plotDir()).isDir());
    QVERIFY(!QFileInfo::exists(config().configPath()));
}

void TestAppConfig::shutdownRunsItsStepsInOrder()
{
    const Fixture fixture;
    config().setTheme(lightTheme);
    const LogFile log;
    config().shutdown();
    QCOMPARE(log.leveledMessages(), (QStringList{"info: write config ini", "info: clear data;", "info: close logger"}));
    QVERIFY(content(config().configPath()).contains("theme=lightTheme"));
    QVERIFY(!spdlog::get("file_logger"));
    // The fixture clears the store again at its end.
    initData();
}

void TestAppConfig::fieldsAreReadableAfterShutdown()
{
    const Fixture fixture;
    config().setTouchMode(true);
    config().shutdown();
    QCOMPARE(config().getTouchMode(), true);
    QVERIFY(config().configPath().endsWith("/config.ini"));
    QVERIFY(config().getDataPath().endsWith("/myPlot/data.txt"));
    initData();
}

void TestAppConfig::themeSlotAppliesTheStyleAndTells_data()
{
    QTest::addColumn<int>("theme");
    QTest::addColumn<QString>("path");
    QTest::newRow("light") << 0 << ":qdarkstyle/light/lightstyle.qss";
    QTest::newRow("dark") << 1 << ":qdarkstyle/dark/darkstyle.qss";
}

void TestAppConfig::themeSlotAppliesTheStyleAndTells()
{
    const Fixture fixture;
    QFETCH(int, theme);
    QFETCH(QString, path);
    qApp->setStyleSheet(QString());
    config().setTheme(theme == 0 ? darkTheme : lightTheme);
    const LogFile log;
    const QSignalSpy spy(&config(), &AppConfig::switchThemeSignal);
    QString seen;
    const auto connection
        = connect(&config(), &AppConfig::switchThemeSignal, &config(), [&] { seen = qApp->styleSheet(); });
    config().switchThemeSlot(MyThemes(theme));
    disconnect(connection);
    QCOMPARE(log.leveledMessages(), QStringList{"info: switchTheme"});
    QCOMPARE(spy.count(), 1);
    QCOMPARE(int(spy.first().first().value<MyThemes>()), theme);
    // The style is there before anybody is told.
    QVERIFY(!seen.isEmpty());
    QCOMPARE(seen, styleOf(path.toLatin1().constData()));
    // The caller stores the theme, not the slot.
    QCOMPARE(int(config().getTheme()), 1 - theme);
}

void TestAppConfig::unknownThemeAppliesNothingAndIsTold()
{
    const Fixture fixture;
    const QString style = QStringLiteral("QLabel {}");
    qApp->setStyleSheet(style);
    const LogFile log;
    const QSignalSpy spy(&config(), &AppConfig::switchThemeSignal);
    config().switchThemeSlot(MyThemes(2));
    QCOMPARE(qApp->styleSheet(), style);
    QCOMPARE(log.leveledMessages(), QStringList{"info: switchTheme"});
    QCOMPARE(spy.count(), 1);
    QCOMPARE(int(spy.first().first().value<MyThemes>()), 2);
}

void TestAppConfig::missingStyleSheetIsPrintedAndTheThemeToldAllTheSame_data()
{
    QTest::addColumn<int>("theme");
    QTest::newRow("light") << 0;
    QTest::newRow("dark") << 1;
}

void TestAppConfig::missingStyleSheetIsPrintedAndTheThemeToldAllTheSame()
{
    const Fixture fixture;
    QFETCH(int, theme);
    const QString style = "QLabel { color: red; }";
    qApp->setStyleSheet(style);
    removeStyleSheets();
    const bool missing
        = !QFile::exists(":qdarkstyle/dark/darkstyle.qss") && !QFile::exists(":qdarkstyle/light/lightstyle.qss");
    const LogFile log;
    const QSignalSpy spy(&config(), &AppConfig::switchThemeSignal);
    const QByteArray printed
        = printedBy(fixture.path("printed.txt"), [&] { config().switchThemeSlot(MyThemes(theme)); });
    const QString styleAfter = qApp->styleSheet();
    restoreStyleSheets();
    qApp->setStyleSheet(QString());
    QVERIFY(missing);
    // The loggers print on the same output; the line is a plain one among theirs.
    QVERIFY2(printed.trimmed().endsWith("Unable to set stylesheet, file not found"), printed.constData());
    QCOMPARE(log.leveledMessages(), QStringList{"info: switchTheme"});
    QCOMPARE(styleAfter, style);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(int(spy.first().first().value<MyThemes>()), theme);
}

void TestAppConfig::styleSheetsAreCompiledInWithTheirImages()
{
    const QString dark = styleOf(":qdarkstyle/dark/darkstyle.qss");
    const QString light = styleOf(":qdarkstyle/light/lightstyle.qss");
    QVERIFY(dark.size() > 1000);
    QVERIFY(light.size() > 1000);
    QVERIFY(dark != light);
    static const QRegularExpression url(R"re(url\("?([^")]+)"?\))re");
    int images = 0;
    for (const QString &sheet : {dark, light}) {
        for (auto match = url.globalMatch(sheet); match.hasNext();) {
            const QString path = match.next().captured(1);
            QVERIFY2(QFileInfo::exists(path), qPrintable(path));
            ++images;
        }
    }
    QVERIFY(images > 20);
}

QTEST_MAIN(TestAppConfig)
#include "TestAppConfig.moc"
