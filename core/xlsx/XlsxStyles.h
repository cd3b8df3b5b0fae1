#pragma once

#include "XlsxFormat.h"

#include <QByteArray>
#include <QHash>
#include <QVector>

#include <array>
#include <functional>

namespace QXlsx
{

/** The style sheet of a workbook. Formats are appended to its existing entries. */
class XlsxStyles
{
public:
    /** The style sheet of a new workbook. */
    static QByteArray plain();

    /** @param cancelled called every 500 tokens; may be empty. Returning true makes the style sheet invalid */
    explicit XlsxStyles(const QByteArray &xml, const std::function<bool()> &cancelled = {});

    /** False when the part is no style sheet: xml() then returns it unchanged, and index() returns -1. */
    bool isValid() const { return m_valid; }

    /** The style number of a format for cells. An equal entry that exists is used again. */
    int index(const Format &format);

    /** The XML with the added entries; the same bytes as before when nothing was added. */
    QByteArray xml() const;

private:
    enum { Fonts, Fills, Borders, CellXfs, kSections };

    struct Section {
        bool found = false;
        int count = 0;
        QHash<QByteArray, int> places; // number of each entry, by its XML
        QVector<QByteArray> added;
    };

    int place(int section, const QByteArray &entry);

    QByteArray m_xml;
    std::function<bool()> m_cancelled;
    QByteArray m_prefix;
    bool m_valid = false;
    bool m_changed = false;
    std::array<Section, kSections> m_sections;
};

} // namespace QXlsx
