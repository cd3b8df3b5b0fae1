#pragma once

#include <QString>

// Processes are not forked here and rights are no bits of a file: the tests that need either are skipped.

constexpr bool hasOrdinaryUser()
{
    return false;
}

inline bool letOthersRead(const QString &)
{
    return false;
}

inline bool letNobodyRead(const QString &)
{
    return false;
}

inline bool letOthersWrite(const QString &)
{
    return false;
}

inline bool letOthersAdd(const QString &)
{
    return false;
}

template <typename Action>
int asOrdinaryUser(Action)
{
    return -1;
}

inline void limitFileSize(unsigned) { }

inline qint64 peakOfMemory()
{
    return 0;
}

template <typename Action>
bool killedAtMark(Action)
{
    return false;
}
