#include "XlsxTarget.h"

#include "FileRename.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace QXlsx
{

namespace
{

// QSaveFile appends a few characters to the name, and file systems limit names to 255 bytes of the local encoding or
// UTF-16 units. UTF-8 has at least as many bytes as either.
constexpr int kLongestTemporaryBase = 240;

bool isTaken(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink(); // a link without a target, too
}

} // namespace

XlsxTarget::XlsxTarget(const QString &path)
{
    const QFileInfo info(path);
    m_place = info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
}

bool XlsxTarget::open(bool setAside)
{
    const QFileInfo info(m_place);
    // QSaveFile copies the permissions of the file that it replaces, and refuses to replace a write-protected one.
    if (setAside || info.fileName().toUtf8().size() > kLongestTemporaryBase)
        m_name = info.absoluteDir().filePath(QUuid::createUuid().toString(QUuid::WithoutBraces));
    m_file = std::make_unique<QSaveFile>(m_name.isEmpty() ? m_place : m_name);
    const bool opened = m_file->open(QIODevice::WriteOnly);
    m_error = opened ? QString() : m_file->errorString();
    return opened;
}

void XlsxTarget::cancel()
{
    m_file->cancelWriting();
    m_file.reset();
}

bool XlsxTarget::commit(bool setAside)
{
    // The error string is lost when the device is closed, and set only when a block fails at its first byte: a second
    // flush provokes that.
    if (!m_file->flush() && !m_file->flush()) {
        m_error = m_file->errorString();
        cancel();
        return false;
    }
    if (!m_name.isEmpty() && !m_file->commit()) {
        m_error = m_file->errorString();
        return false;
    }
    if (setAside && !moveAside()) {
        if (m_name.isEmpty())
            cancel();
        else
            QFile::remove(m_name);
        m_inTheWay = true;
        return false;
    }
    if (moveIn())
        return true;
    if (!m_aside.isEmpty() && renamed(m_aside, m_place).isEmpty())
        m_aside.clear();
    return false;
}

bool XlsxTarget::moveAside()
{
    if (!isTaken(m_place))
        return true; // there is no file any more
    QString name = m_place + QLatin1String(".old");
    for (int number = 2; isTaken(name); ++number)
        name = m_place + QLatin1String(".old") + QString::number(number);
    m_error = renamed(m_place, name);
    if (m_error.isEmpty())
        m_aside = name;
    return m_error.isEmpty();
}

bool XlsxTarget::moveIn()
{
    if (m_name.isEmpty()) {
        const bool done = m_file->commit();
        m_error = m_file->errorString();
        return done;
    }
    m_error = renamed(m_name, m_place);
    if (!m_error.isEmpty())
        QFile::remove(m_name);
    return m_error.isEmpty();
}

} // namespace QXlsx
