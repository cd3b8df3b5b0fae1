#include "Fixture.h"
#include "LogFile.h"
#include "MapWidget.h"
#include "WkeApi.h"

#include <QLabel>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <windows.h>

namespace
{

const QStringList kAfterTheStart{"wkeCreateWebWindow", "wkeShowWindow", "wkeLoadURL", "wkeResize",
                                 "wkeMoveWindow",      "wkeRunJS",      "wkeFinalize"};

/** Presses OK in the system's message boxes with the given captions, in turn, while it lives. */
class BoxAnswer
{
public:
    explicit BoxAnswer(const QStringList &captions)
        : m_captions(captions)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        m_timer.start(20);
    }

    /** The texts of the boxes, in their order. */
    QStringList texts() const { return m_texts; }

private:
    void look()
    {
        if (m_texts.size() == m_captions.size())
            return;
        const HWND box = FindWindowA("#32770", m_captions.at(m_texts.size()).toLatin1().constData());
        if (!box)
            return;
        QString text;
        for (HWND child = FindWindowExA(box, nullptr, "Static", nullptr); child;
             child = FindWindowExA(box, child, "Static", nullptr)) {
            char line[200] = "";
            GetWindowTextA(child, line, sizeof line);
            text += QString::fromLatin1(line);
        }
        m_texts.append(text);
        SendMessageA(box, WM_COMMAND, IDOK, 0);
    }

    QStringList m_captions;
    QStringList m_texts;
    QTimer m_timer;
};

QByteArrayList record()
{
    QFile file("engine.txt");
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n') : QByteArrayList();
}

std::wstring engine(const char *name)
{
    return (QStringLiteral(ENGINES) + QLatin1Char('/') + name + QStringLiteral("/node.dll")).toStdWString();
}

} // namespace

/** The map over the library that Windows users have: loaded by its path, with the system's own boxes. */
class TestWkeWindows : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<Fixture>();
        wkeDllHandle = nullptr;
    }
    void cleanup() { m_fixture.reset(); }

    void absentLibraryIsToldInTheMapAreaWithoutABox();
    void completeLibraryTakesEveryCall();
    void missingNamesGetABoxEach_data();
    void missingNamesGetABoxEach();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestWkeWindows::absentLibraryIsToldInTheMapAreaWithoutABox()
{
    const LogFile log;
    wkeDllPath = L"node.dll";
    QCOMPARE(loadWkeApi(nullptr), 0);
    QCOMPARE(GetLastError(), DWORD(ERROR_MOD_NOT_FOUND));
    QWidget parent;
    wke.wkeCreateWebWindow(kWkeWindowTypeControl, reinterpret_cast<WkeWindow>(parent.winId()), 0, 0, 50, 60);
    auto *const label = parent.findChild<QLabel *>();
    QVERIFY(label);
    QVERIFY2(label->text().startsWith("无法显示地图：程序目录下缺少网页引擎 node.dll"), qPrintable(label->text()));
    QVERIFY(log.leveledMessages().first().startsWith("error: web engine not loaded: "));
}

void TestWkeWindows::completeLibraryTakesEveryCall()
{
    const std::wstring path = engine("complete");
    wkeDllPath = path.c_str();
    QCOMPARE(loadWkeApi(nullptr), 1);
    QWidget parent;
    const WkeWebView view
        = wke.wkeCreateWebWindow(kWkeWindowTypeControl, reinterpret_cast<WkeWindow>(parent.winId()), 1, 2, 30, 40);
    wke.wkeShowWindow(view, true);
    wke.wkeLoadURL(view, "http://127.0.0.1/航迹");
    wke.wkeResize(view, 50, 60);
    wke.wkeMoveWindow(view, 3, 4, 50, 60);
    QCOMPARE(wke.wkeRunJS(view, "f(\"航迹\");"), 0LL);
    wke.wkeFinalize();
    QCOMPARE(record(),
             (QByteArrayList{"initialize nothing", "create control 1 2 30 40", "show 1", "load http://127.0.0.1/航迹",
                             "resize 50 60", "move 3 4 50 60", "run f(\"航迹\");", "finalize"}));
}

void TestWkeWindows::missingNamesGetABoxEach_data()
{
    QTest::addColumn<QByteArray>("library");
    QTest::addColumn<QStringList>("missing");
    QTest::newRow("one that only starts") << QByteArray("starting") << kAfterTheStart;
    QTest::newRow("one that starts and makes windows") << QByteArray("window") << QStringList(kAfterTheStart.mid(1));
}

void TestWkeWindows::missingNamesGetABoxEach()
{
    QFETCH(QByteArray, library);
    QFETCH(QStringList, missing);
    const std::wstring path = engine(library.constData());
    wkeDllPath = path.c_str();
    const BoxAnswer answer(missing);
    QCOMPARE(loadWkeApi(nullptr), 1);
    QStringList texts;
    for (int i = 0; i < missing.size(); ++i)
        texts.append("wke api not found");
    QCOMPARE(answer.texts(), texts);
}

QTEST_MAIN(TestWkeWindows)
#include "TestWkeWindows.moc"
