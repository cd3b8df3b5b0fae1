#pragma once

#include <QString>

// Windows has neither fork() nor POSIX file permissions, so the tests that need them are skipped.

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
