#include "QXlsx.h"

#include "XlsxCells.h"
#include "XlsxPackage.h"
#include "XlsxSheetReader.h"
#include "XlsxSheetWriter.h"
#include "XlsxStyles.h"
#include "XlsxText.h"
#include "XlsxZipWriter.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QUuid>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace QXlsx
{

namespace
{

constexpr int kLongestText = 32767; // beyond it readers ask whether to repair the file

// The unfinished file's name is longer than the target's by a few characters, and 255 is what file systems take: bytes of
// the local encoding or UTF-16 units, of both of which UTF-8 has at least as many.
constexpr int kLongestTemporaryBase = 240;

// A sheet's XML stays below this many bytes a cell; part of the answer whether a part may need 64-bit sizes.
constexpr quint64 kBytesACell = 80 + 4 * XlsxSheetWriter::kLongestPrefix;
constexpr quint64 kLargePart = 0xc0000000;

/** Rows that were written to beyond the last, as stretches, so that rows in any order are counted once. */
class RowSet
{
public:
    void add(int row)
    {
        auto after = m_stretches.upper_bound(row);
        if (after != m_stretches.begin()) {
            const auto before = std::prev(after);
            if (row <= before->second)
                return;
            if (row == before->second + 1) {
                before->second = row;
                if (after != m_stretches.end() && after->first == row + 1) {
                    before->second = after->second;
                    m_stretches.erase(after);
                }
                return;
            }
        }
        if (after != m_stretches.end() && after->first == row + 1) {
            const int last = after->second;
            m_stretches.erase(after);
            m_stretches.emplace(row, last);
            return;
        }
        m_stretches.emplace(row, row);
    }

    int count() const
    {
        int sum = 0;
        for (const auto &[first, last] : m_stretches)
            sum += last - first + 1;
        return sum;
    }

private:
    std::map<int, int> m_stretches;
};

struct SheetState {
    XlsxPackage::Sheet sheet;
    XlsxCells cells;
    RowSet leftOut;
    std::unique_ptr<XlsxCells> stored; // what the file holds, once it was asked for
};

} // namespace

class DocumentPrivate
{
public:
    DocumentPrivate() { formats.append(Format()); }

    void load(const QString &source);
    SheetState *current();
    int indexOf(const QString &name) const;
    quint32 formatNumber(const Format &format);
    bool mayWrite(int row, int column);
    const XlsxCells &stored(SheetState &state);
    QVector<int> styleNumbers(XlsxStyles &styles) const;
    bool writeInto(QIODevice &device);
    bool writeSheet(XlsxZipWriter &zip, SheetState &state, const QVector<int> &styles, bool &formulaReplaced);
    void warnOfRowsLeftOut(const QString &target);
    void takeOver(const QString &source);

    QString path; // of the workbook that is written over
    std::unique_ptr<XlsxPackage> package = std::make_unique<XlsxPackage>();
    std::vector<std::unique_ptr<SheetState>> sheets;
    int selected = -1;
    QVector<Format> formats; // the first is the empty one
    quint32 lastFormat = 0;
    QVector<QString> sharedTexts;
    bool sharedTextsRead = false;
    std::function<bool()> cancelled;
    QStringList warnings;
};

void DocumentPrivate::load(const QString &source)
{
    if (!QFileInfo::exists(source))
        return;
    QString reason;
    auto loaded = std::make_unique<XlsxPackage>();
    if (!loaded->load(source, reason)) {
        warnings.append(QStringLiteral("%1 is no workbook and counts as not there: %2").arg(source, reason));
        return;
    }
    path = QFileInfo(source).absoluteFilePath();
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

SheetState *DocumentPrivate::current()
{
    return selected < 0 ? nullptr : sheets[static_cast<std::size_t>(selected)].get();
}

int DocumentPrivate::indexOf(const QString &name) const
{
    for (const QString &wanted : {name, safeSheetName(name)})
        for (std::size_t i = 0; i < sheets.size(); ++i)
            if (sheets[i]->sheet.name.compare(wanted, Qt::CaseInsensitive) == 0)
                return static_cast<int>(i);
    return -1;
}

quint32 DocumentPrivate::formatNumber(const Format &format)
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

bool DocumentPrivate::mayWrite(int row, int column)
{
    if (row > Document::kLastRow && column >= 1 && column <= Document::kLastColumn) {
        current()->leftOut.add(row);
        return false;
    }
    return row >= 1 && row <= Document::kLastRow && column >= 1 && column <= Document::kLastColumn;
}

const XlsxCells &DocumentPrivate::stored(SheetState &state)
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

QVector<int> DocumentPrivate::styleNumbers(XlsxStyles &styles) const
{
    QVector<int> numbers;
    for (const Format &format : formats)
        numbers.append(format.isEmpty() ? -1 : styles.index(format));
    return numbers;
}

bool DocumentPrivate::writeInto(QIODevice &device)
{
    XlsxZipReader &source = package->zip();
    const bool isNew = package->isNew();

    QByteArray styleSheet;
    const bool hasStyles = !isNew && package->styles(styleSheet);
    XlsxStyles styles(hasStyles ? styleSheet : XlsxStyles::plain());
    const bool stylesLost = !isNew && !package->stylesPart().isEmpty() && (!hasStyles || !styles.isValid());
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

    XlsxZipWriter zip(device);
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
            if (source.isDamaged())
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
    return zip.finish();
}

bool DocumentPrivate::writeSheet(XlsxZipWriter &zip, SheetState &state, const QVector<int> &styles,
                                 bool &formulaReplaced)
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
        outcome = writer.writeNew(package->mainNamespace());
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
    if (outcome == XlsxSheetWriter::Outcome::Damaged)
        warnings.append(
            QStringLiteral("sheet %1 of %2 is damaged: what can be read of it is kept").arg(state.sheet.name, path));
    formulaReplaced = formulaReplaced || writer.formulaReplaced();
    return output.flush() && zip.end();
}

void DocumentPrivate::warnOfRowsLeftOut(const QString &target)
{
    for (const std::unique_ptr<SheetState> &state : sheets)
        if (const int count = state->leftOut.count())
            warnings.append(
                QStringLiteral("%1 rows of sheet %2 are left out of %3: a sheet ends at row %4")
                    .arg(QString::number(count), state->sheet.name, target, QString::number(Document::kLastRow)));
}

/** After the file behind the document was replaced: looks at the one that stands there now. */
void DocumentPrivate::takeOver(const QString &source)
{
    QString reason;
    auto loaded = std::make_unique<XlsxPackage>();
    if (!loaded->load(source, reason)) {
        // It is gone again: what was written is still here and goes into a new workbook.
        package = std::make_unique<XlsxPackage>();
        for (const std::unique_ptr<SheetState> &state : sheets)
            state->sheet.isNew = true;
        return;
    }
    package = std::move(loaded);
    const QVector<XlsxPackage::Sheet> list = package->sheets();
    for (const std::unique_ptr<SheetState> &state : sheets) {
        const auto found = std::find_if(list.begin(), list.end(), [&state](const XlsxPackage::Sheet &sheet) {
            return sheet.name == state->sheet.name;
        });
        state->stored.reset();
        state->sheet.isNew = found == list.end();
        if (found != list.end())
            state->sheet = *found;
    }
    sharedTexts.clear();
    sharedTextsRead = false;
}

Document::Document()
    : d(std::make_unique<DocumentPrivate>())
{
}

Document::Document(const QString &path)
    : Document()
{
    d->load(path);
}

Document::~Document() = default;

bool Document::addSheet(const QString &name)
{
    QString safe = safeSheetName(name);
    for (int number = 1; name.isEmpty() && (safe.isEmpty() || d->indexOf(safe) >= 0); ++number)
        safe = QStringLiteral("Sheet%1").arg(number);
    if (d->indexOf(safe) >= 0)
        return false;
    d->sheets.push_back(std::make_unique<SheetState>());
    d->sheets.back()->sheet.name = safe;
    d->sheets.back()->sheet.isNew = true;
    d->selected = static_cast<int>(d->sheets.size()) - 1;
    return true;
}

bool Document::selectSheet(const QString &name)
{
    const int index = d->indexOf(name);
    if (index < 0)
        return false;
    const XlsxPackage::Sheet &sheet = d->sheets[static_cast<std::size_t>(index)]->sheet;
    if (!sheet.isNew && sheet.part.isEmpty())
        return false;
    d->selected = index;
    return true;
}

QStringList Document::sheetNames() const
{
    QStringList names;
    for (const std::unique_ptr<SheetState> &state : d->sheets)
        names.append(state->sheet.name);
    return names;
}

bool Document::write(int row, int column, double value, const Format &format)
{
    if (!d->current())
        addSheet({});
    if (!d->mayWrite(row, column))
        return false;
    d->current()->cells.setNumber(row, column, value, d->formatNumber(format));
    return true;
}

bool Document::write(int row, int column, const QString &text, const Format &format)
{
    if (!d->current())
        addSheet({});
    if (!d->mayWrite(row, column))
        return false;
    QString kept = text;
    if (kept.size() > kLongestText) {
        kept.truncate(kept.at(kLongestText - 1).isHighSurrogate() ? kLongestText - 1 : kLongestText);
        d->warnings.append(QStringLiteral("the text in row %1, column %2 of sheet %3 is cut to %4 of %5 characters")
                               .arg(QString::number(row), QString::number(column), d->current()->sheet.name,
                                    QString::number(kept.size()), QString::number(text.size())));
    }
    d->current()->cells.setText(row, column, kept, d->formatNumber(format));
    return true;
}

bool Document::write(int row, int column, const char *utf8, const Format &format)
{
    return write(row, column, QString::fromUtf8(utf8), format);
}

bool Document::write(int row, int column, const QVariant &value, const Format &format)
{
    switch (static_cast<QMetaType::Type>(value.type())) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return write(row, column, value.toDouble(), format);
    case QMetaType::Bool:
    case QMetaType::UnknownType:
        if (!d->current())
            addSheet({});
        if (!d->mayWrite(row, column))
            return false;
        if (value.isValid())
            d->current()->cells.setBool(row, column, value.toBool(), d->formatNumber(format));
        else
            d->current()->cells.setBlank(row, column, d->formatNumber(format));
        return true;
    default:
        return write(row, column, value.toString(), format);
    }
}

QVariant Document::read(int row, int column) const
{
    SheetState *const state = d->current();
    if (!state || row < 1 || row > kLastRow || column < 1 || column > kLastColumn)
        return {};
    XlsxCells::Cell cell;
    const XlsxCells *cells = &state->cells;
    if (!cells->cell(row, column, cell)) {
        if (state->sheet.isNew)
            return {};
        cells = &d->stored(*state);
        if (!cells->cell(row, column, cell))
            return {};
    }
    switch (cell.kind) {
    case XlsxCells::Kind::Number:
        return cell.number == -std::numeric_limits<double>::infinity() ? -cell.number : cell.number;
    case XlsxCells::Kind::Text:
        return cells->text(cell.text);
    case XlsxCells::Kind::Bool:
        return cell.number != 0;
    case XlsxCells::Kind::Blank:
        break;
    }
    return {};
}

int Document::rowsLeftOut(const QString &sheetName) const
{
    const int index = d->indexOf(sheetName);
    return index < 0 ? 0 : d->sheets[static_cast<std::size_t>(index)]->leftOut.count();
}

void Document::setCancelled(std::function<bool()> cancelled)
{
    d->cancelled = std::move(cancelled);
}

QStringList Document::takeWarnings()
{
    return std::exchange(d->warnings, {});
}

bool Document::saveAs(const QString &path)
{
    if (d->sheets.empty())
        addSheet({});
    const QFileInfo target(path);
    if (path.isEmpty() || target.isDir()) {
        d->warnings.append(QStringLiteral("%1 cannot be written: it is no name for a file").arg(path));
        return false;
    }

    const bool longName = target.fileName().toUtf8().size() > kLongestTemporaryBase;
    const QString name = longName ? target.absoluteDir().filePath(QUuid::createUuid().toString(QUuid::WithoutBraces))
                                  : target.absoluteFilePath();
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly)) {
        d->warnings.append(QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
        return false;
    }
    if (!d->writeInto(file)) {
        const bool cancelled = d->cancelled && d->cancelled();
        d->warnings.append(QStringLiteral("%1 is not written: %2")
                               .arg(path, cancelled ? QStringLiteral("cancelled") : file.errorString()));
        file.cancelWriting();
        return false;
    }
    // Some systems do not replace a file that is open.
    const bool isSource = !d->package->isNew() && target == QFileInfo(d->path);
    if (isSource)
        d->package->zip().close();
    bool done = file.commit();
    QString reason = file.errorString();
    if (done && longName) {
        std::error_code error;
        std::filesystem::rename(name.toStdU16String(), target.absoluteFilePath().toStdU16String(), error);
        if (error) {
            done = false;
            reason = QString::fromStdString(error.message());
            QFile::remove(name);
        }
    }
    if (isSource)
        d->takeOver(d->path);
    if (!done) {
        d->warnings.append(QStringLiteral("%1 is not written: %2").arg(path, reason));
        return false;
    }
    d->warnOfRowsLeftOut(path);
    return true;
}

} // namespace QXlsx
