#include "WholeWrite.h"

namespace ostravel
{

bool writeAll(QFileDevice &file, const char *bytes, qint64 size)
{
    for (qint64 done = 0; done < size;) {
        const qint64 written = file.write(bytes + done, size - done);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

bool flushAll(QFileDevice &file)
{
    return file.flush() || file.flush();
}

bool writeWhole(QFileDevice &file, const QByteArray &bytes)
{
    return writeAll(file, bytes.constData(), bytes.size()) && flushAll(file);
}

} // namespace ostravel
