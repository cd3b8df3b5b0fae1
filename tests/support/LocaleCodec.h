#pragma once

#include <QTextCodec>

/** Whether text in the locale's own codec is UTF-8. In others a damaged character may swallow a line end. */
inline bool localeIsUtf8()
{
    constexpr int kUtf8 = 106; // its number in the register of character sets
    return QTextCodec::codecForLocale()->mibEnum() == kUtf8;
}
