#include "CurveMath.h"

#include "MyGraph.h"

#include <QDateTime>
#include <algorithm>
#include <array>
#include <cmath>

namespace curvemath
{

const QString kMainFlightModeLabel = QStringLiteral("主飞行模式");
const QString kSubFlightModeLabel = QStringLiteral("子飞行模式");

namespace
{

constexpr double kMillisecondsPerSecond = 1000.0;
constexpr double kSpikeQuotient = 10.0;
constexpr qint64 kAreaHalfWindow = 5;

struct ModeName {
    int value;
    const char *text;
};

// clang-format off
constexpr std::array kMainFlightModes {
    ModeName {1, "遥控模式"},
    ModeName {2, "自主模式"},
    ModeName {3, "保护模式"},
    ModeName {4, "调试模式"},
    ModeName {5, "待飞模式"},
};

constexpr std::array kSubFlightModes {
    ModeName { 1, "比例遥控"},
    ModeName { 2, "姿态油门"},
    ModeName { 3, "姿态空速"},
    ModeName { 4, "姿态模式（旋翼）"},
    ModeName { 5, "高度模式（旋翼）"},
    ModeName { 6, "位置模式（旋翼）"},
    ModeName { 7, "辅助模式"},
    ModeName {17, "弹射起飞"},
    ModeName {18, "降落（伞降）"},
    ModeName {19, "原地盘旋"},
    ModeName {20, "指点"},
    ModeName {21, "绕点"},
    ModeName {22, "归航"},
    ModeName {23, "地面跟随"},
    ModeName {24, "目标跟随"},
    ModeName {25, "空投"},
    ModeName {26, "目标攻击"},
    ModeName {27, "航线"},
    ModeName {28, "降落（深失速）"},
    ModeName {29, "降落（滑降）"},
    ModeName {30, "切伞"},
    ModeName {31, "立即熄火"},
    ModeName {33, "垂直起飞"},
    ModeName {34, "垂直降落"},
    ModeName {35, "攻击待命"},
    ModeName {36, "航线攻击"},
    ModeName {49, "低电量保护"},
    ModeName {51, "数据链丢失保护"},
    ModeName {52, "遥控丢失保护"},
    ModeName {53, "失速保护"},
    ModeName {54, "坠毁保护"},
    ModeName {65, "地面调试"},
    ModeName {66, "地面准备"},
};
// clang-format on

template <std::size_t Count>
QString modeText(const std::array<ModeName, Count> &modes, double value)
{
    // Compared as doubles, because a sample may not fit an integer.
    const double whole = std::trunc(value);
    const auto *const found
        = std::find_if(modes.begin(), modes.end(), [whole](const ModeName &mode) { return whole == mode.value; });
    return found != modes.end() ? QString::fromUtf8(found->text) : QString();
}

/** Whether the quotient exceeds the limit: true for infinity, false for NaN. */
bool exceeds(double sample, double neighbour)
{
    return std::abs(sample / neighbour) > kSpikeQuotient;
}

const QVector<double> &samplesOf(const MyGraph *graph)
{
    static const QVector<double> kNone;
    return graph ? graph->yvalue() : kNone;
}

bool contains(const QVector<double> &series, qint64 index)
{
    return index >= 0 && index < series.size();
}

} // namespace

QVector<double> timeKeys(int count, qint64 startSecond, int intervalMs)
{
    const auto start = static_cast<double>(startSecond);
    const double step = intervalMs / kMillisecondsPerSecond;
    QVector<double> keys(count);
    double *const out = keys.data();
    for (int i = 0; i < count; ++i)
        out[i] = i * step + start;
    return keys;
}

void removeSpikes(QVector<double> &samples)
{
    const int count = samples.size();
    if (count < 2)
        return;
    double *const d = samples.data();
    if (exceeds(d[0], d[1]))
        d[0] = d[1];
    for (int i = 1; i < count - 1; ++i) {
        if (exceeds(d[i], d[i - 1]) && exceeds(d[i], d[i + 1]))
            d[i] = d[i - 1];
    }
    if (exceeds(d[count - 1], d[count - 2]))
        d[count - 1] = d[count - 2];
}

void repeatFirst(QVector<double> &samples, int count)
{
    if (samples.isEmpty())
        return;
    const double first = samples.constFirst();
    samples.insert(0, count, first);
}

void repeatLast(QVector<double> &samples, int count)
{
    const double last = samples.isEmpty() ? 0.0 : samples.constLast();
    samples.insert(samples.size(), count, last);
}

void appendZeros(QVector<double> &samples, int count)
{
    samples.insert(samples.size(), count, 0.0);
}

void recalculateDifferences(QVector<double> &differences, const QVector<double> &minuend,
                            const QVector<double> &subtrahend, int samples)
{
    const int eightBitCount = static_cast<quint8>(samples);
    const int count = std::min({eightBitCount, differences.size(), minuend.size(), subtrahend.size()});
    for (int i = 0; i < count; ++i)
        differences[i] = minuend[i] - subtrahend[i];
}

double risingTime(const MyGraph *actual, const MyGraph *target, int index)
{
    constexpr double kNoTarget = -2.0;
    constexpr double kNeverReached = -1.0;

    const QVector<double> &goals = samplesOf(target);
    if (!contains(goals, index))
        return kNoTarget;
    const QVector<double> &samples = samplesOf(actual);
    if (!contains(samples, index))
        return kNeverReached;

    const double goal = goals[index];
    const auto from = samples.cbegin() + index;
    const auto reached = goal > *from
        ? std::find_if(from, samples.cend(), [goal](double sample) { return sample > goal; })
        : std::find_if(from, samples.cend(), [goal](double sample) { return !(sample > goal); });
    if (reached == samples.cend())
        return kNeverReached;

    const QVector<double> &keys = actual->xvalue();
    const auto at = std::distance(samples.cbegin(), reached);
    // A channel that was never shown has samples but no keys.
    if (!contains(keys, at))
        return kNeverReached;
    return keys[static_cast<int>(at)] - keys[index];
}

double area(const MyGraph *actual, const MyGraph *target, int index)
{
    const QVector<double> &samples = samplesOf(actual);
    const QVector<double> &goals = samplesOf(target);
    // 64 bits, to avoid an overflow in the window's limits.
    const qint64 at = index;
    const qint64 rest = std::min(samples.size(), goals.size()) - at;
    const qint64 from = at - std::min(at, kAreaHalfWindow);
    const qint64 to = at + std::min(rest, kAreaHalfWindow);
    if (from >= to)
        return 0.0;

    const double step = actual->interval() / kMillisecondsPerSecond;
    double sum = 0.0;
    for (int i = static_cast<int>(from); i < to; ++i)
        sum += step * (samples[i] - goals[i]);
    return sum;
}

double deviation(const MyGraph *actual, const MyGraph *target, int index)
{
    const QVector<double> &samples = samplesOf(actual);
    const QVector<double> &goals = samplesOf(target);
    return contains(samples, index) && contains(goals, index) ? samples[index] - goals[index] : -1.0;
}

int indexOfKey(const QVector<double> &keys, double key)
{
    if (keys.isEmpty())
        return -1;
    // Keys ascend only for a positive interval.
    const bool ascending = keys.constFirst() < keys.constLast();
    const auto found
        = ascending ? std::lower_bound(keys.cbegin(), keys.cend(), key) : std::find(keys.cbegin(), keys.cend(), key);
    return found != keys.cend() && *found == key ? static_cast<int>(std::distance(keys.cbegin(), found)) : -1;
}

QString dateTimeText(double key)
{
    constexpr double kTwoTo63 = 9223372036854775808.0;
    // An axis can be dragged beyond the range of 64-bit integers; the low bits of such a key are zero.
    const qint64 whole = key >= -kTwoTo63 && key < kTwoTo63 ? static_cast<qint64>(key) : 0;
    const auto seconds = static_cast<quint32>(static_cast<quint64>(whole));
    return QDateTime::fromSecsSinceEpoch(seconds).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString mainFlightModeText(double value)
{
    return modeText(kMainFlightModes, value);
}

QString subFlightModeText(double value)
{
    return modeText(kSubFlightModes, value);
}

} // namespace curvemath
