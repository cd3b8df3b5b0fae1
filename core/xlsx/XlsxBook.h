#pragma once

#include "QXlsx.h"
#include "XlsxCells.h"
#include "XlsxPackage.h"
#include "XlsxStyles.h"
#include "XlsxTarget.h"
#include "XlsxZipWriter.h"

#include <QFileInfo>

#include <vector>

namespace QXlsx
{

/** The state of a Document, and how it is loaded and saved. For QXlsx.cpp and XlsxBookWriter. */
class XlsxBook
{
public:
    struct SheetState {
        XlsxPackage::Sheet sheet;
        XlsxCells cells;
        int leftOut = 0; // number of rows after kMaxRow that were written to
        int lastLeftOut = 0; // the last of them
        std::unique_ptr<XlsxCells> stored; // the cells of the file, loaded at the first read
    };

    XlsxBook() { formats.append(Format()); }

    void load(const QString &source);
    void letGo(const QString &reason);
    SheetState *current();
    int indexOf(const QString &name) const;
    quint32 formatNumber(const Format &format);
    bool mayWrite(int row, int column);
    const XlsxCells &stored(SheetState &state);
    QVector<int> styleNumbers(XlsxStyles &styles) const;
    bool writeInto(QIODevice &device, QString &reason);
    void warnOfRowsLeftOut(const QString &target);
    void takeOver(const QString &source);
    bool isCancelled() const { return cancelled && cancelled(); }
    bool isSource(const QFileInfo &target) const;
    QString refusalOf(const QFileInfo &target, Document::NoWorkbook noWorkbook) const;
    bool tryToSave(const QString &target, bool setAside);
    bool commit(XlsxTarget &file, const QString &target, bool setAside);

    QString path; // of the workbook that is written over
    QString wanted; // the path that the document was made with
    QString saved; // the path of the last save
    QString refusal;
    QString savedAside;
    Document::SheetView view;
    bool sheetDamaged = false; // in the current save
    std::unique_ptr<XlsxPackage> package = std::make_unique<XlsxPackage>();
    std::vector<std::unique_ptr<SheetState>> sheets;
    int selected = -1;
    QVector<Format> formats; // the first is the empty one
    quint32 lastFormat = 0;
    QVector<QString> sharedTexts;
    bool sharedTextsRead = false;
    std::function<bool()> cancelled;
    QStringList warnings;
    QStringList errors;
};

} // namespace QXlsx
