#include "XlsxSheetReader.h"

#include "XlsxLimits.h"
#include "XlsxText.h"
#include "XlsxXmlReader.h"

#include <limits>

namespace QXlsx
{

namespace
{

/** At the start of a text item: goes to its end. @return its text without phonetic readings */
QString itemText(XlsxXmlReader &reader)
{
    QString result;
    const int outside = reader.depth() - 1;
    while (reader.depth() > outside && reader.next()) {
        if (!reader.isStartElement())
            continue;
        if (reader.localName() == QLatin1String("t"))
            result += reader.text();
        else if (reader.localName() == QLatin1String("rPh"))
            reader.skipElement();
    }
    return unescapeCharacters(result);
}

void putCell(XlsxCells &cells, int row, int column, const QString &type, const QString &value,
             const QVector<QString> &sharedTexts)
{
    if (type == QLatin1String("s")) {
        bool ok = false;
        const int number = value.toInt(&ok);
        cells.setText(row, column, ok ? sharedTexts.value(number) : QString(), 0);
    } else if (type == QLatin1String("str") || type == QLatin1String("d")) {
        cells.setText(row, column, unescapeCharacters(value), 0);
    } else if (type == QLatin1String("b")) {
        cells.setBool(row, column, value.trimmed() == QLatin1String("1") || value.trimmed() == QLatin1String("true"),
                      0);
    } else if (type == QLatin1String("e")) {
        if (value == QLatin1String("#DIV/0!"))
            cells.setNumber(row, column, std::numeric_limits<double>::infinity(), 0);
        else if (value == QLatin1String("#NUM!"))
            cells.setNumber(row, column, std::numeric_limits<double>::quiet_NaN(), 0);
        else
            cells.setText(row, column, value, 0);
    } else {
        bool ok = false;
        const double number = value.toDouble(&ok);
        if (ok)
            cells.setNumber(row, column, number, 0);
        else
            cells.setText(row, column, value, 0);
    }
}

/** At the start of a cell: goes to its end. */
void readCell(XlsxXmlReader &reader, int row, int column, const QVector<QString> &sharedTexts, XlsxCells &cells)
{
    const QString type = reader.attribute(QLatin1String("t"));
    QString value;
    QString formula;
    bool hasValue = false;
    bool inlineText = false;
    const int outside = reader.depth() - 1;
    while (reader.depth() > outside && reader.next()) {
        if (!reader.isStartElement())
            continue;
        if (reader.localName() == QLatin1String("v")) {
            value = reader.text();
            hasValue = !value.isEmpty();
        } else if (reader.localName() == QLatin1String("is")) {
            value = itemText(reader);
            inlineText = true;
        } else if (reader.localName() == QLatin1String("f")) {
            formula = reader.text();
        } else {
            reader.skipElement();
        }
    }
    if (!isRow(row) || !isColumn(column))
        return;
    if (inlineText)
        cells.setText(row, column, value, 0);
    else if (hasValue)
        putCell(cells, row, column, type, value, sharedTexts);
    else if (!formula.isEmpty())
        cells.setText(row, column, QLatin1Char('=') + formula, 0);
}

} // namespace

QVector<QString> readSharedTexts(XlsxZipReader::Part &part)
{
    QVector<QString> texts;
    XlsxXmlReader reader(&part);
    while (reader.next()) {
        part.pieceDone();
        if (reader.isStartElement() && reader.localName() == QLatin1String("si"))
            texts.append(itemText(reader));
    }
    return texts;
}

void readSheet(XlsxZipReader::Part &part, const QVector<QString> &sharedTexts, XlsxCells &cells)
{
    XlsxXmlReader reader(&part);
    int row = 0;
    int column = 0;
    bool inRows = false;
    while (reader.next()) {
        part.pieceDone();
        if (reader.isStartElement() && reader.localName() == QLatin1String("sheetData")) {
            inRows = true;
        } else if (reader.isEndElement() && reader.localName() == QLatin1String("sheetData")) {
            return;
        } else if (inRows && reader.isStartElement() && reader.localName() == QLatin1String("row")) {
            bool ok = false;
            const int stated = reader.attribute(QLatin1String("r")).toInt(&ok);
            row = ok && stated > 0 ? stated : qMin(row, kMaxRow) + 1;
            column = 0;
        } else if (inRows && reader.isStartElement() && reader.localName() == QLatin1String("c")) {
            int statedRow = 0;
            int statedColumn = 0;
            column = parseCellName(reader.attribute(QLatin1String("r")), statedRow, statedColumn)
                ? statedColumn
                : qMin(column, kMaxColumn) + 1;
            readCell(reader, row, column, sharedTexts, cells);
        }
    }
}

} // namespace QXlsx
