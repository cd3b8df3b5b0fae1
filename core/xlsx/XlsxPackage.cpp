#include "XlsxPackage.h"

#include "XlsxText.h"
#include "XlsxXmlWriter.h"

#include <QUrl>

#include <algorithm>

namespace QXlsx
{

namespace
{

constexpr quint64 kSmallestBomb = quint64(1) << 30;
constexpr quint64 kLargestFactor = 100;

// The lists of the largest workbooks have a few megabytes; they are read into memory.
constexpr quint64 kLongestList = 64 * 1024 * 1024;

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr char kMain[] = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr char kStrictMain[] = "http://purl.oclc.org/ooxml/spreadsheetml/main";
constexpr char kRelation[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr char kStrictRelation[] = "http://purl.oclc.org/ooxml/officeDocument/relationships";
constexpr char kRelations[] = "http://schemas.openxmlformats.org/package/2006/relationships";
constexpr char kSheetType[] = "application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml";
constexpr char kStylesType[] = "application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml";

QByteArray folderOf(const QByteArray &part)
{
    return part.left(part.lastIndexOf('/') + 1);
}

// The schema allows 32 bits, but the best-known spreadsheet program opens no file with a higher one.
constexpr quint32 kLastSheetId = 65534;

/** Whether the root element is in one of the namespaces. */
bool isRootIn(const XlsxXmlReader &reader, std::initializer_list<const char *> namespaces)
{
    const QString name = reader.qualifiedName().toString();
    const int colon = name.indexOf(QLatin1Char(':'));
    const QString declaration = colon < 0 ? QStringLiteral("xmlns") : QStringLiteral("xmlns:") + name.left(colon);
    const QXmlStreamAttributes attributes = reader.attributes();
    return std::any_of(namespaces.begin(), namespaces.end(),
                       [&](const char *one) { return attributes.value(declaration) == QLatin1String(one); });
}

/** The name of the part that a relation of another part points to. */
QByteArray resolve(const QByteArray &base, const QString &target)
{
    const QUrl from(QStringLiteral("x:/") + QString::fromUtf8(base));
    const QString path = from.resolved(QUrl(target)).path();
    return path.mid(1).toUtf8();
}

/**
 * Copies an XML document with changes.
 *
 * @param drop called at each start element; returns true after it has skipped the element
 * @param list name of an element; before the first of its ends beforeEnd(writer, prefix) adds content
 */
template <typename Drop, typename BeforeEnd>
QByteArray edited(const QByteArray &xml, const std::function<bool()> &cancelled, Drop drop, const char *list,
                  BeforeEnd beforeEnd)
{
    QByteArray result;
    XlsxOutput output([&result](const char *data, std::size_t size) {
        result.append(data, static_cast<int>(size));
        return true;
    });
    XlsxXmlWriter writer(output);
    XlsxXmlReader reader(xml, cancelled);
    bool done = false;
    while (reader.next()) {
        if (reader.isStartElement() && drop(reader))
            continue;
        if (!done && reader.isEndElement() && reader.localName() == QLatin1String(list)) {
            done = true;
            const QByteArray name = reader.qualifiedName().toUtf8();
            beforeEnd(writer, name.left(name.indexOf(':') + 1));
        }
        writer.copy(reader);
    }
    output.flush();
    return result;
}

} // namespace

XlsxPackage::XlsxPackage()
    : m_contentTypesPart("[Content_Types].xml")
    , m_workbookPart("xl/workbook.xml")
    , m_relationsPart("xl/_rels/workbook.xml.rels")
    , m_contentTypes(QByteArray(kDeclaration)
                     + "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                       "<Default Extension=\"rels\" "
                       "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
                       "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
                       "<Override PartName=\"/xl/workbook.xml\" "
                       "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
                       "</Types>")
    , m_workbook(QByteArray(kDeclaration) + "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" + kRelation
                 + "\"><bookViews><workbookView/></bookViews><sheets></sheets></workbook>")
    , m_relations(QByteArray(kDeclaration)
                  + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                    "</Relationships>")
    , m_mainNamespace(QLatin1String(kMain))
    , m_relationNamespace(QLatin1String(kRelation))
{
}

bool XlsxPackage::load(const QString &path, QString &reason)
{
    if (!m_zip.open(path)) {
        reason = m_zip.refusal();
        return false;
    }
    const quint64 unpacked = m_zip.unpackedSize();
    if (unpacked > kSmallestBomb && unpacked / kLargestFactor >= static_cast<quint64>(m_zip.fileSize())) {
        reason = QStringLiteral("it unpacks to %1 bytes from %2").arg(unpacked).arg(m_zip.fileSize());
        m_zip.close();
        return false;
    }
    if (!m_zip.readPart(m_zip.indexOf(m_contentTypesPart), kLongestList, m_contentTypes) || !readRelations()
        || !readWorkbook()) {
        reason = !m_zip.refusal().isEmpty() ? m_zip.refusal()
            : m_sheets.size() > kMaxSheets  ? QStringLiteral("it has more than %1 sheets").arg(kMaxSheets)
                                            : QStringLiteral("its lists of parts and sheets cannot be read");
        m_zip.close();
        return false;
    }
    return true;
}

void XlsxPackage::placeSheet(Sheet &sheet, QSet<QByteArray> &taken) const
{
    const QByteArray folder = folderOf(m_workbookPart) + "worksheets/sheet";
    for (int number = 1;; ++number) {
        sheet.part = folder + QByteArray::number(number) + ".xml";
        const QByteArray key = sheet.part.toLower();
        if (m_zip.indexOf(sheet.part) < 0 && !m_usedParts.contains(key) && !taken.contains(key))
            break;
    }
    taken.insert(sheet.part.toLower());
    for (int number = 1;; ++number) {
        sheet.relation = QStringLiteral("rId%1").arg(number);
        if (!m_usedRelations.contains(sheet.relation) && !taken.contains(sheet.relation.toLatin1()))
            break;
    }
    taken.insert(sheet.relation.toLatin1());
}

bool XlsxPackage::styles(QByteArray &xml)
{
    return !m_stylesPart.isEmpty() && m_zip.readPart(m_zip.indexOf(m_stylesPart), kLongestList, xml);
}

QByteArray XlsxPackage::contentTypes(const QVector<Sheet> &added, const QByteArray &styles,
                                     const QByteArray &dropped) const
{
    const auto drop = [&dropped](XlsxXmlReader &reader) {
        return !dropped.isEmpty() && reader.localName() == QLatin1String("Override")
            && reader.attribute(QLatin1String("PartName"))
                   .compare(QLatin1Char('/') + QString::fromUtf8(dropped), Qt::CaseInsensitive)
            == 0
            && reader.skipElement();
    };
    return edited(m_contentTypes, m_zip.cancelled(), drop, "Types",
                  [&](XlsxXmlWriter &writer, const QByteArray &prefix) {
                      const auto add = [&](const QByteArray &part, const char *type) {
                          writer.start(prefix + "Override");
                          writer.attribute("PartName", QLatin1Char('/') + QString::fromUtf8(part));
                          writer.attribute("ContentType", QLatin1String(type));
                          writer.end();
                      };
                      for (const Sheet &sheet : added)
                          add(sheet.part, kSheetType);
                      if (!styles.isEmpty())
                          add(styles, kStylesType);
                  });
}

QByteArray XlsxPackage::workbook(const QVector<Sheet> &added) const
{
    QSet<quint32> taken = m_sheetIds;
    quint32 id = m_lastSheetId;
    // The identifier after the highest; or, when that is the last possible one, the first free one.
    const auto freeId = [&taken, &id] {
        id = id < kLastSheetId ? id + 1 : 1;
        while (taken.contains(id))
            ++id;
        taken.insert(id);
        return id;
    };
    bool declared = false;
    const auto look = [&](XlsxXmlReader &reader) {
        if (reader.depth() == 1)
            declared = reader.attributes().value(QLatin1String("xmlns:r")) == m_relationNamespace;
        return false;
    };
    return edited(m_workbook, m_zip.cancelled(), look, "sheets", [&](XlsxXmlWriter &writer, const QByteArray &prefix) {
        for (const Sheet &sheet : added) {
            writer.start(prefix + "sheet");
            if (!declared)
                writer.attribute("xmlns:r", m_relationNamespace);
            writer.attribute("name", escapeCharacters(sheet.name));
            writer.attribute("sheetId", QString::number(freeId()));
            writer.attribute("r:id", sheet.relation);
            writer.end();
        }
    });
}

QByteArray XlsxPackage::relations(const QVector<Sheet> &added, const QByteArray &styles,
                                  const QByteArray &dropped) const
{
    const auto drop = [&](XlsxXmlReader &reader) {
        return !dropped.isEmpty() && reader.localName() == QLatin1String("Relationship")
            && m_targets.value(reader.attribute(QLatin1String("Id"))).second == dropped && reader.skipElement();
    };
    return edited(m_relations, m_zip.cancelled(), drop, "Relationships",
                  [&](XlsxXmlWriter &writer, const QByteArray &prefix) {
                      QSet<QString> taken;
                      const auto add = [&](const QString &id, const char *type, const QByteArray &part) {
                          writer.start(prefix + "Relationship");
                          writer.attribute("Id", id);
                          writer.attribute("Type", m_relationNamespace + QLatin1String(type));
                          writer.attribute("Target", QString::fromUtf8(part.mid(folderOf(m_workbookPart).size())));
                          writer.end();
                          taken.insert(id);
                      };
                      for (const Sheet &sheet : added)
                          add(sheet.relation, "/worksheet", sheet.part);
                      if (!styles.isEmpty())
                          add(freeRelation(taken), "/styles", styles);
                  });
}

QByteArray XlsxPackage::rootRelations()
{
    return QByteArray(kDeclaration)
        + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
          "<Relationship Id=\"rId1\" Type=\""
        + kRelation + "/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>";
}

/** Finds the workbook and what it refers to. */
bool XlsxPackage::readRelations()
{
    QByteArray root;
    if (!m_zip.readPart(m_zip.indexOf("_rels/.rels"), kLongestList, root))
        return false;
    m_workbookPart.clear();
    XlsxXmlReader reader(root, m_zip.cancelled());
    while (reader.next())
        if (reader.isStartElement() && m_workbookPart.isEmpty()
            && reader.attribute(QLatin1String("Type")).endsWith(QLatin1String("/officeDocument")))
            m_workbookPart = resolve({}, reader.attribute(QLatin1String("Target")));
    const QByteArray folder = folderOf(m_workbookPart);
    m_relationsPart = folder + "_rels/" + m_workbookPart.mid(folder.size()) + ".rels";
    if (reader.hasError() || m_zip.indexOf(m_workbookPart) < 0
        || !m_zip.readPart(m_zip.indexOf(m_relationsPart), kLongestList, m_relations))
        return false;

    XlsxXmlReader list(m_relations, m_zip.cancelled());
    while (list.next()) {
        // In another namespace the elements are no relations, and other programs would find no sheet.
        if (list.isStartElement() && list.depth() == 1 && !isRootIn(list, {kRelations}))
            return false;
        if (list.isStartElement())
            m_usedRelations.insert(list.attribute(QLatin1String("Id")));
        if (!list.isStartElement() || list.localName() != QLatin1String("Relationship"))
            continue;
        const QString type = list.attribute(QLatin1String("Type")).section(QLatin1Char('/'), -1);
        const bool external = list.attribute(QLatin1String("TargetMode")) == QLatin1String("External");
        const QByteArray part
            = external ? QByteArray() : resolve(m_workbookPart, list.attribute(QLatin1String("Target")));
        m_targets.insert(list.attribute(QLatin1String("Id")), {type, part});
        m_usedParts.insert(part.toLower());
        if (type == QLatin1String("styles"))
            m_stylesPart = part;
        else if (type == QLatin1String("sharedStrings"))
            m_sharedTextsPart = part;
        else if (type == QLatin1String("calcChain"))
            m_calcChainPart = part;
    }
    return !list.hasError();
}

bool XlsxPackage::readWorkbook()
{
    if (!m_zip.readPart(m_zip.indexOf(m_workbookPart), kLongestList, m_workbook))
        return false;
    XlsxXmlReader reader(m_workbook, m_zip.cancelled());
    QSet<int> taken;
    bool hasList = false;
    while (reader.next()) {
        if (!reader.isStartElement())
            continue;
        // An identifier without a relation is in use, too: a new sheet must not get it.
        m_usedRelations.insert(reader.attribute(QLatin1String("id")));
        if (reader.depth() == 1) {
            if (reader.localName() != QLatin1String("workbook"))
                return false;
            const QXmlStreamAttributes attributes = reader.attributes();
            const bool strict = std::any_of(attributes.begin(), attributes.end(), [](const QXmlStreamAttribute &one) {
                return one.value() == QLatin1String(kStrictMain);
            });
            m_mainNamespace = QLatin1String(strict ? kStrictMain : kMain);
            m_relationNamespace = QLatin1String(strict ? kStrictRelation : kRelation);
        } else if (reader.localName() == QLatin1String("sheets")) {
            hasList = true;
        } else if (reader.localName() == QLatin1String("workbookView")) {
            m_activeSheet = reader.attribute(QLatin1String("activeTab")).toInt();
        } else if (hasList && reader.localName() == QLatin1String("sheet")) {
            Sheet sheet;
            sheet.name = unescapeCharacters(reader.attribute(QLatin1String("name")));
            const auto target = m_targets.constFind(reader.attribute(QLatin1String("id")));
            if (target != m_targets.constEnd() && target->first == QLatin1String("worksheet")) {
                // Two sheets with the same part would overwrite each other.
                const int part = m_zip.indexOf(target->second);
                if (part >= 0 && !taken.contains(part))
                    sheet.part = target->second;
                taken.insert(part);
            }
            const quint32 id = reader.attribute(QLatin1String("sheetId")).toUInt();
            m_sheetIds.insert(id);
            m_lastSheetId = std::max(m_lastSheetId, id);
            m_sheets.append(sheet);
            if (m_sheets.size() > kMaxSheets)
                return false;
        }
    }
    return hasList && !reader.hasError();
}

QString XlsxPackage::freeRelation(const QSet<QString> &taken) const
{
    for (int number = 1;; ++number) {
        QString id = QStringLiteral("rId%1").arg(number);
        if (!m_usedRelations.contains(id) && !taken.contains(id))
            return id;
    }
}

} // namespace QXlsx
