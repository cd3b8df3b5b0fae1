#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

namespace
{

const QString kCore = QStringLiteral("ostravel_core");

// Files that may use platform macros.
const QSet<QString> kSeamFiles{"Src/MatlabPlot/MatlabLibrary_runtime.cpp"};

/** A build target. */
struct Target {
    QString name;
    QStringList sources; // relative to the project's folder
    QStringList links;
    QStringList passedOn; // public dependencies, inherited by targets that link this one
    QStringList includePath;
};

/** A path without its suffix. It identifies a unit: a header and its source. */
QString stemOf(const QString &path)
{
    return path.left(path.lastIndexOf('.'));
}

QString nameOf(const QString &path)
{
    return QFileInfo(stemOf(path)).fileName();
}

QString folderOf(const QString &path)
{
    return path.left(path.lastIndexOf('/'));
}

/** The link graph that CMake wrote. */
class LinkGraph
{
public:
    explicit LinkGraph(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            qFatal("no link graph %s", qPrintable(path));
        const QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
        for (const QString &line : lines) {
            const QStringList columns = line.split('\t');
            const auto list = [&columns](int column) { return columns.value(column).split(';', Qt::SkipEmptyParts); };
            m_targets[columns[0]] = {columns[0], list(1), list(2), list(3), list(4)};
        }
        for (const Target &target : std::as_const(m_targets)) {
            for (const QString &source : target.sources) {
                m_targetsOf[source].insert(target.name);
                m_targetsOf[stemOf(source)].insert(target.name);
                m_targetsOfFolder[folderOf(source)].insert(target.name);
                if (source.endsWith(".ui"))
                    m_dialogs.insert(nameOf(source));
            }
        }
    }

    const QMap<QString, Target> &targets() const { return m_targets; }

    /**
     * The targets of a file, usually one; empty if there is none.
     *
     * A seam's source for another platform belongs to the target of its header. Another file that is not built on this
     * platform belongs to the only target of its folder.
     */
    QSet<QString> targetsOf(const QString &path) const
    {
        const QString stem = stemOf(path);
        const QString header = stem.left(stem.lastIndexOf('_'));
        for (const QString &listed : {path, stem, header}) {
            if (m_targetsOf.contains(listed))
                return m_targetsOf[listed];
        }
        const QSet<QString> owners = m_targetsOfFolder.value(folderOf(path));
        return owners.size() == 1 ? owners : QSet<QString>();
    }

    /** The target, its dependencies, and their public dependencies. */
    QSet<QString> reach(const QString &target) const
    {
        QSet<QString> reached{target};
        QStringList open = m_targets.value(target).links;
        while (!open.isEmpty()) {
            const QString next = open.takeFirst();
            if (!reached.contains(next)) {
                reached.insert(next);
                open += m_targets.value(next).passedOn;
            }
        }
        return reached;
    }

    /** Whether a window or dialog has a .ui form. */
    bool hasForm(const QString &name) const { return m_dialogs.contains(name); }

private:
    QMap<QString, Target> m_targets;
    QMap<QString, QSet<QString>> m_targetsOf; // by path and by stem
    QMap<QString, QSet<QString>> m_targetsOfFolder;
    QSet<QString> m_dialogs;
};

const LinkGraph &graph()
{
    static const LinkGraph instance(QStringLiteral(OSTRAVEL_LINK_GRAPH));
    return instance;
}

/** All sources of the core and the program, relative to the project's folder. */
QStringList sourceFiles()
{
    const QDir project(QStringLiteral(OSTRAVEL_DIR));
    QStringList files;
    for (const char *const folder : {"core", "Src"}) {
        QDirIterator iterator(project.filePath(folder), {"*.h", "*.cpp", "*.hpp", "*.c", "*.cc", "*.inl"}, QDir::Files,
                              QDirIterator::Subdirectories);
        while (iterator.hasNext())
            files << project.relativeFilePath(iterator.next());
    }
    files.sort();
    return files;
}

/** Maps the name of each unit, as used in an include, to its stem. */
const QMap<QString, QString> &unitsByName()
{
    static const QMap<QString, QString> units = [] {
        QMap<QString, QString> result;
        for (const QString &file : sourceFiles())
            result[nameOf(file)] = stemOf(file);
        return result;
    }();
    return units;
}

/** The faults of one include in quotes. */
QStringList faultsOfInclude(const QString &path, const QString &target, const QString &included)
{
    const QString arrow = path + " includes " + included;
    QString name = nameOf(included);
    // Generated by uic or moc, so only the unit with the same name may include it.
    const bool generated = name.startsWith("ui_") || included.endsWith(".moc");
    if (name.startsWith("ui_"))
        name.remove(0, 3);
    if (!unitsByName().contains(name))
        return {arrow + ", which no target has"};
    const bool own = unitsByName()[name] == stemOf(path);
    const QSet<QString> others = graph().targetsOf(unitsByName()[name] + ".h");
    if (generated && !own)
        return {arrow + ", which is another's"};
    if (!graph().reach(target).intersects(others))
        return {arrow + " of " + others.values().join(", ") + ", which " + target + " does not link"};
    if (!own && others.contains(target) && graph().hasForm(nameOf(path)) && graph().hasForm(name))
        return {arrow + ", and no dialog knows another"};
    return {};
}

/** All faults of a file, given its path and its contents. */
QStringList faultsOf(const QString &path, const QString &source)
{
    const QSet<QString> targets = graph().targetsOf(path);
    if (targets.isEmpty())
        return {path + " belongs to no target"};

    QStringList faults;
    static const QRegularExpression include(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])",
                                            QRegularExpression::MultilineOption);
    static const QRegularExpression window("^(QtGui|QtWidgets|QtPrintSupport|spdlog)/");
    for (auto match = include.globalMatch(source); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        for (const QString &target : targets) {
            if (found.captured(1) == "\"")
                faults << faultsOfInclude(path, target, found.captured(2));
        }
        if (found.captured(1) == "<" && path.startsWith("core/") && window.match(found.captured(2)).hasMatch())
            faults << path + " includes " + found.captured(2) + ", and the core has no window and no log";
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

/** Whether a target's include path contains the folder of a header. */
bool finds(const Target &target, const QString &header)
{
    return target.includePath.contains(QStringLiteral(OSTRAVEL_DIR "/") + folderOf(header));
}

/** A header of a target on its own include path. Skips headers of forms, which include generated files. */
QString headerOf(const Target &target)
{
    for (const QString &source : target.sources) {
        if (source.endsWith(".h") && !graph().hasForm(nameOf(source)) && finds(target, source))
            return source;
    }
    return {};
}

/**
 * Headers that a target must not find: one of each target that it does not link and that is in another folder.
 */
QStringList forbiddenHeaders(const Target &target)
{
    const QSet<QString> allowed = graph().reach(target.name);
    QSet<QString> folders;
    for (const QString &name : allowed) {
        for (const QString &source : graph().targets().value(name).sources)
            folders.insert(folderOf(source));
    }
    QStringList headers;
    for (const Target &other : graph().targets()) {
        const QString header = headerOf(other);
        if (!header.isEmpty() && !allowed.contains(other.name) && !folders.contains(folderOf(header)))
            headers << QFileInfo(header).fileName();
    }
    return headers;
}

} // namespace

/** Checks the includes of the sources against the link graph of the build. */
class TestArchitecture : public QObject
{
    Q_OBJECT

private slots:
    void everyFileIncludesOnlyWhatItsTargetLinks();
    void everySourceOfTheLinkGraphExists();
    void namesAreUnique();
    void coreLinksNoGuiAndNoPartOfTheProgram();
    void faultsAreFound_data();
    void faultsAreFound();
    void forbiddenIncludeDoesNotCompile_data();
    void forbiddenIncludeDoesNotCompile();
};

void TestArchitecture::everyFileIncludesOnlyWhatItsTargetLinks()
{
    const QDir project(QStringLiteral(OSTRAVEL_DIR));
    QStringList faults;
    const QStringList files = sourceFiles();
    for (const QString &path : files) {
        QFile file(project.filePath(path));
        QVERIFY(file.open(QIODevice::ReadOnly));
        faults << faultsOf(path, QString::fromUtf8(file.readAll()));
    }
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join('\n')));
    QVERIFY(files.size() > 40);
    QVERIFY(files.contains("core/frame/FrameDecoder.cpp") && files.contains("Src/App/main.cpp"));
}

void TestArchitecture::everySourceOfTheLinkGraphExists()
{
    const QDir project(QStringLiteral(OSTRAVEL_DIR));
    int sources = 0;
    for (const Target &target : graph().targets()) {
        for (const QString &source : target.sources) {
            const bool made = !source.startsWith("core/") && !source.startsWith("Src/") && !source.startsWith("Res");
            QVERIFY2(made || project.exists(source), qPrintable(source));
            ++sources;
        }
    }
    QVERIFY(sources > 40);
}

void TestArchitecture::namesAreUnique()
{
    // Includes contain only the file name, so names must be unique.
    QMap<QString, QString> stems;
    for (const QString &file : sourceFiles()) {
        const QString stem = stems.value(nameOf(file), stemOf(file));
        QVERIFY2(stem == stemOf(file), qPrintable(file));
        stems[nameOf(file)] = stem;
    }
}

void TestArchitecture::coreLinksNoGuiAndNoPartOfTheProgram()
{
    QStringList libraries;
    int floors = 0;
    for (const Target &target : graph().targets()) {
        if (!target.name.startsWith(kCore))
            continue;
        ++floors;
        for (const QString &linked : graph().reach(target.name)) {
            if (linked.startsWith("Qt5::"))
                libraries << linked;
            else
                QVERIFY2(linked.startsWith(kCore) || !graph().targets().contains(linked),
                         qPrintable(target.name + " links " + linked));
        }
    }
    libraries.removeDuplicates();
    libraries.sort();
    QCOMPARE(libraries, QStringList({"Qt5::Core", "Qt5::Sql"}));
    QVERIFY(floors >= 5);
}

void TestArchitecture::faultsAreFound_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("count");
    QTest::newRow("downward") << "Src/Data/DataHandler.cpp"
                              << "#include \"AppConfig.h\"\n#include <QDir>\n"
                              << 0;
    QTest::newRow("own floor") << "Src/Data/DataHandler.cpp"
                               << "#include \"DataListDia.h\"\n"
                               << 0;
    QTest::newRow("own form") << "Src/UI/SettingDialog.cpp"
                              << "#include \"ui_SettingDialog.h\"\n"
                              << 0;
    QTest::newRow("upward") << "Src/Data/MyGraph.cpp"
                            << "#include \"MyGraph.h\"\n#include \"DataHandler.h\"\n"
                            << 1;
    QTest::newRow("upward with a folder") << "Src/Data/MyGraph.h"
                                          << "  #  include \"../UI/MainWindow.h\"\n"
                                          << 1;
    QTest::newRow("dialog to dialog") << "Src/UI/SettingDialog.cpp"
                                      << "#include \"SettingDialog_2.h\"\n"
                                      << 1;
    QTest::newRow("dialog to window") << "Src/UI/SettingDialog.cpp"
                                      << "#include \"MainWindow.h\"\n"
                                      << 1;
    QTest::newRow("form of another") << "Src/UI/MainWindow.cpp"
                                     << "#include \"ui_SettingDialog.h\"\n"
                                     << 1;
    QTest::newRow("program to the core") << "Src/Data/DataHandler.cpp"
                                         << "#include \"FrameDecoder.h\"\n"
                                         << 0;
    QTest::newRow("core to the program") << "core/flight/Flight.cpp"
                                         << "#include \"ChannelStore.h\"\n"
                                         << 1;
    QTest::newRow("core upward") << "core/frame/Frame.cpp"
                                 << "#include \"Flight.h\"\n"
                                 << 1;
    QTest::newRow("core downward") << "core/flight/Flight.cpp"
                                   << "#include \"Frame.h\"\n"
                                   << 0;
    QTest::newRow("core to a window") << "core/flight/Flight.cpp"
                                      << "#include <QtGui/QColor>\n#include <spdlog/spdlog.h>\n#include <QtCore/QDir>\n"
                                      << 2;
    QTest::newRow("workbook to ours") << "core/xlsx/QXlsx.cpp"
                                      << "#include \"Geodesy.h\"\n"
                                      << 1;
    QTest::newRow("workbook to the log") << "core/xlsx/QXlsx.cpp"
                                         << "#include \"XlsxText.h\"\n#include \"Logging.h\"\n"
                                         << 1;
    QTest::newRow("unplaced file") << "Src/UI/Surprise.cpp"
                                   << "" << 1;
    QTest::newRow("unplaced include") << "Src/UI/MainWindow.cpp"
                                      << "#include \"Surprise.h\"\n"
                                      << 1;
    QTest::newRow("platform") << "Src/UI/MainWindow.cpp"
                              << "#ifdef Q_OS_WIN\n#endif\n#if defined(_WIN32)\n#endif\n"
                              << 2;
    QTest::newRow("no platform") << "Src/UI/MainWindow.cpp"
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

void TestArchitecture::forbiddenIncludeDoesNotCompile_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("own");
    QTest::addColumn<QStringList>("forbidden");
    int core = 0;
    for (const Target &target : graph().targets()) {
        const QString own = QFileInfo(headerOf(target)).fileName();
        const QStringList forbidden = forbiddenHeaders(target);
        if (own.isEmpty() || forbidden.isEmpty())
            continue;
        QTest::newRow(qPrintable(target.name)) << target.name << own << forbidden;
        core += target.name.startsWith(kCore) ? 1 : 0;
    }
    QVERIFY(core >= 5);
}

void TestArchitecture::forbiddenIncludeDoesNotCompile()
{
#ifdef OSTRAVEL_COMPILER
    QFETCH(QString, target);
    QFETCH(QString, own);
    QFETCH(QStringList, forbidden);
    // The compiler must find the first header and none of the others, and stop at the last include. That header is not
    // checked with __has_include, because GCC 12 then ignores the include.
    QString source = QStringLiteral("#include \"%1\"\n").arg(own);
    for (const QString &header : forbidden.mid(1))
        source += QStringLiteral("#if __has_include(\"%1\")\n#error %1 is found\n#endif\n").arg(header);
    source += QStringLiteral("#include \"%1\"\n").arg(forbidden.first());

    const QTemporaryDir folder;
    QFile probe(folder.filePath("probe.cpp"));
    QVERIFY(probe.open(QIODevice::WriteOnly));
    probe.write(source.toUtf8());
    probe.close();
    QStringList arguments{"-std=c++17", "-fPIC", "-fsyntax-only", "-w", probe.fileName()};
    for (const QString &directory : graph().targets()[target].includePath)
        arguments << "-I" + directory;
    QProcess compiler;
    compiler.start(OSTRAVEL_COMPILER, arguments);
    QVERIFY(compiler.waitForFinished(120'000));
    const QString output = QString::fromUtf8(compiler.readAllStandardError());
    const QString name = QRegularExpression::escape(forbidden.first());
    const QRegularExpression missing("fatal error: '?" + name + "'?(: No such file| file not found)");
    QVERIFY2(compiler.exitCode() != 0 && missing.match(output).hasMatch(), qPrintable(output));
    QVERIFY2(!output.contains("is found"), qPrintable(output));
#else
    QSKIP("the compiler runs only on the build machine");
#endif
}

QTEST_GUILESS_MAIN(TestArchitecture)
#include "TestArchitecture.moc"
