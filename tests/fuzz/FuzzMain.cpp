// Sets up the environment of a fuzz target for libFuzzer, like the test program for a replay.

#include <QApplication>

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication application(*argc, *argv);
    // Messages are formatted, which is part of the tested code, but not stored.
    spdlog::set_default_logger(spdlog::null_logger_mt("fuzz"));
    return 0;
}
