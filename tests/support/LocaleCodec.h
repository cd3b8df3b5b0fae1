#pragma once

#include <QTextCodec>

/** Whether the locale's codec is UTF-8. In other codecs an invalid character can consume the line break after it. */
inline bool localeIsUtf8()
{
    constexpr int kUtf8 = 106; // IANA number of the character set (MIBenum)
    return QTextCodec::codecForLocale()->mibEnum() == kUtf8;
}

/** Sets the locale's codec to GB18030 during a test, as on Chinese Windows systems. */
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
