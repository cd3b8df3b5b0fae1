#include "Logging.h"

#include <chrono>

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>

namespace
{

constexpr char kLogFile[] = "logs/log.txt";
constexpr char kFilePattern[] = "[%Y-%m-%d %H:%M:%S.%e] [%l] [%s %#] <%!> %v";
constexpr std::size_t kMaxFileBytes = 5 * 1024 * 1024;
constexpr std::size_t kRotatedFiles = 3;
constexpr std::chrono::seconds kFlushPeriod{3};

} // namespace

void openLogger()
{
    const auto file = spdlog::rotating_logger_mt(logging::kFileLogger, kLogFile, kMaxFileBytes, kRotatedFiles);
    file->set_level(spdlog::level::trace);
    file->flush_on(spdlog::level::warn);
    file->set_pattern(kFilePattern);
    spdlog::flush_every(kFlushPeriod);

    const auto console = spdlog::stdout_color_mt(logging::kConsoleLogger);
    console->set_level(spdlog::level::trace);
    spdlog::set_default_logger(console);
    // Also sets the level of the two loggers above.
    spdlog::set_level(spdlog::level::debug);
    spdlog::set_error_handler(logLoggerError);
}

void closeLogger()
{
    logToBoth(info, "close logger");
    spdlog::drop_all();
}

void logLoggerError(const std::string &message)
{
    if (const std::shared_ptr<spdlog::logger> console = spdlog::get(logging::kConsoleLogger))
        console->error("*** LOGGER ERROR ***: {}", message);
}
