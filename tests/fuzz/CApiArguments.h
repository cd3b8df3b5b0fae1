#pragma once

#include "Choices.h"
#include "ReadOptions.h"
#include "ostravel.h"

#include <QByteArray>
#include <QString>

#include <cstring>
#include <vector>

/** A text for a C function, which may be null. */
struct Text {
    QByteArray bytes;
    bool isNull = false;
    const char *get() const { return isNull ? nullptr : bytes.constData(); }
    bool isUtf8() const { return QString::fromUtf8(bytes).toUtf8() == bytes; }
};

/** An error that is filled with rubbish, so that a call which leaves it as it is does not go unnoticed. */
struct Error {
    explicit Error(Choices &choices)
        : isAsked(choices.below(8) != 0)
        , error()
    {
        std::memset(&error, 0xA5, sizeof error);
    }

    ostravel_error *get() { return isAsked ? &error : nullptr; }

    /** Aborts the program unless the error has a code and one sentence. */
    void check() const;

    bool isAsked;
    ostravel_error error;
};

/** The user value of the progress function. */
struct Progress {
    int callsBeforeCancel = 0; // 0: never
    int calls = 0;
    bool cancelled = false;
    QString shrinks; // a file that is cut by the first call; empty for none
};

/** Options of a read, and what is known about them. */
struct Options {
    ostravel_read_options c{};
    ostravel::ReadOptions core;
    std::vector<std::uint8_t> tasks;
    std::vector<ostravel_period> periods;
    Progress progress;
    bool areGiven = false;
    bool areValid = true;
};

/** Chooses options inside and outside their ranges. @param file what a progress function may make shorter */
void chooseOptions(Choices &choices, Options &options, const QString &file);
