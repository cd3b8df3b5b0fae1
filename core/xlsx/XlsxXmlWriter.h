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

    /** Writes an element from its start, the current token, to its end; false when the document ends before. */
    bool copyElement(XlsxXmlReader &reader);

    /** Ends elements until so many are open. */
    void endTo(std::size_t depth);
    std::size_t depth() const { return m_names.size(); }

private:
    void closeTag();

    XlsxOutput &m_output;
    std::vector<QByteArray> m_names;
    bool m_tagOpen = false;
};

} // namespace QXlsx
