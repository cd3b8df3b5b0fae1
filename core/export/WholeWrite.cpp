#include "WholeWrite.h"

namespace ostravel
{

bool writeWhole(QFileDevice &file, const QByteArray &bytes)
{
    for (int done = 0; done < bytes.size();) {
        const qint64 written = file.write(bytes.constData() + done, bytes.size() - done);
        if (written <= 0)
            return false;
        done += static_cast<int>(written);
    }
    return file.flush() || file.flush();
}

} // namespace ostravel
