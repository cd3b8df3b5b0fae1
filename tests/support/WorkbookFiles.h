#pragma once

#include "XlsxZipReader.h"
#include "XlsxZipWriter.h"

#include <QFile>
#include <QMap>
#include <QVector>

using Parts = QVector<QPair<QByteArray, QByteArray>>;

inline bool writeParts(const QString &path, const Parts &parts)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QXlsx::XlsxZipWriter zip(file);
    for (const auto &[name, bytes] : parts)
        if (!zip.add(name, bytes))
            return false;
    return zip.finish();
}

inline QMap<QByteArray, QByteArray> readParts(const QString &path)
{
    QMap<QByteArray, QByteArray> parts;
    QXlsx::XlsxZipReader zip;
    if (zip.open(path))
        for (int i = 0; i < static_cast<int>(zip.entries().size()); ++i) {
            QByteArray bytes;
            if (!zip.readPart(i, ~quint64(0), bytes))
                bytes = "damaged";
            parts.insert(zip.entries()[static_cast<std::size_t>(i)].name, bytes);
        }
    return parts;
}

inline QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

/** A workbook as other programs write it: the first sheet has the given XML, the second stays unchanged. */
inline Parts foreignWorkbook(const QByteArray &sheet)
{
    const QByteArray declaration("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    const QByteArray office("http://schemas.openxmlformats.org/officeDocument/2006/relationships");
    const QByteArray package("http://schemas.openxmlformats.org/package/2006/");
    const QByteArray type("application/vnd.openxmlformats-officedocument.spreadsheetml.");
    return {
        {"[Content_Types].xml",
         declaration + "<Types xmlns=\"" + package
             + "content-types\"><Default Extension=\"rels\" "
               "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
               "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
               "<Override PartName=\"/xl/workbook.xml\" ContentType=\""
             + type + "sheet.main+xml\"/><Override PartName=\"/xl/worksheets/sheet1.xml\" ContentType=\"" + type
             + "worksheet+xml\"/><Override PartName=\"/xl/worksheets/sheet7.xml\" ContentType=\"" + type
             + "worksheet+xml\"/><Override PartName=\"/xl/calcChain.xml\" ContentType=\"" + type
             + "calcChain+xml\"/><Override PartName=\"/xl/sharedStrings.xml\" ContentType=\"" + type
             + "sharedStrings+xml\"/><Override PartName=\"/xl/styles.xml\" ContentType=\"" + type
             + "styles+xml\"/></Types>"},
        {"_rels/.rels",
         declaration + "<Relationships xmlns=\"" + package + "relationships\"><Relationship Id=\"rId1\" Type=\""
             + office + "/officeDocument\" Target=\"/xl/workbook.xml\"/></Relationships>"},
        {"xl/workbook.xml",
         declaration
             + "<x:workbook xmlns:x=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
               "xmlns:q=\""
             + office
             + "\"><x:sheets><x:sheet name=\"Plan &amp; Ist\" sheetId=\"4\" q:id=\"rId2\"/>"
               "<x:sheet name=\"Other\" sheetId=\"9\" q:id=\"rId1\"/></x:sheets></x:workbook>"},
        {"xl/_rels/workbook.xml.rels",
         declaration + "<Relationships xmlns=\"" + package + "relationships\"><Relationship Id=\"rId1\" Type=\""
             + office + "/worksheet\" Target=\"worksheets/sheet7.xml\"/><Relationship Id=\"rId2\" Type=\"" + office
             + "/worksheet\" Target=\"/xl/worksheets/sheet1.xml\"/><Relationship Id=\"rId3\" Type=\"" + office
             + "/calcChain\" Target=\"calcChain.xml\"/><Relationship Id=\"rId4\" Type=\"" + office
             + "/sharedStrings\" Target=\"sharedStrings.xml\"/><Relationship Id=\"rId5\" Type=\"" + office
             + "/styles\" Target=\"styles.xml\"/></Relationships>"},
        {"xl/worksheets/sheet1.xml", sheet},
        {"xl/worksheets/sheet7.xml",
         "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"   >"
         "<sheetData><row><c><v>5</v></c></row></sheetData></worksheet>"},
        {"xl/calcChain.xml",
         "<calcChain xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><c r=\"B1\" i=\"4\"/>"
         "</calcChain>"},
        {"xl/sharedStrings.xml",
         "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><si><t>plain</t></si>"
         "<si><r><t>two </t></r><r><t>runs_x000D_</t></r><rPh sb=\"0\" eb=\"1\"><t>reading</t></rPh></si></sst>"},
        {"xl/styles.xml",
         "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
         "<fonts count=\"1\"><font><sz val=\"10\"/><name val=\"Arial\"/></font></fonts>"
         "<cellXfs count=\"3\"><xf/><xf numFmtId=\"14\" applyNumberFormat=\"1\"/><xf numFmtId=\"2\"/></cellXfs>"
         "</styleSheet>"},
        {"xl/media/picture.png", QByteArray("\x89PNG\0\1\2\xff", 8)},
    };
}

inline QByteArray sheetXml(const QByteArray &rows, const QByteArray &before = {}, const QByteArray &after = {})
{
    return "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">" + before + "<sheetData>"
        + rows + "</sheetData>" + after + "</worksheet>";
}
