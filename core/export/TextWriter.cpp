#include "TextWriter.h"

#include "NumberText.h"
#include "RegularFile.h"
#include "WholeWrite.h"

#include <QDir>
#include <QFile>
#include <QTextStream>

namespace ostravel
{

namespace
{

constexpr int kBlockBytes = 1 << 16;

/** Appends the labels, as QTextStream encodes them. Numbers are the same bytes in every codec and need no stream. */
void appendLabels(QByteArray &block, const QStringList &labels)
{
    QTextStream stream(&block, QIODevice::WriteOnly);
    for (const QString &label : labels)
        stream << label << '\t';
}

void appendRow(QByteArray &block, const QVector<Series> &samples, int row)
{
    block.append('\n');
    for (const Series &series : samples) {
        if (row < series.size())
            appendNumber(block, series.at(row));
        block.append('\t');
    }
}

} // namespace

std::optional<ExportError> makeTextFolder(const QString &path)
{
    if (QDir(path).exists() || QDir().mkdir(path))
        return std::nullopt;
    return exportError(ExportError::Code::CannotMakeFolder, path, QStringLiteral("the folder cannot be made"));
}

QString textFilePath(const QString &folder, const ExportGroup &group)
{
    return folder + QLatin1Char('/') + group.name + QLatin1String(".txt");
}

std::optional<ExportError> writeTextFile(const ExportGroup &group, const QString &path,
                                         const std::function<bool(int values)> &proceed)
{
    QFile file(path);
    if (isOtherThanRegularFile(path))
        return exportError(ExportError::Code::CannotOpen, path, QStringLiteral("it is no regular file"));
    if (!file.open(QIODevice::ReadWrite))
        return exportError(ExportError::Code::CannotOpen, path, file.errorString());

    QByteArray block;
    constexpr int kLineBytes = 1 << 12; // more than any line; a block that outgrows it only costs a copy
    block.reserve(kBlockBytes + kLineBytes);
    appendLabels(block, group.labels);
    bool written = true;
    const int rows = group.rows();
    for (int row = 0; row < rows && written && proceed(group.samples.size()); ++row) {
        appendRow(block, group.samples, row);
        if (block.size() >= kBlockBytes) {
            written = writeWhole(file, block);
            block.resize(0);
        }
    }
    if (!written || !writeWhole(file, block))
        return exportError(ExportError::Code::CannotWrite, path, file.errorString());
    return std::nullopt;
}

std::optional<ExportError> writeText(const Flight &flight, const QString &path, const ExportOptions &options)
{
    const QVector<ExportGroup> groups = exportGroups(flight);
    qint64 total = 0;
    for (const ExportGroup &group : groups)
        total += group.values();
    ExportProgress progress(options, total);
    if (!progress.ask())
        return exportCancelled(path);
    std::optional<ExportError> first = makeTextFolder(path);
    if (first)
        return first;
    for (const ExportGroup &group : groups) {
        std::optional<ExportError> error = writeTextFile(group, textFilePath(path, group),
                                                         [&progress](int values) { return progress.advance(values); });
        if (!progress.ask())
            return exportCancelled(path);
        if (error && !first)
            first = std::move(error);
    }
    return first;
}

} // namespace ostravel
