#include "WkeLibrary.h"

#include <QCoreApplication>
#include <QFile>
#include <QMessageBox>
#include <dlfcn.h>
#include <sys/resource.h>

namespace
{

QString enginePath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/libostravel_web.so");
}

/**
 * Why the engine cannot work under the limits of this process, as a Chinese sentence; empty when it can.
 *
 * The process of its pages reserves address space: the map appeared with 12 GB, and with 8 GB it stayed empty for ever
 * without a word. The library is not even loaded then, because it would take space that the user's flight needs.
 */
QString lowLimit()
{
    constexpr rlim_t kGigabyte = rlim_t{1} << 30;
    constexpr rlim_t kMegabyte = rlim_t{1} << 20;
    constexpr rlim_t kMinSpace = 12 * kGigabyte;
    rlimit space{RLIM_INFINITY, RLIM_INFINITY}; // larger than any limit
    getrlimit(RLIMIT_AS, &space);
    if (space.rlim_cur >= kMinSpace)
        return {};
    return QStringLiteral("网页引擎至少需要 %1 GB 地址空间，而本进程限于 %2 MB（ulimit -v）。")
        .arg(kMinSpace / kGigabyte)
        .arg(space.rlim_cur / kMegabyte);
}

/**
 * Suppresses a warning that Qt's web engine prints when it is loaded late: it wants shared OpenGL contexts, which must
 * be requested before the application object exists. Our engine uses software rendering, which does not need them.
 */
class NoSharingHint
{
public:
    NoSharingHint() { s_before = qInstallMessageHandler(handle); }
    ~NoSharingHint() { qInstallMessageHandler(s_before); }
    NoSharingHint(const NoSharingHint &) = delete;
    NoSharingHint &operator=(const NoSharingHint &) = delete;

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (message.startsWith(QLatin1String("Qt WebEngine seems to be initialized from a plugin.")))
            return;
        if (s_before)
            s_before(type, context, message);
    }

    static QtMessageHandler s_before;
};

QtMessageHandler NoSharingHint::s_before = nullptr;

} // namespace

// The caller passes the name of the Windows library. Here our own library beside the executable is loaded instead. It
// is loaded only when a map is opened: linked to the program, it would add 0.15 s to every start.
void *wkelibrary::load(const wchar_t *)
{
    if (!lowLimit().isEmpty())
        return nullptr;
    const NoSharingHint quiet;
    return dlopen(QFile::encodeName(enginePath()).constData(), RTLD_NOW | RTLD_NODELETE);
}

wkelibrary::Symbol wkelibrary::symbol(void *handle, const char *name)
{
    return reinterpret_cast<Symbol>(dlsym(handle, name));
}

void wkelibrary::reportMissing(const char *text, const char *caption)
{
    QMessageBox(QMessageBox::NoIcon, QString::fromLatin1(caption), QString::fromLatin1(text), QMessageBox::Ok).exec();
}

QString wkelibrary::whatIsMissing()
{
    if (!QFile::exists(enginePath()))
        return QStringLiteral("程序目录下缺少网页引擎 libostravel_web.so，请安装 qtwebengine5-dev 后重新构建程序。");
    QString limit = lowLimit();
    if (!limit.isEmpty())
        return limit;
    const char *const why = dlerror();
    return QStringLiteral("网页引擎 libostravel_web.so 加载失败：%1。").arg(QString::fromLocal8Bit(why ? why : "?"));
}
