#include "XlsxBook.h"

#include "XlsxBookWriter.h"
#include "XlsxSheetReader.h"
#include "XlsxText.h"

#include <algorithm>

namespace QXlsx
{

void XlsxBook::load(const QString &source)
{
    wanted = QFileInfo(source).absoluteFilePath();
    if (!QFileInfo::exists(source))
        return;
    auto loaded = std::make_unique<XlsxPackage>();
    loaded->zip().setCancelled(cancelled);
    if (!loaded->load(source, refusal)) {
        if (!isCancelled())
            warnings.append(QStringLiteral("%1 is no workbook and counts as not there: %2").arg(source, refusal));
        return;
    }
    path = wanted;
    package = std::move(loaded);
    const QVector<XlsxPackage::Sheet> list = package->sheets();
    for (const XlsxPackage::Sheet &sheet : list) {
        sheets.push_back(std::make_unique<SheetState>());
        sheets.back()->sheet = sheet;
    }
    // The sheet that was active when the workbook was saved, or the first after it with cells, or the first of all.
    for (int i : {package->activeSheet(), 0})
        for (; selected < 0 && i >= 0 && i < list.size(); ++i)
            if (!list.at(i).part.isEmpty())
                selected = i;
}

XlsxBook::SheetState *XlsxBook::current()
{
    return selected < 0 ? nullptr : sheets[static_cast<std::size_t>(selected)].get();
}

int XlsxBook::indexOf(const QString &name) const
{
    for (const QString &sought : {name, safeSheetName(name)})
        for (std::size_t i = 0; i < sheets.size(); ++i)
            if (sheets[i]->sheet.name.compare(sought, Qt::CaseInsensitive) == 0)
                return static_cast<int>(i);
    return -1;
}

quint32 XlsxBook::formatNumber(const Format &format)
{
    if (formats.at(static_cast<int>(lastFormat)) != format) {
        int number = formats.indexOf(format);
        if (number < 0) {
            number = formats.size();
            formats.append(format);
        }
        lastFormat = static_cast<quint32>(number);
    }
    return lastFormat;
}

bool XlsxBook::mayWrite(int row, int column)
{
    if (row > kMaxRow && isColumn(column)) {
        SheetState &state = *current();
        // The cells of a row are written one after another, so a new row is one that differs from the last.
        state.leftOut += row != state.lastLeftOut ? 1 : 0;
        state.lastLeftOut = row;
        return false;
    }
    return isRow(row) && isColumn(column);
}

const XlsxCells &XlsxBook::stored(SheetState &state)
{
    if (!state.stored) {
        state.stored = std::make_unique<XlsxCells>();
        XlsxZipReader &zip = package->zip();
        if (!sharedTextsRead && !package->sharedTextsPart().isEmpty())
            if (const auto part = zip.openPart(zip.indexOf(package->sharedTextsPart())))
                sharedTexts = readSharedTexts(*part);
        sharedTextsRead = true;
        if (!state.sheet.isNew)
            if (const auto part = zip.openPart(zip.indexOf(state.sheet.part)))
                readSheet(*part, sharedTexts, *state.stored);
    }
    return *state.stored;
}

QVector<int> XlsxBook::styleNumbers(XlsxStyles &styles) const
{
    QVector<int> numbers;
    for (const Format &format : formats)
        numbers.append(format.isEmpty() ? -1 : styles.index(format));
    return numbers;
}

/** Writes the workbook into a device. @param reason set on failure */
bool XlsxBook::writeInto(QIODevice &device, QString &reason)
{
    XlsxZipWriter zip(device);
    if (XlsxBookWriter(*this, zip).write())
        return true;
    reason = zip.errorString().isEmpty() ? QStringLiteral("a part of it cannot be written") : zip.errorString();
    return false;
}

void XlsxBook::warnOfRowsLeftOut(const QString &target)
{
    for (const std::unique_ptr<SheetState> &state : sheets)
        if (const int count = state->leftOut)
            warnings.append(QStringLiteral("%1 rows of sheet %2 are left out of %3: a sheet ends at row %4")
                                .arg(QString::number(count), state->sheet.name, target, QString::number(kMaxRow)));
}

/** Continues as if the workbook that is written over did not exist: written sheets become new ones. */
void XlsxBook::letGo(const QString &reason)
{
    refusal = reason;
    const SheetState *const front = current();
    package = std::make_unique<XlsxPackage>();
    package->zip().setCancelled(cancelled);
    const auto isOld
        = [](const std::unique_ptr<SheetState> &state) { return !state->sheet.isNew && state->cells.isEmpty(); };
    const auto isFront = [front](const std::unique_ptr<SheetState> &state) { return state.get() == front; };
    sheets.erase(std::remove_if(sheets.begin(), sheets.end(), isOld), sheets.end());
    for (const std::unique_ptr<SheetState> &state : sheets) {
        state->sheet.isNew = true;
        state->stored.reset();
    }
    const auto found = std::find_if(sheets.begin(), sheets.end(), isFront);
    selected = found != sheets.end() ? static_cast<int>(found - sheets.begin()) : static_cast<int>(sheets.size()) - 1;
}

/** After the file behind the document was replaced: loads the new one. */
void XlsxBook::takeOver(const QString &source)
{
    QString reason;
    auto loaded = std::make_unique<XlsxPackage>();
    loaded->zip().setCancelled(cancelled);
    if (!loaded->load(source, reason)) {
        // The file is gone again. The written cells are still here and go into a new workbook.
        package = std::make_unique<XlsxPackage>();
        for (const std::unique_ptr<SheetState> &state : sheets)
            state->sheet.isNew = true;
        return;
    }
    package = std::move(loaded);
    QHash<QString, XlsxPackage::Sheet> list;
    const QVector<XlsxPackage::Sheet> all = package->sheets();
    for (auto sheet = all.rbegin(); sheet != all.rend(); ++sheet)
        list.insert(sheet->name, *sheet); // of sheets with equal names the first counts
    for (const std::unique_ptr<SheetState> &state : sheets) {
        const auto found = list.constFind(state->sheet.name);
        state->stored.reset();
        state->sheet.isNew = found == list.constEnd();
        if (found != list.constEnd())
            state->sheet = *found;
    }
    sharedTexts.clear();
    sharedTextsRead = false;
}

bool XlsxBook::isSource(const QFileInfo &target) const
{
    return !package->isNew() && target == QFileInfo(path);
}

/** Why a file at the target, which the document was not made from, must not be lost; empty when it may be. */
QString XlsxBook::refusalOf(const QFileInfo &target, Document::NoWorkbook noWorkbook) const
{
    const QString place = target.absoluteFilePath();
    if (place == saved)
        return {};
    if (place == wanted)
        return refusal.isEmpty() ? QStringLiteral("it was not there before") : refusal;
    if (noWorkbook == Document::NoWorkbook::Replace)
        return {};
    QString reason;
    XlsxPackage other;
    other.zip().setCancelled(cancelled);
    const bool loaded = other.load(place, reason);
    if (isCancelled())
        return {}; // nothing will be written
    return loaded ? QString() : reason;
}

bool XlsxBook::tryToSave(const QString &target, bool setAside)
{
    XlsxTarget file(target);
    if (!file.open(setAside)) {
        // In a folder where no file can be written, none can be renamed either.
        (setAside ? errors : warnings)
            .append(QStringLiteral("%1 cannot be written: %2").arg(target, file.errorString()));
        return false;
    }
    sheetDamaged = false;
    QString reason;
    if (writeInto(file.device(), reason))
        return commit(file, target, setAside);
    file.cancel();
    if (isCancelled())
        reason = QStringLiteral("cancelled");
    if (isCancelled() || package->zip().refusal().isEmpty())
        warnings.append(QStringLiteral("%1 is not written: %2").arg(target, reason));
    return false;
}

bool XlsxBook::commit(XlsxTarget &file, const QString &target, bool setAside)
{
    // Windows does not replace a file that is open.
    const bool overSource = isSource(QFileInfo(target));
    if (overSource)
        package->zip().close();
    // Another program may be able to read what is lost here of a damaged sheet, so the old file is kept.
    const bool done = file.commit(setAside || (overSource && sheetDamaged));
    savedAside = file.savedAside();
    if (overSource)
        takeOver(path);
    if (!done) {
        const QString message = QStringLiteral("%1 is not written: %2");
        if (file.isInTheWay())
            errors.append(message.arg(
                target, QStringLiteral("the file that stands there cannot be renamed: %1").arg(file.errorString())));
        else
            warnings.append(message.arg(target, file.errorString()));
        return false;
    }
    saved = QFileInfo(target).absoluteFilePath();
    warnOfRowsLeftOut(target);
    return true;
}

} // namespace QXlsx
