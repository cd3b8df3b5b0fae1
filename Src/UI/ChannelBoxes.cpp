#include "ChannelBoxes.h"

#include "ChannelStore.h"
#include "Triads.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QVariant>

namespace
{

constexpr char kGraphName[] = "graphName";
constexpr char kFunctionCode[] = "functionCode";

/** Ties the box to the channel if its text names it. The catalogue keeps the names with the window's texts. */
bool tie(QCheckBox *box, const ostravel::frame::TriadMember &channel)
{
    const QString name = QCoreApplication::translate("MainWindow", channel.text);
    if (box->text() != name)
        return false;
    box->setProperty(kGraphName, name);
    box->setProperty(kFunctionCode, static_cast<uint>(channel.code));
    return true;
}

} // namespace

void setUpChannelBox(QCheckBox *box)
{
    for (const ostravel::frame::Triad &triad : ostravel::frame::kTriads) {
        if (tie(box, triad.actual) || tie(box, triad.target) || tie(box, triad.difference))
            break;
    }
    // A laptop screen at 200 % scaling has 540 logical pixels. Let the rows shrink so that the window fits.
    box->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
    box->setMinimumHeight(box->fontMetrics().height());
}

QString graphNameOf(const QCheckBox *box)
{
    return box->property(kGraphName).toString();
}

quint8 functionCodeOf(const QCheckBox *box)
{
    return static_cast<quint8>(box->property(kFunctionCode).toUInt());
}

MyGraph *channelOf(const QCheckBox *box)
{
    return findGraphByCode(graphNameOf(box), functionCodeOf(box));
}
