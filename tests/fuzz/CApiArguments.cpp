#include "CApiArguments.h"

#include "FuzzTarget.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <climits>

void Error::check() const
{
    if (!isAsked)
        return;
    require(error.code >= OSTRAVEL_OK && error.code < OSTRAVEL_OUT_OF_MEMORY);
    require(std::memchr(error.text, 0, sizeof error.text) != nullptr);
    require((error.text[0] == '\0') == (error.code == OSTRAVEL_OK));
    const QByteArray text(error.text);
    require(QString::fromUtf8(text).toUtf8() == text);
}

namespace
{

int takeProgress(std::int64_t done, std::int64_t total, void *user)
{
    auto &progress = *static_cast<Progress *>(user);
    require(!progress.cancelled);
    require(done >= 0 && total >= 0);
    if (progress.calls == 0 && !progress.shrinks.isEmpty())
        QFile::resize(progress.shrinks, QFileInfo(progress.shrinks).size() / 2);
    // The functions keep no state, so a call in a call is allowed.
    ostravel_channel_info info{};
    require(ostravel_channel(0, &info) == OSTRAVEL_OK);
    ++progress.calls;
    progress.cancelled = progress.calls == progress.callsBeforeCancel;
    return progress.cancelled ? 0 : progress.calls;
}

constexpr std::array<int, 9> kPeriodCodes{0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x51, 0x300, -1};

void choosePeriods(Choices &choices, Options &options)
{
    const int count = choices.below(4);
    for (int i = 0; i < count; ++i) {
        const int kind = choices.below(32);
        const int code = kPeriodCodes[static_cast<std::size_t>(kind < 24 ? kind % 6 : 6 + kind % 3)];
        const int extreme = choices.below(16);
        const int ms = extreme == 0 ? 0 : extreme == 1 ? INT_MAX : extreme == 2 ? -1 : choices.word() + 1;
        options.periods.push_back({code, ms});
        options.areValid = options.areValid && kind < 24 && ms >= 1 && ms <= 86400000;
        options.core.periodsMs[static_cast<std::uint8_t>(code)] = ms;
        if (code == 0x02)
            options.core.periodsMs[0x51] = options.core.periodsMs[0x53] = ms;
    }
    options.c.periods = count > 0 ? options.periods.data() : nullptr;
    options.c.period_count = static_cast<std::size_t>(count);
    if (count == 0 && choices.below(16) == 1) {
        options.c.period_count = 1;
        options.areValid = false;
    }
}

void chooseTasks(Choices &choices, Options &options)
{
    const int count = choices.below(4);
    for (int i = 0; i < count; ++i) {
        options.tasks.push_back(static_cast<std::uint8_t>(choices.next()));
        options.core.tasks.append(options.tasks.back());
    }
    options.c.tasks = count > 0 ? options.tasks.data() : nullptr;
    options.c.task_count = static_cast<std::size_t>(count);
    if (count == 0 && choices.below(16) == 1) {
        options.c.task_count = 1;
        options.areValid = false;
    }
}

std::int64_t chooseStart(Choices &choices)
{
    // The limits of the years 1 and 9999, numbers beyond them, and an hour that a change to summer time leaves out.
    constexpr std::array<std::int64_t, 8> kOdd{INT64_MIN,      INT64_MAX,     0, -1, 1711852200LL, 253402300799LL,
                                               253402300800LL, -62135596800LL};
    const int kind = choices.below(16);
    if (kind < 8)
        return kOdd[static_cast<std::size_t>(kind)];
    // From 1970 to 2101, and the same before; by the minute.
    return (choices.word() * 1024LL + choices.next()) * 60 * (kind < 12 ? 1 : -1);
}

} // namespace

void chooseOptions(Choices &choices, Options &options, const QString &file)
{
    ostravel_read_defaults(&options.c);
    options.areGiven = choices.below(4) != 0;
    if (!options.areGiven)
        return;
    const int plane = choices.next();
    if (plane < 64) {
        options.c.plane = plane == 63 ? 256 : plane == 62 ? INT_MIN : plane % 3;
        options.areValid = plane < 62;
        options.core.planeId = static_cast<std::uint8_t>(plane % 3);
    }
    options.c.has_start = choices.below(2);
    options.c.start_seconds = options.c.has_start != 0 ? chooseStart(choices) : choices.next();
    chooseTasks(choices, options);
    choosePeriods(choices, options);
    const int kind = choices.below(8);
    if (kind < 3)
        return;
    options.c.progress = takeProgress;
    options.c.user = &options.progress;
    if (kind == 4)
        options.progress.callsBeforeCancel = 1 + choices.below(4);
    else if (kind == 5)
        options.progress.shrinks = file;
}
