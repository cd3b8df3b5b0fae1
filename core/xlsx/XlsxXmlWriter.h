#pragma once

#include "XlsxOutput.h"
#include "XlsxXmlReader.h"

#include <vector>

namespace QXlsx
{

/** Writes XML in UTF-8, most of it token by token as a reader meets it. */
class XlsxXmlWriter
{
public:
    explicit XlsxXmlWriter(XlsxOutput &output)
        : m_output(output)
    {
    }

    void declaration();
    void start(const QByteArray &name);
    void attribute(const QByteArray &name, const QString &value);
    void end();

    /** Puts bytes between the elements as they are. */
    void raw(const QByteArray &bytes);

    /** Lets the caller write content into the output itself. */
    XlsxOutput &content();

    /** Writes the reader's current token. */
    void copy(const XlsxXmlReader &reader);

    /**
     * Writes an element, from its start tag, which is the reader's current token, to its end.
     *
     * @param next goes to the reader's next token
     * @return false when next() does before the element ends
     */
    template <typename Next>
    bool copyElement(XlsxXmlReader &reader, Next next)
    {
        const int outside = reader.depth() - 1;
        copy(reader);
        while (reader.depth() > outside) {
            if (!next())
                return false;
            copy(reader);
        }
        return true;
    }
    /** The same with XlsxXmlReader::next. */
    bool copyElement(XlsxXmlReader &reader)
    {
        return copyElement(reader, [&reader] { return reader.next(); });
    }

    /** Ends elements until only the outermost count are open. */
    void endTo(std::size_t count);

private:
    void closeTag();

    XlsxOutput &m_output;
    std::vector<QByteArray> m_names;
    bool m_tagOpen = false;
};

} // namespace QXlsx
