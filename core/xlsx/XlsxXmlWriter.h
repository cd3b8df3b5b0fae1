#pragma once

#include "XlsxOutput.h"
#include "XlsxXmlReader.h"

#include <vector>

namespace QXlsx
{

/** Writes XML in UTF-8: elements and attributes, or the tokens of a reader. */
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

    /** Writes bytes as they are, after ending an open start tag. */
    void raw(const QByteArray &bytes);

    /** Ends an open start tag. @return the output, for content that the caller writes */
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
