#pragma once

#include "ExportFormat.h"
#include "ReadOptions.h"

#include <QStringList>
#include <QVector>
#include <variant>

/** What a user asks for on the command line. */
struct Arguments {
    /** What is done with the logs. */
    enum class Action {
        Convert, ///< read and write
        Check, ///< read and report
        List, ///< show tasks, groups and channels
    };

    Action action = Action::Convert;
    bool json = false; ///< one object a line instead of text
    QVector<const ostravel::ExportFormat *> formats; ///< in the order asked for, each once
    QString outputFolder; ///< empty: beside the log
    bool overwrite = false;
    int jobs = 1;
    ostravel::ReadOptions read; ///< without a progress function
    QVector<ostravel::frame::ChannelId> channels; ///< empty: all
    bool labels = false;
    QStringList paths; ///< logs and folders
};

/** The command line asks for nothing to be done: help, the version, or wrong use. */
struct EarlyEnd {
    int status;
    QString text; ///< for standard output when the status is 0, else for standard error
};

/** Statuses of the process. */
namespace status
{
inline constexpr int kDone = 0; ///< all that was asked for
inline constexpr int kFailed = 1; ///< something could not be read or written, or the run was interrupted
inline constexpr int kWrongUse = 2; ///< the command line makes no sense; nothing was done
} // namespace status

/** Reads a command line. @param arguments without the program's name */
std::variant<Arguments, EarlyEnd> parseArguments(const QStringList &arguments);

/** The formats that a user can ask for, in the order of the help. */
QVector<const ostravel::ExportFormat *> convertFormats();
