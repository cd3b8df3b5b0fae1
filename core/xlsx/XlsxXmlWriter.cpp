#include "XlsxXmlWriter.h"

#include "XlsxText.h"

namespace QXlsx
{

void XlsxXmlWriter::declaration()
{
    raw("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n");
}

void XlsxXmlWriter::start(const QByteArray &name)
{
    closeTag();
    m_output.append("<", 1);
    m_output.append(name);
    m_names.push_back(name);
    m_tagOpen = true;
}

void XlsxXmlWriter::attribute(const QByteArray &name, const QString &value)
{
    m_output.append(" ", 1);
    m_output.append(name);
    m_output.append("=\"", 2);
    m_output.append(escapeMarkup(value, true));
    m_output.append("\"", 1);
}

void XlsxXmlWriter::end()
{
    if (m_tagOpen) {
        m_output.append("/>", 2);
        m_tagOpen = false;
    } else {
        m_output.append("</", 2);
        m_output.append(m_names.back());
        m_output.append(">", 1);
    }
    m_names.pop_back();
}

void XlsxXmlWriter::raw(const QByteArray &bytes)
{
    closeTag();
    m_output.append(bytes);
}

XlsxOutput &XlsxXmlWriter::content()
{
    closeTag();
    return m_output;
}

void XlsxXmlWriter::copy(const XlsxXmlReader &reader)
{
    switch (reader.tokenType()) {
    case QXmlStreamReader::StartDocument:
        declaration();
        break;
    case QXmlStreamReader::StartElement: {
        start(reader.qualifiedName().toUtf8());
        const QXmlStreamAttributes attributes = reader.attributes();
        for (const QXmlStreamAttribute &one : attributes)
            attribute(one.qualifiedName().toUtf8(), one.value().toString());
        break;
    }
    case QXmlStreamReader::EndElement:
        end();
        break;
    case QXmlStreamReader::Characters:
        raw(escapeMarkup(reader.QXmlStreamReader::text().toString(), false));
        break;
    case QXmlStreamReader::Comment:
        raw("<!--" + reader.QXmlStreamReader::text().toUtf8() + "-->");
        break;
    case QXmlStreamReader::ProcessingInstruction:
        raw("<?" + reader.processingInstructionTarget().toUtf8() + ' ' + reader.processingInstructionData().toUtf8()
            + "?>");
        break;
    default:
        break;
    }
}

void XlsxXmlWriter::endTo(std::size_t count)
{
    while (m_names.size() > count)
        end();
}

void XlsxXmlWriter::closeTag()
{
    if (m_tagOpen)
        m_output.append(">", 1);
    m_tagOpen = false;
}

} // namespace QXlsx
