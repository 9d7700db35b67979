#include "VideoIO/StreamFilters/Multiplexer/MuxStatistic.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

void MuxStatistic::Reset() {
    const CAutoLock lock(&m_lock);
    m_statistic = {};
}

void MuxStatistic::Feed(IMediaSample& sample, REFERENCE_TIME start, REFERENCE_TIME stop) {
    const auto size = static_cast<std::uint32_t>(std::max<LONG>(sample.GetActualDataLength(), 0));
    const bool sync = sample.IsSyncPoint() == S_OK;
    const CAutoLock lock(&m_lock);
    if (m_statistic.samples == 0) {
        m_statistic.firstStart = start;
        m_statistic.smallestSample = size;
        m_statistic.lastStop = stop;
    }
    ++m_statistic.samples;
    m_statistic.syncSamples += sync ? 1 : 0;
    m_statistic.bytes += size;
    m_statistic.smallestSample = std::min(m_statistic.smallestSample, size);
    m_statistic.largestSample = std::max(m_statistic.largestSample, size);
    m_statistic.lastStop = std::max(m_statistic.lastStop, stop);
}

void MuxStatistic::UpdateTotals() {
    const CAutoLock lock(&m_lock);
    const double seconds =
        (static_cast<double>(m_statistic.lastStop) - static_cast<double>(m_statistic.firstStart)) / 10000000.0;
    m_statistic.bitsPerSecond = seconds > 0 ? 8.0 * static_cast<double>(m_statistic.bytes) / seconds : 0;
    m_statistic.samplesPerSecond = seconds > 0 ? static_cast<double>(m_statistic.samples) / seconds : 0;
}

qz_ChannelIO::StreamStatistic MuxStatistic::Get() const {
    const CAutoLock lock(&m_lock);
    return m_statistic;
}

}  // namespace Norvane::MediaKit::Filters
