#include "ChannelBoxes.h"

#include "ChannelStore.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QVariant>

namespace
{

/** A check box of the main channels, identified by its text. The texts are in the catalogue's MainWindow context. */
struct BoxChannel {
    const char *text;
    quint8 functionCode;
};

// clang-format off
constexpr BoxChannel kBoxChannels[] = {
    {QT_TRANSLATE_NOOP("MainWindow", "Pitch"),             0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetPitch"),       0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "PitchDiff"),         0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "Roll"),              0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetRoll"),        0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "RollDiff"),          0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "Yaw"),               0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetYaw"),         0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "YawDiff"),           0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "RelativeHeight"),    0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetHeight"),      0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "HeightDiff"),        0x51},
    {QT_TRANSLATE_NOOP("MainWindow", "IndicatedAirspeed"), 0x03},
    {QT_TRANSLATE_NOOP("MainWindow", "TargetSpeed"),       0x05},
    {QT_TRANSLATE_NOOP("MainWindow", "SpeedDiff"),         0x51},
};
// clang-format on

constexpr char kGraphName[] = "graphName";
constexpr char kFunctionCode[] = "functionCode";

} // namespace

void setUpChannelBox(QCheckBox *box)
{
    for (const BoxChannel &channel : kBoxChannels) {
        const QString name = QCoreApplication::translate("MainWindow", channel.text);
        if (box->text() == name) {
            box->setProperty(kGraphName, name);
            box->setProperty(kFunctionCode, uint(channel.functionCode));
            break;
        }
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
    return quint8(box->property(kFunctionCode).toUInt());
}

MyGraph *channelOf(const QCheckBox *box)
{
    return findGraphByCode(graphNameOf(box), functionCodeOf(box));
}
