#include "MyGraph.h"

#include "ChannelStore.h"
#include "FrameTable.h"
#include "Triads.h"

#include <QObject>
#include <QRandomGenerator>
#include <cstddef>
#include <iterator>

namespace
{

/** Colours of the curves of one triad. */
struct TriadColors {
    QRgb actual;
    QRgb target;
};

/** In the order of frame::kTriads. */
constexpr TriadColors kTriadColors[] = {
    {qRgb(255, 255, 0), qRgb(55, 200, 155)}, // Roll
    {qRgb(0, 255, 0), qRgb(255, 0, 255)}, // Pitch
    {qRgb(37, 190, 255), qRgb(255, 114, 121)}, // Yaw
    {qRgb(255, 130, 0), qRgb(0, 250, 255)}, // IndicatedAirspeed
    {qRgb(255, 103, 0), qRgb(198, 255, 46)}, // RelativeHeight
};
static_assert(std::size(kTriadColors) == frame::kTriads.size());

QColor randomColor()
{
    constexpr int kBound = 255;
    QRandomGenerator *const generator = QRandomGenerator::global();
    const int red = generator->bounded(kBound);
    const int green = generator->bounded(kBound);
    const int blue = generator->bounded(kBound);
    return {red, green, blue};
}

bool opensOnSecondCanvas(quint8 functionCode)
{
    return functionCode == frame::kHeartBeat || functionCode == frame::kDifference || functionCode == frame::kEquipment;
}

} // namespace

MyGraph::MyGraph(const QString &graphName, quint8 planeId, quint8 functionCode)
    : m_graphName(graphName)
    , m_planeId(planeId)
    , m_functionCode(functionCode)
    , m_interval(sampleInterval)
{
    for (std::size_t i = 0; i < frame::kTriads.size(); ++i) {
        const frame::Triad &triad = frame::kTriads[i];
        const QString actual = QObject::tr(triad.actual.text);
        const QString target = QObject::tr(triad.target.text);
        const QString difference = QObject::tr(triad.difference.text);
        if (graphName == actual) {
            m_role = Actual;
            m_diffName = difference;
            m_targetName = target;
            m_color = QColor(kTriadColors[i].actual);
        } else if (graphName == target) {
            m_role = Target;
            m_diffName = difference;
            m_actualName = actual;
            m_color = QColor(kTriadColors[i].target);
        } else if (graphName == difference) {
            m_role = Difference;
            m_targetName = target;
            m_actualName = actual;
            m_color = defaultColor;
        } else {
            continue;
        }
        break;
    }
    if (m_role == Ordinary)
        m_color = randomColor();

    if (opensOnSecondCanvas(functionCode)) {
        m_position = SecondCanvas;
        m_color = targetColor;
    }
}
