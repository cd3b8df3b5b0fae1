#include "ReadOutText.h"

#include "AppConfig.h"
#include "ChannelStore.h"
#include "CurveMath.h"
#include "MyCustomPlot.h"

#include <qcustomplot.h>

namespace readouttext
{

namespace
{

constexpr int kPrecision = 6;
constexpr int kSamplePrecision = 12;

QString factors(const MyGraph *channel, double key)
{
    const MyGraph *const target = findGraph(channel->targetName());

    QString deviationText;
    QString areaText;
    QString riseText;
    // When the key is not among the channel's keys (the curve is outdated), the values are empty.
    const int index = curvemath::indexOfKey(channel->xvalue(), key);
    if (index >= 0) {
        deviationText = QString::number(curvemath::deviation(channel, target, index), 'g', kPrecision);
        const double rise = curvemath::risingTime(channel, target, index);
        if (rise >= 0)
            riseText = QString::number(rise, 'g', kPrecision);
        areaText = QStringLiteral("%1").arg(curvemath::area(channel, target, index));
    }
    return QLatin1Char('\n') + MyCustomPlot::tr("Diff: ") + deviationText + QLatin1Char('\n')
        + MyCustomPlot::tr("Area: ") + areaText + QLatin1Char('\n') + MyCustomPlot::tr("RisingTime: ") + riseText;
}

} // namespace

QString pointer(double key, double value)
{
    return QLatin1Char('(') + curvemath::dateTimeText(key) + QLatin1String(", ")
        + QString::number(value, 'g', kPrecision) + QLatin1Char(')');
}

QString sample(const QString &curveName, double key, double value)
{
    const QString valueText = QString::number(value, 'g', kSamplePrecision);
    const QString start = QLatin1Char('(') + curvemath::dateTimeText(key) + QLatin1String(",  ") + valueText;

    // Null when the user has edited the curve's name; then only time and value are shown.
    const MyGraph *const channel = findGraph(curveName);
    if (channel && channel->role() == MyGraph::Actual && AppConfig::getInstance().getShowFactor())
        return start + QLatin1Char(')') + factors(channel, key);

    const bool mainMode = curveName == curvemath::kMainFlightModeLabel;
    if (!mainMode && curveName != curvemath::kSubFlightModeLabel)
        return start + QLatin1Char(')');
    const QString mode = mainMode ? curvemath::mainFlightModeText(value) : curvemath::subFlightModeText(value);
    return start + QLatin1Char(' ') + (mode.isEmpty() ? valueText : mode) + QLatin1Char(')');
}

QString click(QCPAbstractPlottable *plottable, int dataIndex)
{
    // The point may be removed between press and release of the click.
    const QCPPlottableInterface1D *const points = plottable->interface1D();
    if (!points || dataIndex < 0 || dataIndex >= points->dataCount())
        return {};
    // One arg() call for all three: the user can edit the curve's name, which may contain a place marker.
    return QStringLiteral("Clicked on graph '%1' at data point #%2 with value %3.")
        .arg(plottable->name(), QString::number(dataIndex), QString::number(points->dataMainValue(dataIndex)));
}

} // namespace readouttext
