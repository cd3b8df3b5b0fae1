#include "TxtOperator.h"

#include "Logging.h"
#include "NumberText.h"
#include "RegularFile.h"
#include "TextWriter.h"
#include "WholeWrite.h"

#include <QFileInfo>

using ostravel::appendNumber;
using ostravel::ExportError;

bool TxtOperator::openFile(QIODevice::OpenMode mode)
{
    if (m_fileName.isEmpty()) {
        emit statusFeedbackSignal(tr("file name is empty"));
        return false;
    }
    m_file.setFileName(m_fileName);
    if (ostravel::isOtherThanRegularFile(m_fileName) || !m_file.open(mode | QIODevice::Text)) {
        emit statusFeedbackSignal(tr("open file failed"));
        return false;
    }
    return true;
}

bool TxtOperator::closeFile()
{
    try {
        m_file.close();
    } catch (...) {
        emit statusFeedbackSignal(tr("occur exception when close file"));
    }
    return true;
}

bool TxtOperator::writeTrack(const QString &path, const std::vector<double> &a, const std::vector<double> &b,
                             const std::vector<double> &c)
{
    QFile file(path);
    // A pipe would block the open.
    const bool isOther = ostravel::isOtherThanRegularFile(path);
    if (!isOther) {
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.close();
    }
    if (isOther || !file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        emit statusFeedbackSignal(QStringLiteral("write data txt failed"));
        return false;
    }
    constexpr int kBlockBytes = 1 << 16;
    constexpr int kLineBytes = 3 * 14; // the longest three numbers with their separators
    QByteArray block;
    block.reserve(kBlockBytes + kLineBytes);
    bool written = true;
    for (std::size_t i = 0; i < a.size() && written; ++i) {
        appendNumber(block, a[i]);
        block.append('\t');
        appendNumber(block, b[i]);
        block.append('\t');
        appendNumber(block, c[i]);
        block.append('\n');
        if (block.size() >= kBlockBytes) {
            written = ostravel::writeWhole(file, block);
            block.resize(0);
        }
    }
    if (!written || !ostravel::writeWhole(file, block))
        logToBoth(error, "track file is cut short: {}", file.errorString());
    return true;
}

void TxtOperator::writeTxtSlot(const QString &path)
{
    const QFileInfo info(path);
    const QString dir = info.absolutePath() + QLatin1Char('/') + info.baseName();
    if (ostravel::makeTextFolder(dir).has_value()) {
        logToBoth(error, "mkdir failed");
        return;
    }
    const QVector<ExportGroup> groups = m_groups.isEmpty() ? exportGroups() : m_groups;
    for (const ExportGroup &group : groups) {
        if (isCancelled())
            return;
        writeTxt(ostravel::textFilePath(dir, group), group);
    }
}

// NOLINTNEXTLINE(readability-non-const-parameter): the signature is settled
void TxtOperator::writeTxt(const QString &path, int *count, MyGraph **channels)
{
    writeTxt(path, exportGroup(QString(), channels, *count));
}

void TxtOperator::writeTxt(const QString &path, const ExportGroup &group)
{
    const std::optional<ExportError> failure
        = ostravel::writeTextFile(group, path, [this](int) { return !isCancelled(); });
    if (!failure.has_value())
        return;
    if (failure->code == ExportError::Code::CannotOpen)
        logToBoth(error, "txt file open failed when write");
    else
        logToBoth(error, "txt file write failed: {}", failure->reason);
}
