#include "QXlsx.h"

#include "XlsxBook.h"
#include "XlsxText.h"

#include <limits>
#include <utility>

namespace QXlsx
{

Document::Document()
    : d(std::make_unique<XlsxBook>())
{
}

Document::Document(const QString &path, const std::function<bool()> &cancelled)
    : Document()
{
    d->cancelled = cancelled;
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
    d->sheets.push_back(std::make_unique<XlsxBook::SheetState>());
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
    for (const std::unique_ptr<XlsxBook::SheetState> &state : d->sheets)
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
    const QString kept = cellText(text);
    if (kept.size() < text.size()) {
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
    XlsxBook::SheetState *const state = d->current();
    if (!state || !isRow(row) || !isColumn(column))
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

QString Document::cellText(const QString &text)
{
    if (text.size() <= kLongestText)
        return text;
    return text.left(text.at(kLongestText - 1).isHighSurrogate() ? kLongestText - 1 : kLongestText);
}

void Document::setSheetView(const SheetView &view)
{
    d->view = view;
}

void Document::setCancelled(std::function<bool()> cancelled)
{
    d->cancelled = std::move(cancelled);
    d->package->zip().setCancelled(d->cancelled);
}

QStringList Document::takeWarnings()
{
    return std::exchange(d->warnings, {});
}

QStringList Document::takeErrors()
{
    return std::exchange(d->errors, {});
}

QString Document::refusal() const
{
    return d->refusal;
}

QString Document::savedAside() const
{
    return d->savedAside;
}

bool Document::saveAs(const QString &path, NoWorkbook noWorkbook)
{
    if (d->sheets.empty())
        addSheet({});
    d->savedAside.clear();
    const QFileInfo target(path);
    if (path.isEmpty() || (target.exists() && !target.isFile())) {
        d->warnings.append(QStringLiteral("%1 cannot be written: it is no name for a file").arg(path));
        return false;
    }
    bool setAside = false;
    if (target.exists() && !d->isSource(target)) {
        d->refusal = d->refusalOf(target, noWorkbook);
        setAside = !d->refusal.isEmpty();
    }
    if (d->tryToSave(path, setAside))
        return true;
    const QString reason = d->package->zip().refusal();
    if (reason.isEmpty() || d->isCancelled())
        return false;
    // While it was read, the file turned out to be no workbook. The written cells go into a new one.
    const bool isSource = d->isSource(target);
    d->letGo(reason);
    return d->tryToSave(path, setAside || isSource);
}

} // namespace QXlsx
