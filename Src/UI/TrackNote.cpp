#include "TrackNote.h"

#include "ChannelStore.h"
#include "Logging.h"

#include <QLabel>

void showTrackNote(QLabel *label, const QString &lastData)
{
    if (dataRead) {
        label->setText(QStringLiteral(" "));
        return;
    }
    label->setText(lastData);
    label->adjustSize();
    logToBoth(warn, "data has not been read,use last data");
}
