#include "MyGraph.h"

#include "ChannelStore.h"
#include "FrameTable.h"

#include <QObject>
#include <QRandomGenerator>
#include <array>

namespace
{

/** A triad of actual, target and difference channel. Names are source texts of the catalogue. */
struct Triad {
    const char *actual;
    const char *target;
    const char *difference;
    QRgb actualColor;
    QRgb targetColor;
};

// clang-format off
constexpr std::array kTriads {
    Triad {QT_TRANSLATE_NOOP("QObject", "Roll"),              QT_TRANSLATE_NOOP("QObject", "TargetRoll"),   QT_TRANSLATE_NOOP("QObject", "RollDiff"),   qRgb(255, 255, 0),  qRgb(55, 200, 155)},
    Triad {QT_TRANSLATE_NOOP("QObject", "Pitch"),             QT_TRANSLATE_NOOP("QObject", "TargetPitch"),  QT_TRANSLATE_NOOP("QObject", "PitchDiff"),  qRgb(0, 255, 0),    qRgb(255, 0, 255)},
    Triad {QT_TRANSLATE_NOOP("QObject", "Yaw"),               QT_TRANSLATE_NOOP("QObject", "TargetYaw"),    QT_TRANSLATE_NOOP("QObject", "YawDiff"),    qRgb(37, 190, 255), qRgb(255, 114, 121)},
    Triad {QT_TRANSLATE_NOOP("QObject", "IndicatedAirspeed"), QT_TRANSLATE_NOOP("QObject", "TargetSpeed"),  QT_TRANSLATE_NOOP("QObject", "SpeedDiff"),  qRgb(255, 130, 0),  qRgb(0, 250, 255)},
    Triad {QT_TRANSLATE_NOOP("QObject", "RelativeHeight"),    QT_TRANSLATE_NOOP("QObject", "TargetHeight"), QT_TRANSLATE_NOOP("QObject", "HeightDiff"), qRgb(255, 103, 0),  qRgb(198, 255, 46)},
};
// clang-format on

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
    for (const Triad &triad : kTriads) {
        const QString actual = QObject::tr(triad.actual);
        const QString target = QObject::tr(triad.target);
        const QString difference = QObject::tr(triad.difference);
        if (graphName == actual) {
            m_role = Actual;
            m_diffName = difference;
            m_targetName = target;
            m_color = QColor(triad.actualColor);
        } else if (graphName == target) {
            m_role = Target;
            m_diffName = difference;
            m_actualName = actual;
            m_color = QColor(triad.targetColor);
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
