#pragma once

#include "XlsxZipReader.h"

#include <QSet>
#include <QString>
#include <QVector>

namespace QXlsx
{

/** The parts around the sheets: the lists of parts, relations and sheets, and these lists with sheets added. */
class XlsxPackage
{
public:
    struct Sheet {
        QString name;
        QByteArray part; // name of the part; empty for a sheet without cells, such as a chart
        QString relation; // identifier, for added sheets
        bool isNew = false;
    };

    /** Most sheets of a workbook. A file that lists more is refused: every loop over them would take too long. */
    static constexpr int kMaxSheets = 10000;

    /** The package of a workbook without sheets. */
    XlsxPackage();

    /** Reads the lists of a file; false, with the reason, when it is no workbook. */
    bool load(const QString &path, QString &reason);

    XlsxZipReader &zip() { return m_zip; }
    bool isNew() const { return !m_zip.isOpen(); }

    QVector<Sheet> sheets() const { return m_sheets; }
    int activeSheet() const { return m_activeSheet; }

    /** Sets part and relation of a sheet to add. @param taken those of the sheets before; extended */
    void placeSheet(Sheet &sheet, QSet<QByteArray> &taken) const;

    QString mainNamespace() const { return m_mainNamespace; }

    const QByteArray &contentTypesPart() const { return m_contentTypesPart; }
    const QByteArray &workbookPart() const { return m_workbookPart; }
    const QByteArray &relationsPart() const { return m_relationsPart; }
    const QByteArray &stylesPart() const { return m_stylesPart; }
    const QByteArray &sharedTextsPart() const { return m_sharedTextsPart; }
    const QByteArray &calcChainPart() const { return m_calcChainPart; }

    /** Reads the style sheet; false when the package has none that can be read. */
    bool styles(QByteArray &xml);

    /** The XML of the lists. @param styles part of an added style sheet, @param dropped part to leave out; or empty */
    QByteArray contentTypes(const QVector<Sheet> &added, const QByteArray &styles, const QByteArray &dropped) const;
    QByteArray workbook(const QVector<Sheet> &added) const;
    QByteArray relations(const QVector<Sheet> &added, const QByteArray &styles, const QByteArray &dropped) const;

    /** The XML of a new package's root relations, which point to the workbook. */
    static QByteArray rootRelations();

private:
    bool readRelations();
    bool readWorkbook();
    QString freeRelation(const QSet<QString> &taken) const;

    XlsxZipReader m_zip;
    QByteArray m_contentTypesPart;
    QByteArray m_workbookPart;
    QByteArray m_relationsPart;
    QByteArray m_stylesPart;
    QByteArray m_sharedTextsPart;
    QByteArray m_calcChainPart;
    QByteArray m_contentTypes;
    QByteArray m_workbook;
    QByteArray m_relations;
    QString m_mainNamespace;
    QString m_relationNamespace;
    QHash<QString, QPair<QString, QByteArray>> m_targets; // by relation: its type and part
    QVector<Sheet> m_sheets;
    int m_activeSheet = 0;
    QSet<QByteArray> m_usedParts; // in lower case: what relations lead to, whether or not it is there
    QSet<QString> m_usedRelations; // in the list of relations or called by the workbook
    QSet<quint32> m_sheetIds;
    quint32 m_lastSheetId = 0;
};

} // namespace QXlsx
