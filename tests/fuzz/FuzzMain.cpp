// What stands around a fuzz target when libFuzzer runs it, as the test program does at a replay.

#include <QApplication>

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication application(*argc, *argv);
    // Messages are still made, which is part of what the bytes lead to, but millions of them are not kept.
    spdlog::set_default_logger(spdlog::null_logger_mt("fuzz"));
    return 0;
}
