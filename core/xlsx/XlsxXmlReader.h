#pragma once

#include <QXmlStreamReader>

#include <functional>

namespace QXlsx
{

/**
 * A reader of one part of a workbook that keeps names as they are written and gives up on what no workbook has:
 * document type declarations and nesting beyond all measure.
 */
class XlsxXmlReader : public QXmlStreamReader
{
public:
    explicit XlsxXmlReader(QIODevice *device);
    /** @param cancelled  asked now and then, a yes ends the document as damage does; may be empty */
    explicit XlsxXmlReader(const QByteArray &bytes, std::function<bool()> cancelled = {});

    /** Goes to the next token; false at the end of the document or when it is damaged. */
    bool next();

    /** The name of the element without its prefix. */
    QStringRef localName() const;

    /** Elements that are open, the current one included at its start and excluded at its end. */
    int depth() const { return m_depth; }

    /** An attribute by its name without prefix; null when there is none. */
    QString attribute(QLatin1String name) const;

    /** At a start element: goes behind its end; false when the document ends before. */
    bool skipElement();

    /** At a start element: goes to its end and gives the text in it and in its children. */
    QString text();

private:
    int m_depth = 0;
    int m_untilAsked = 0;
    std::function<bool()> m_cancelled;
};

} // namespace QXlsx
