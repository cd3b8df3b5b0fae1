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

// The unfinished file's name is longer than the target's by a few characters, and 255 is what file systems take: bytes
// of the local encoding or UTF-16 units, of both of which UTF-8 has at least as many.
constexpr int kLongestTemporaryBase = 240;

bool isTaken(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink(); // also a link to nothing
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
    // QSaveFile gives the new file the rights of the one that it replaces, and replaces none that is write-protected.
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
    // A device forgets why it failed when it is closed, and knows it only once a block fails from its first byte on.
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
        return true; // it is gone by now
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
