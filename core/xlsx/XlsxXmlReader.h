#pragma once

#include <QXmlStreamReader>

#include <functional>

namespace QXlsx
{

/**
 * Reads one XML part of a workbook. Keeps prefixed names as they are, and fails on what no workbook contains: document
 * type declarations and more than 200 levels of elements.
 */
class XlsxXmlReader : public QXmlStreamReader
{
public:
    explicit XlsxXmlReader(QIODevice *device);
    /** @param cancelled called every 500 tokens; may be empty. Returning true ends the document like damage */
    explicit XlsxXmlReader(const QByteArray &bytes, std::function<bool()> cancelled = {});

    /** Goes to the next token; false at the end of the document or when it is damaged. */
    bool next();

    /** The name of the element without its prefix. */
    QStringRef localName() const;

    /** Number of open elements, including the current one at its start and excluding it at its end. */
    int depth() const { return m_depth; }

    /** An attribute by its name without prefix; a null string when there is none. */
    QString attribute(QLatin1String name) const;

    /** At a start element: goes to its end; false when the document ends before. */
    bool skipElement();

    /** At a start element: goes to its end and returns the text in it and in its children. */
    QString text();

private:
    int m_depth = 0;
    int m_untilAsked = 0;
    std::function<bool()> m_cancelled;
};

} // namespace QXlsx
