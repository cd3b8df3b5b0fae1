#pragma once

#include "XlsxFormat.h"

#include <QByteArray>
#include <QHash>
#include <QVector>

#include <array>
#include <functional>

namespace QXlsx
{

/** The style sheet of a workbook, to which formats are added behind what it holds already. */
class XlsxStyles
{
public:
    /** The style sheet of a new workbook. */
    static QByteArray plain();

    /** @param cancelled  asked now and then; once it says yes the style sheet is not valid */
    explicit XlsxStyles(const QByteArray &xml, const std::function<bool()> &cancelled = {});

    /** False when the part is no style sheet; it then stays as it is and index gives -1. */
    bool isValid() const { return m_valid; }

    /** The number by which cells call a format; one that the sheet has already is used again. */
    int index(const Format &format);

    /** The part with what was added; byte for byte the one given when that is nothing. */
    QByteArray xml() const;

private:
    enum { Fonts, Fills, Borders, CellXfs, kSections };

    struct Section {
        bool found = false;
        int count = 0;
        QHash<QByteArray, int> places; // of each entry's XML
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
