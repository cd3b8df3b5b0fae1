#include "XlsxBook.h"

#include "XlsxColumnWidths.h"
#include "XlsxSheetReader.h"
#include "XlsxSheetWriter.h"
#include "XlsxText.h"

#include <algorithm>
#include <map>
#include <set>

namespace QXlsx
{

namespace
{

// A sheet's XML stays below this many bytes a cell; part of the answer whether a part may need 64-bit sizes.
constexpr quint64 kBytesACell = 80 + 4 * XlsxSheetWriter::kLongestPrefix;
constexpr quint64 kLargePart = 0xc0000000;

} // namespace

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
    // The sheet that was in front when the workbook was last seen, else the first that has cells.
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
    if (row > Document::kLastRow && column >= 1 && column <= Document::kLastColumn) {
        SheetState &state = *current();
        state.leftOut += row != state.lastLeftOut ? 1 : 0;
        state.lastLeftOut = row;
        return false;
    }
    return row >= 1 && row <= Document::kLastRow && column >= 1 && column <= Document::kLastColumn;
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

/** Writes the workbook; on failure the reason may be empty, when a warning tells it. */
bool XlsxBook::writeInto(QIODevice &device, QString &reason)
{
    XlsxZipWriter zip(device);
    if (writeParts(zip))
        return true;
    reason = zip.errorString().isEmpty() ? QStringLiteral("a part of it cannot be written") : zip.errorString();
    return false;
}

bool XlsxBook::writeParts(XlsxZipWriter &zip)
{
    XlsxZipReader &source = package->zip();
    const bool isNew = package->isNew();

    QByteArray styleSheet;
    const bool hasStyles = !isNew && package->styles(styleSheet);
    XlsxStyles styles(hasStyles ? styleSheet : XlsxStyles::plain(), cancelled);
    const bool stylesLost = !isNew && !package->stylesPart().isEmpty() && (!hasStyles || !styles.isValid());
    if (isCancelled() || !source.refusal().isEmpty())
        return false;
    if (stylesLost)
        warnings.append(QStringLiteral("the style sheet of %1 cannot be read: new cells get no format").arg(path));
    const QVector<int> numbers = stylesLost ? QVector<int>(formats.size(), -1) : styleNumbers(styles);
    const bool addStyles = !stylesLost && !hasStyles && (isNew || formats.size() > 1);
    const QByteArray stylesPart = addStyles
        ? package->workbookPart().left(package->workbookPart().lastIndexOf('/') + 1) + "styles.xml"
        : QByteArray();

    QVector<XlsxPackage::Sheet> added;
    QSet<QByteArray> taken;
    for (const std::unique_ptr<SheetState> &state : sheets) {
        if (!state->sheet.isNew)
            continue;
        package->placeSheet(state->sheet, taken);
        added.append(state->sheet);
    }

    const bool listsChange = isNew || !added.isEmpty() || addStyles;
    const bool mayDropChain = !package->calcChainPart().isEmpty() && source.indexOf(package->calcChainPart()) >= 0;
    const auto writeLists = [&](const QByteArray &dropped) {
        return zip.add(package->contentTypesPart(), package->contentTypes(added, stylesPart, dropped))
            && (!isNew || zip.add("_rels/.rels", XlsxPackage::rootRelations()))
            && zip.add(package->workbookPart(), package->workbook(added))
            && zip.add(package->relationsPart(), package->relations(added, stylesPart, dropped));
    };
    const bool listsFirst = listsChange && !mayDropChain;
    if (listsFirst && !writeLists({}))
        return false;

    // Old parts in their order, those that change in place of what they were.
    bool formulaReplaced = false;
    std::map<int, SheetState *> writtenOver;
    for (const std::unique_ptr<SheetState> &state : sheets)
        if (!state->sheet.isNew && !state->cells.isEmpty())
            writtenOver.emplace(source.indexOf(state->sheet.part), state.get());
    const int stylesIndex = hasStyles ? source.indexOf(package->stylesPart()) : -1;
    const int chainIndex = mayDropChain ? source.indexOf(package->calcChainPart()) : -1;
    const std::set<int> lists{source.indexOf(package->contentTypesPart()), source.indexOf(package->workbookPart()),
                              source.indexOf(package->relationsPart())};
    const bool listsLast = mayDropChain;
    for (int i = 0; i < static_cast<int>(source.entries().size()); ++i) {
        const auto over = writtenOver.find(i);
        bool done = true;
        if (over != writtenOver.end())
            done = writeSheet(zip, *over->second, numbers, formulaReplaced);
        else if (i == stylesIndex && styles.isValid() && styles.xml() != styleSheet)
            done = zip.add(source.entries()[static_cast<std::size_t>(i)].name, styles.xml());
        else if (i != chainIndex && !(lists.count(i) > 0 && (listsFirst || listsLast)))
            done = zip.carry(source, i, cancelled);
        if (!done) {
            if (source.isDamaged() && !isCancelled())
                warnings.append(QStringLiteral("part %1 of %2 is damaged and cannot be carried over")
                                    .arg(QString::fromUtf8(source.entries()[static_cast<std::size_t>(i)].name), path));
            return false;
        }
    }
    if (listsLast) {
        const QByteArray dropped = formulaReplaced ? package->calcChainPart() : QByteArray();
        if (!formulaReplaced && !zip.carry(source, chainIndex, cancelled))
            return false;
        if (formulaReplaced || listsChange) {
            if (!writeLists(dropped))
                return false;
        } else {
            for (const int list : lists)
                if (!zip.carry(source, list, cancelled))
                    return false;
        }
    }
    for (const std::unique_ptr<SheetState> &state : sheets)
        if (state->sheet.isNew && !writeSheet(zip, *state, numbers, formulaReplaced))
            return false;
    if (addStyles && !zip.add(stylesPart, styles.xml()))
        return false;
    // Lists that were broken off by the flag must not be taken for whole.
    return zip.finish() && !isCancelled();
}

bool XlsxBook::writeSheet(XlsxZipWriter &zip, SheetState &state, const QVector<int> &styles, bool &formulaReplaced)
{
    XlsxZipReader &source = package->zip();
    const int old = state.sheet.isNew ? -1 : source.indexOf(state.sheet.part);
    quint64 size = state.cells.cellCount() * kBytesACell;
    if (old >= 0)
        size += source.entries()[static_cast<std::size_t>(old)].unpacked * 2;
    if (!zip.begin(old >= 0 ? source.entries()[static_cast<std::size_t>(old)].name : state.sheet.part,
                   size > kLargePart))
        return false;
    XlsxOutput output([&zip](const char *data, std::size_t count) { return zip.write(data, count); });
    XlsxSheetWriter writer(state.cells, styles, output, cancelled);
    XlsxSheetWriter::Outcome outcome = XlsxSheetWriter::Outcome::Stopped;
    if (old < 0) {
        const bool isEmpty = state.cells.isEmpty();
        const QVector<int> widths
            = view.fitColumns && !isEmpty ? columnWidths(state.cells, formats, cancelled) : QVector<int>();
        outcome = writer.writeNew(package->mainNamespace(), widths, isEmpty ? 0 : view.frozenRows);
    } else if (const auto part = source.openPart(old)) {
        outcome = writer.merge(*part, package->mainNamespace());
    } else {
        outcome = writer.writeNew(package->mainNamespace());
        if (outcome == XlsxSheetWriter::Outcome::Written)
            outcome = XlsxSheetWriter::Outcome::Damaged;
    }
    if (outcome == XlsxSheetWriter::Outcome::Refused)
        warnings.append(QStringLiteral("sheet %1 of %2 has elements whose names are too long to be written over")
                            .arg(state.sheet.name, path));
    if (outcome == XlsxSheetWriter::Outcome::Stopped || outcome == XlsxSheetWriter::Outcome::Refused)
        return false;
    if (!source.refusal().isEmpty())
        return false;
    if (outcome == XlsxSheetWriter::Outcome::Damaged) {
        sheetDamaged = true;
        warnings.append(
            QStringLiteral("sheet %1 of %2 is damaged: what can be read of it is kept").arg(state.sheet.name, path));
    }
    formulaReplaced = formulaReplaced || writer.formulaReplaced();
    return output.flush() && zip.end();
}

void XlsxBook::warnOfRowsLeftOut(const QString &target)
{
    for (const std::unique_ptr<SheetState> &state : sheets)
        if (const int count = state->leftOut)
            warnings.append(
                QStringLiteral("%1 rows of sheet %2 are left out of %3: a sheet ends at row %4")
                    .arg(QString::number(count), state->sheet.name, target, QString::number(Document::kLastRow)));
}

/** Goes on as if the workbook that is written over were not there. */
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

/** After the file behind the document was replaced: looks at the one that stands there now. */
void XlsxBook::takeOver(const QString &source)
{
    QString reason;
    auto loaded = std::make_unique<XlsxPackage>();
    loaded->zip().setCancelled(cancelled);
    if (!loaded->load(source, reason)) {
        // It is gone again: what was written is still here and goes into a new workbook.
        package = std::make_unique<XlsxPackage>();
        for (const std::unique_ptr<SheetState> &state : sheets)
            state->sheet.isNew = true;
        return;
    }
    package = std::move(loaded);
    QHash<QString, XlsxPackage::Sheet> list;
    const QVector<XlsxPackage::Sheet> all = package->sheets();
    for (auto sheet = all.rbegin(); sheet != all.rend(); ++sheet)
        list.insert(sheet->name, *sheet); // the first of a name counts
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

/** Why a file that stands where the document goes, and that it does not come from, must not be lost; else empty. */
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
        return {}; // nothing is written, so nothing has to be kept
    return loaded ? QString() : reason;
}

bool XlsxBook::tryToSave(const QString &target, bool setAside)
{
    XlsxTarget file(target);
    if (!file.open(setAside)) {
        // Where nothing can be written, nothing can be renamed either.
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
    // Some systems do not replace a file that is open.
    const bool overSource = isSource(QFileInfo(target));
    if (overSource)
        package->zip().close();
    // What of a damaged sheet cannot be read here may be readable elsewhere.
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
