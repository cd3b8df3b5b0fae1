#pragma once

#include <QTextCodec>

/** Whether text in the locale's own codec is UTF-8. In others a damaged character may swallow a line end. */
inline bool localeIsUtf8()
{
    constexpr int kUtf8 = 106; // its number in the register of character sets
    return QTextCodec::codecForLocale()->mibEnum() == kUtf8;
}

/** A locale whose 8-bit code is not UTF-8, as those of Chinese Windows systems, for the time of a test. */
class OtherLocaleCodec
{
public:
    OtherLocaleCodec() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("GB18030")); }
    ~OtherLocaleCodec() { QTextCodec::setCodecForLocale(m_before); }
    OtherLocaleCodec(const OtherLocaleCodec &) = delete;
    OtherLocaleCodec &operator=(const OtherLocaleCodec &) = delete;

private:
    QTextCodec *m_before = QTextCodec::codecForLocale();
};
