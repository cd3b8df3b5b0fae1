#include "IniText.h"

#include <string_view>
#include <utility>

namespace
{

bool endsLine(char c)
{
    return c == '\n' || c == '\r';
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

/** Walks through the bytes of an INI file once. */
class IniTextReader
{
public:
    explicit IniTextReader(const QByteArray &ini)
        : m_ini(ini)
    {
        m_text.reserve(ini.size());
    }

    QString read()
    {
        while (!atEnd()) {
            const char c = m_ini.at(m_at++);
            if (c == '"')
                skipBlanks();
            else if (c == '\\' && !atEnd())
                readEscape();
            else
                m_text += QLatin1Char(c);
        }
        return std::move(m_text);
    }

private:
    bool atEnd() const { return m_at == m_ini.size(); }

    void skipBlanks()
    {
        while (!atEnd() && isBlank(m_ini.at(m_at)))
            ++m_at;
    }

    void readEscape()
    {
        constexpr std::string_view kSimpleEscapes = "abfnrtv\"?'\\";
        const char kind = m_ini.at(m_at);
        if (kind >= '0' && kind <= '7') {
            readNumber(8);
            return;
        }
        ++m_at;
        if (kSimpleEscapes.find(kind) != std::string_view::npos)
            m_text += QLatin1Char('?');
        else if (kind == 'x')
            readNumber(16);
        else if (endsLine(kind) && !atEnd() && endsLine(m_ini.at(m_at)) && m_ini.at(m_at) != kind)
            ++m_at; // the second character of a line end
    }

    /** Appends the character of this number; nothing without a digit. */
    void readNumber(int base)
    {
        const int first = m_at;
        uint value = 0;
        for (bool isDigit = true; !atEnd(); ++m_at) {
            const uint digit = m_ini.mid(m_at, 1).toUInt(&isDigit, base);
            if (!isDigit)
                break;
            value = value * static_cast<uint>(base) + digit;
        }
        if (m_at > first)
            m_text += QChar(static_cast<ushort>(value));
    }

    const QByteArray &m_ini;
    int m_at = 0;
    QString m_text;
};

} // namespace

QString iniText(const QByteArray &ini)
{
    return IniTextReader(ini).read();
}
