#include "Fixture.h"
#include "LogFile.h"
#include "MapWidget.h"
#include "WkeApi.h"

#include <QLabel>
#include <QTest>
#include <QWidget>

#include <atomic>
#include <thread>

#include <windows.h>

namespace
{

const QStringList kAfterTheStart{"wkeCreateWebWindow", "wkeShowWindow", "wkeLoadURL", "wkeResize",
                                 "wkeMoveWindow",      "wkeRunJS",      "wkeFinalize"};

constexpr int kIdOfText = 0xFFFF; // the control of a message box that holds its text

/**
 * Presses OK in the system's message boxes of the thread that made it, while it lives. It looks from a thread of its
 * own: a box runs its own loop, and nothing but windows' messages is served in there.
 */
class BoxAnswer
{
public:
    BoxAnswer()
        : m_asked(GetCurrentThreadId())
        , m_thread([this] { look(); })
    {
    }

    ~BoxAnswer() { stop(); }
    Q_DISABLE_COPY_MOVE(BoxAnswer)

    /** "caption: text" of each box so far, in their order. No box is answered afterwards. */
    QStringList boxes()
    {
        stop();
        return m_boxes;
    }

private:
    void stop()
    {
        m_stopped = true;
        if (m_thread.joinable())
            m_thread.join();
    }

    void look()
    {
        for (; !m_stopped; Sleep(5)) {
            HWND box = nullptr;
            EnumThreadWindows(m_asked, &BoxAnswer::takeBox, reinterpret_cast<LPARAM>(&box));
            const HWND button = box ? FindWindowExA(box, nullptr, "Button", nullptr) : nullptr;
            if (!button)
                continue;
            m_boxes.append(textOf(box) + QStringLiteral(": ") + textOf(GetDlgItem(box, kIdOfText)));
            // Not always IDOK: a lone button may answer the escape key, too.
            SendMessageA(box, WM_COMMAND, static_cast<WPARAM>(GetDlgCtrlID(button)), 0);
            while (IsWindow(box) && !m_stopped)
                Sleep(5);
        }
    }

    static BOOL CALLBACK takeBox(HWND window, LPARAM found)
    {
        char name[16] = "";
        GetClassNameA(window, name, sizeof name);
        if (qstrcmp(name, "#32770") != 0 || !IsWindowVisible(window))
            return TRUE;
        *reinterpret_cast<HWND *>(found) = window;
        return FALSE;
    }

    static QString textOf(HWND window)
    {
        char text[200] = "";
        SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
        return QString::fromLatin1(text);
    }

    const DWORD m_asked;
    QStringList m_boxes;
    std::atomic_bool m_stopped{false};
    std::thread m_thread;
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

    void missingLibraryIsShownInTheMapAreaWithoutAMessageBox();
    void completeLibraryReceivesEveryCall();
    void eachMissingFunctionIsReportedInAMessageBox_data();
    void eachMissingFunctionIsReportedInAMessageBox();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestWkeWindows::missingLibraryIsShownInTheMapAreaWithoutAMessageBox()
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

void TestWkeWindows::completeLibraryReceivesEveryCall()
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

void TestWkeWindows::eachMissingFunctionIsReportedInAMessageBox_data()
{
    QTest::addColumn<QByteArray>("library");
    QTest::addColumn<QStringList>("missing");
    QTest::newRow("one that only starts") << QByteArray("starting") << kAfterTheStart;
    QTest::newRow("one that starts and makes windows") << QByteArray("window") << QStringList(kAfterTheStart.mid(1));
}

void TestWkeWindows::eachMissingFunctionIsReportedInAMessageBox()
{
    QFETCH(QByteArray, library);
    QFETCH(QStringList, missing);
    const std::wstring path = engine(library.constData());
    wkeDllPath = path.c_str();
    BoxAnswer answer;
    QCOMPARE(loadWkeApi(nullptr), 1);
    QStringList boxes;
    for (const QString &name : qAsConst(missing))
        boxes.append(name + ": wke api not found");
    QCOMPARE(answer.boxes(), boxes);
}

QTEST_MAIN(TestWkeWindows)
#include "TestWkeWindows.moc"
