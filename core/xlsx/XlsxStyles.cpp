#include "XlsxStyles.h"

#include "XlsxXmlWriter.h"

namespace QXlsx
{

namespace
{

constexpr std::array kSectionNames{"fonts", "fills", "borders", "cellXfs"};

/** The children of a style sheet in the order of the file format's schema. */
constexpr std::array kOrder{"numFmts",    "fonts", "fills",       "borders", "cellStyleXfs", "cellXfs",
                            "cellStyles", "dxfs",  "tableStyles", "colors",  "extLst"};

constexpr std::array kSectionOrder{1, 2, 3, 5}; // of the sections in kOrder

constexpr std::array kBorderNames{"none", "thin", "medium", "dashed", "dotted", "thick", "double"};
constexpr std::array kAlignmentNames{"general", "left", "center", "right"};

int orderOf(const QStringRef &name)
{
    for (std::size_t i = 0; i < kOrder.size(); ++i)
        if (name == QLatin1String(kOrder[i]))
            return static_cast<int>(i);
    return -1;
}

int sectionOf(const QStringRef &name)
{
    for (std::size_t i = 0; i < kSectionNames.size(); ++i)
        if (name == QLatin1String(kSectionNames[i]))
            return static_cast<int>(i);
    return -1;
}

QByteArray argb(const QXlsx::Color &color)
{
    return QByteArray::number(color.rgb() | 0xff000000U, 16).toUpper();
}

} // namespace

QByteArray XlsxStyles::plain()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
           "<fonts count=\"1\"><font><sz val=\"11\"/><name val=\"Calibri\"/><family val=\"2\"/></font></fonts>"
           "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
           "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
           "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
           "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>"
           "<cellXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/></cellXfs>"
           "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
           "</styleSheet>";
}

XlsxStyles::XlsxStyles(const QByteArray &xml, const std::function<bool()> &cancelled)
    : m_xml(xml)
    , m_cancelled(cancelled)
{
    XlsxXmlReader reader(xml, cancelled);
    while (reader.next()) {
        if (!reader.isStartElement())
            continue;
        if (reader.depth() == 1) {
            if (reader.localName() != QLatin1String("styleSheet"))
                return;
            const QByteArray name = reader.qualifiedName().toUtf8();
            m_prefix = name.left(name.indexOf(':') + 1);
            continue;
        }
        const int section = sectionOf(reader.localName());
        if (section < 0 || m_sections[static_cast<std::size_t>(section)].found) {
            if (!reader.skipElement())
                return;
            continue;
        }
        Section &known = m_sections[static_cast<std::size_t>(section)];
        known.found = true;
        while (reader.next() && !(reader.isEndElement() && reader.depth() == 1)) {
            if (!reader.isStartElement())
                continue;
            QByteArray entry;
            XlsxOutput output([&entry](const char *data, std::size_t size) {
                entry.append(data, static_cast<int>(size));
                return true;
            });
            XlsxXmlWriter writer(output);
            if (!writer.copyElement(reader))
                return;
            output.flush();
            if (!known.places.contains(entry))
                known.places.insert(entry, known.count);
            ++known.count;
        }
    }
    m_valid = !reader.hasError() && reader.tokenType() == QXmlStreamReader::EndDocument;

    // A missing section first gets the entry of cells without a format.
    const QByteArray open = '<' + m_prefix;
    const auto put = [this](int section, const QByteArray &entry) {
        if (m_sections[static_cast<std::size_t>(section)].count == 0)
            place(section, entry);
    };
    put(Fonts, open + "font/>");
    const bool noFills = m_sections[Fills].count == 0;
    put(Fills, open + "fill>" + open + "patternFill patternType=\"none\"/></" + m_prefix + "fill>");
    if (noFills)
        place(Fills, open + "fill>" + open + "patternFill patternType=\"gray125\"/></" + m_prefix + "fill>");
    put(Borders, open + "border/>");
    put(CellXfs, open + "xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/>");
    m_changed = false;
}

int XlsxStyles::index(const Format &format)
{
    if (!m_valid)
        return -1;
    const QByteArray open = '<' + m_prefix;
    const QByteArray close = "</" + m_prefix;

    int font = 0;
    if (format.fontColor().isValid() || format.fontSize() > 0) {
        QByteArray entry = open + "font>" + open + "sz val=\""
            + QByteArray::number(format.fontSize() > 0 ? format.fontSize() : 11) + "\"/>";
        if (format.fontColor().isValid())
            entry += open + "color rgb=\"" + argb(format.fontColor()) + "\"/>";
        entry += open + "name val=\"Calibri\"/>" + open + "family val=\"2\"/>" + close + "font>";
        font = place(Fonts, entry);
    }

    int fill = 0;
    if (format.fillPattern() == Format::PatternSolid) {
        QByteArray entry = open + "fill>" + open + "patternFill patternType=\"solid\">";
        // The colour of a solid fill is what the file format calls the foreground.
        if (format.patternBackgroundColor().isValid())
            entry += open + "fgColor rgb=\"" + argb(format.patternBackgroundColor()) + "\"/>";
        entry += open + "bgColor indexed=\"64\"/>" + close + "patternFill>" + close + "fill>";
        fill = place(Fills, entry);
    }

    int border = 0;
    if (format.borderStyle() != Format::BorderNone) {
        QByteArray entry = open + "border>";
        for (const char *side : {"left", "right", "top", "bottom"})
            entry += open + side + " style=\"" + kBorderNames[static_cast<std::size_t>(format.borderStyle())] + "\">"
                + open + "color auto=\"1\"/>" + close + side + '>';
        entry += open + "diagonal/>" + close + "border>";
        border = place(Borders, entry);
    }

    QByteArray xf = open + "xf numFmtId=\"0\" fontId=\"" + QByteArray::number(font) + "\" fillId=\""
        + QByteArray::number(fill) + "\" borderId=\"" + QByteArray::number(border) + "\" xfId=\"0\"";
    if (font > 0)
        xf += " applyFont=\"1\"";
    if (fill > 0)
        xf += " applyFill=\"1\"";
    if (border > 0)
        xf += " applyBorder=\"1\"";
    if (format.horizontalAlignment() != Format::AlignHGeneral)
        xf += " applyAlignment=\"1\">" + open + "alignment horizontal=\""
            + kAlignmentNames[static_cast<std::size_t>(format.horizontalAlignment())] + "\"/>" + close + "xf>";
    else
        xf += "/>";
    return place(CellXfs, xf);
}

QByteArray XlsxStyles::xml() const
{
    if (!m_changed)
        return m_xml;
    QByteArray result;
    XlsxOutput output([&result](const char *data, std::size_t size) {
        result.append(data, static_cast<int>(size));
        return true;
    });
    XlsxXmlWriter writer(output);
    auto writeMissing = [this, &writer, done = 0](int order) mutable {
        for (; done < kSections && kSectionOrder[static_cast<std::size_t>(done)] < order; ++done) {
            const Section &section = m_sections[static_cast<std::size_t>(done)];
            if (section.found || section.added.isEmpty())
                continue;
            writer.start(m_prefix + kSectionNames[static_cast<std::size_t>(done)]);
            writer.attribute("count", QString::number(section.count));
            for (const QByteArray &entry : section.added)
                writer.raw(entry);
            writer.end();
        }
    };

    XlsxXmlReader reader(m_xml, m_cancelled);
    std::array<bool, kSections> met{};
    int open = -1;
    while (reader.next()) {
        if (reader.isStartElement() && reader.depth() == 2) {
            writeMissing(orderOf(reader.localName()));
            const int section = sectionOf(reader.localName());
            if (section >= 0 && !met[static_cast<std::size_t>(section)]) {
                met[static_cast<std::size_t>(section)] = true;
                open = section;
                writer.start(reader.qualifiedName().toUtf8());
                const QXmlStreamAttributes attributes = reader.attributes();
                for (const QXmlStreamAttribute &one : attributes)
                    if (one.qualifiedName() != QLatin1String("count"))
                        writer.attribute(one.qualifiedName().toUtf8(), one.value().toString());
                writer.attribute("count", QString::number(m_sections[static_cast<std::size_t>(section)].count));
                continue;
            }
        } else if (reader.isEndElement() && reader.depth() == 1 && open >= 0) {
            for (const QByteArray &entry : m_sections[static_cast<std::size_t>(open)].added)
                writer.raw(entry);
            open = -1;
        } else if (reader.isEndElement() && reader.depth() == 0) {
            writeMissing(static_cast<int>(kOrder.size()));
        }
        writer.copy(reader);
    }
    output.flush();
    return result;
}

int XlsxStyles::place(int section, const QByteArray &entry)
{
    Section &entries = m_sections[static_cast<std::size_t>(section)];
    const auto known = entries.places.constFind(entry);
    if (known != entries.places.constEnd())
        return *known;
    entries.places.insert(entry, entries.count);
    entries.added.append(entry);
    m_changed = true;
    return entries.count++;
}

} // namespace QXlsx
