#include "TxtOperator.h"

#include "NumberText.h"

bool TxtOperator::openFile(QIODevice::OpenMode mode)
{
    if (m_fileName.isEmpty()) {
        emit statusFeedbackSignal(tr("file name is empty"));
        return false;
    }
    m_file.setFileName(m_fileName);
    if (!m_file.open(mode | QIODevice::Text)) {
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
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.close();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        emit statusFeedbackSignal(QStringLiteral("write data txt failed"));
        return false;
    }
    constexpr int kBlockBytes = 1 << 16;
    constexpr int kLineBytes = 3 * 14; // the longest three numbers with their separators
    QByteArray block;
    block.reserve(kBlockBytes + kLineBytes);
    for (std::size_t i = 0; i < a.size(); ++i) {
        appendNumber(block, a[i]);
        block.append('\t');
        appendNumber(block, b[i]);
        block.append('\t');
        appendNumber(block, c[i]);
        block.append('\n');
        if (block.size() >= kBlockBytes) {
            file.write(block);
            block.resize(0);
        }
    }
    file.write(block);
    return true;
}
