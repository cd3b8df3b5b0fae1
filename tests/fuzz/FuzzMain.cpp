// Sets up the environment of a fuzz target for libFuzzer, like the test program for a replay.

#include <QApplication>

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Not destroyed: at exit the database connections that it closes may be gone already.
    static const auto *const application = new QApplication(*argc, *argv);
    Q_UNUSED(application)
    // Messages are formatted, which is part of the tested code, but not stored.
    spdlog::set_default_logger(spdlog::null_logger_mt("fuzz"));
    return 0;
}
