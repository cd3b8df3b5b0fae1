#pragma once

/**
 * @file
 * The log statement of the program, and its two loggers.
 */

#include <QString>
#include <memory>
#include <string>

#include <spdlog/spdlog.h>

/// @cond
/** Allows QString arguments in log statements. */
template <>
struct fmt::formatter<QString> : fmt::formatter<fmt::string_view> {
    template <typename FormatContext>
    auto format(const QString &text, FormatContext &context) const
    {
        const QByteArray utf8 = text.toUtf8();
        return fmt::formatter<fmt::string_view>::format(
            fmt::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())), context);
    }
};
/// @endcond

/** The implementation of the log statement. */
namespace logging
{

/** A level word of the log statement. */
///@{
inline constexpr auto info = spdlog::level::info;
inline constexpr auto warn = spdlog::level::warn;
inline constexpr auto error = spdlog::level::err;
///@}

/** Name of a logger in the library's registry. */
///@{
inline constexpr char kFileLogger[] = "file_logger";
inline constexpr char kConsoleLogger[] = "console";
///@}

/**
 * Writes one message through the default logger and then through the file logger.
 *
 * Keeps each logger alive while it writes, and skips a logger that is closed already: a worker thread may still log
 * after the logging has ended. Safe from any thread.
 */
template <typename... Args>
void write(const spdlog::source_loc &where, spdlog::level::level_enum level, fmt::format_string<Args...> format,
           Args &&...args)
{
    if (const std::shared_ptr<spdlog::logger> console = spdlog::default_logger())
        console->log(where, level, format, args...);
    if (const std::shared_ptr<spdlog::logger> file = spdlog::get(kFileLogger))
        file->log(where, level, format, args...);
}

} // namespace logging

/**
 * The project's log statement: logToBoth(info, "read {} frames", count) with the level info, warn or error.
 *
 * It is a macro to pass the file, line and function of the calling statement.
 */
#define logToBoth(level, ...)                                                                                          \
    logging::write(spdlog::source_loc{__FILE__, __LINE__, SPDLOG_FUNCTION}, logging::level, __VA_ARGS__)

/**
 * Builds the rotating file logger on "logs/log.txt" under the working directory and the console logger, which becomes
 * spdlog's default logger, and starts the periodic flush.
 *
 * Throws spdlog::spdlog_ex when the log file cannot be opened.
 */
void openLogger();

/** Logs "close logger" and drops every logger, so that the log file is closed. */
void closeLogger();

/** Error handler of all loggers: reports a failure of the logging itself on the console. */
void logLoggerError(const std::string &message);
