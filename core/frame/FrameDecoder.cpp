#include "FrameDecoder.h"

#include <algorithm>
#include <utility>

namespace ostravel
{

namespace
{

/**
 * Appends a value to each series of a group.
 *
 * One small loop, not unrolled for each row: callers may run an event loop between two frames, which evicts the
 * instruction cache.
 */
__attribute__((noinline, flatten)) void appendEach(Series *const *group, const double *values, std::size_t rows)
{
    constexpr int kCacheLine = 64 / sizeof(double); // samples
    for (std::size_t row = 0; row < rows; ++row) {
        Series &samples = *group[row];
        samples.append(values[row]);
        // Each series is written at its own address. Without the prefetch, the first sample in each new cache line
        // would wait for memory.
        __builtin_prefetch(samples.constData() + samples.size() + 2 * kCacheLine, 1);
    }
}

/** Appends the value of each row to its series. The rows are compile-time constants, so a field needs no lookup. */
template <std::uint8_t Code, std::size_t... Row>
void appendValues(Series *const *group, const Frame &frame, std::index_sequence<Row...>)
{
    const double values[] = {frame.value<Code, Row>()...};
    appendEach(group, values, sizeof...(Row));
}

template <std::uint8_t Code>
constexpr int rowsOf()
{
    constexpr frame::Layout kLayout = frame::layoutOf(Code);
    return kLayout.rowCount;
}

} // namespace

void repeatLast(Series &series)
{
    series.append(series.isEmpty() ? 0.0 : series.constLast());
}

void FrameDecoder::reserveForLog(qint64 bytes)
{
    // Ten hours. A large file is not necessarily a flight.
    constexpr qint64 kMaxSamples = 200'000;
    constexpr qint64 kRound = frame::roundCharacters();
    static_assert(kRound > 0);
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): the analyzer does not evaluate the constant
    m_expected = bytes / kRound;
    reserve(std::min(m_expected, kMaxSamples));
}

void FrameDecoder::reserve(qint64 samples)
{
    m_reserved = static_cast<int>(samples);
    for (const frame::Layout &layout : frame::kLayouts) {
        if (layout.code == frame::kDifference)
            continue; // shares the samples of other series
        for (int row = 0; row < layout.rowCount; ++row)
            m_series.at(layout.code, row).reserve(m_reserved);
    }
}

/**
 * Reserves the rest when the log has filled the reservation, so it is a flight; of a file beyond measure only a part.
 * Series that grow by doubling leave freed blocks behind, up to a sixth of the samples' own memory.
 */
void FrameDecoder::reserveMore()
{
    constexpr qint64 kFactor = 4;
    constexpr qint64 kMaxFactor = 16; // a week of flight
    if (m_expected > m_reserved)
        reserve(m_expected <= kMaxFactor * m_reserved ? m_expected : kFactor * m_reserved);
}

FrameKind FrameDecoder::decode(const Frame &frame)
{
    if (!frame.hasHeader())
        return FrameKind::BadHeader;
    if (m_planeId.has_value() && frame.planeId() != *m_planeId)
        return FrameKind::OtherPlane;
    const FrameKind kind = appendSamples(frame);
    repair();
    return kind;
}

FrameKind FrameDecoder::appendSamples(const Frame &frame)
{
    switch (frame.functionCode()) {
    case frame::kHeartBeat:
        appendFields<frame::kHeartBeat>(frame);
        break;
    case frame::kControlStatus:
        appendEquipment(frame);
        appendFields<frame::kControlStatus>(frame);
        break;
    case frame::kAttitude:
        appendFields<frame::kAttitude>(frame);
        if (m_series.at(frame::kAttitude, 0).size() == m_reserved)
            reserveMore();
        break;
    case frame::kSensor:
        appendFields<frame::kSensor>(frame);
        break;
    case frame::kTarget:
        appendFields<frame::kTarget>(frame);
        break;
    case frame::kPayload:
        appendFields<frame::kPayload>(frame);
        break;
    case frame::kBackup:
        appendFields<frame::kBackup>(frame);
        break;
    default:
        return FrameKind::UnknownCode;
    }
    return FrameKind::Decoded;
}

template <std::uint8_t Code>
void FrameDecoder::appendFields(const Frame &frame)
{
    constexpr frame::Layout kLayout = frame::layoutOf(Code);
    if (frame.length > kLayout.gate)
        appendValues<Code>(m_series.group<Code>(), frame, std::make_index_sequence<std::size_t{kLayout.rowCount}>());
    else
        extend<Code>();
}

/** The equipment series are the bits of the device state, least significant bit first. */
void FrameDecoder::appendEquipment(const Frame &frame)
{
    if (frame.length <= frame::layoutOf(frame::kControlStatus).gate) {
        extend<frame::kEquipment>();
        return;
    }
    const unsigned state = frame.deviceState();
    Series *const *const group = m_series.group<frame::kEquipment>();
    for (int bit = 0; bit < rowsOf<frame::kEquipment>(); ++bit)
        group[bit]->append((state >> bit & 1U) != 0 ? 1.0 : 0.0);
}

template <std::uint8_t Code>
void FrameDecoder::extend()
{
    if constexpr (Code != frame::kEquipment)
        ++m_gapsFilled;
    Series *const *const group = m_series.group<Code>();
    for (int row = 0; row < rowsOf<Code>(); ++row)
        repeatLast(*group[row]);
}

void FrameDecoder::repair()
{
    // A group may be one sample ahead of the next group. Each pair is corrected by at most one sample per frame.
    constexpr int kLead = 1;
    const int sensorLead = m_series.length<frame::kSensor>() - m_series.length<frame::kTarget>();
    if (sensorLead < 0)
        extend<frame::kSensor>();
    else if (sensorLead > kLead)
        extend<frame::kTarget>();

    const int statusLead = m_series.length<frame::kControlStatus>() - m_series.length<frame::kSensor>();
    if (statusLead < 0) {
        extend<frame::kControlStatus>();
        extend<frame::kEquipment>();
    } else if (statusLead > kLead) {
        extend<frame::kSensor>();
    }

    const int attitudeLead = m_series.length<frame::kAttitude>() - m_series.length<frame::kControlStatus>();
    if (attitudeLead < 0)
        extend<frame::kAttitude>();
    else if (attitudeLead > kLead)
        extend<frame::kControlStatus>(); // on purpose without the equipment series
}

void FrameDecoder::evenTail()
{
    if (m_series.length<frame::kAttitude>() > m_series.length<frame::kControlStatus>()) {
        extend<frame::kControlStatus>();
        extend<frame::kEquipment>();
    }
    if (m_series.length<frame::kControlStatus>() > m_series.length<frame::kSensor>())
        extend<frame::kSensor>();
    if (m_series.length<frame::kSensor>() > m_series.length<frame::kTarget>())
        extend<frame::kTarget>();
}

} // namespace ostravel
