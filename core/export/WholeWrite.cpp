#include "WholeWrite.h"

namespace ostravel
{

bool writeAll(QFileDevice &file, const char *data, qint64 size)
{
    for (qint64 done = 0; done < size;) {
        const qint64 written = file.write(data + done, size - done);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

bool writeWhole(QFileDevice &file, const QByteArray &bytes)
{
    return writeAll(file, bytes.constData(), bytes.size()) && (file.flush() || file.flush());
}

} // namespace ostravel
