#include "VideoIO/StreamFilters/Authoring/SampleQueue.h"

#include <utility>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr std::size_t kInitialSlots = 128;

std::uint64_t DataLength(IMediaSample& sample) {
    const LONG length = sample.GetActualDataLength();
    return length > 0 ? static_cast<std::uint64_t>(length) : 0;
}

}  // namespace

void SampleQueue::Push(REFERENCE_TIME key, IMediaSample* sample) {
    if (m_size == m_ring.size()) Grow();
    m_ring[(m_first + m_size) & (m_ring.size() - 1)] = {key, ComPtr<IMediaSample>(sample)};
    ++m_size;
    m_bytes += DataLength(*sample);
}

QueuedSample SampleQueue::Pop() {
    QueuedSample entry = std::move(m_ring[m_first]);
    m_first = (m_first + 1) & (m_ring.size() - 1);
    --m_size;
    m_bytes -= DataLength(*entry.sample);
    return entry;
}

void SampleQueue::Clear() {
    while (!empty()) Pop();
    m_bytes = 0;
}

void SampleQueue::Grow() {
    std::vector<QueuedSample> larger(m_ring.empty() ? kInitialSlots : 2 * m_ring.size());
    for (std::size_t i = 0; i < m_size; ++i) larger[i] = std::move(m_ring[(m_first + i) & (m_ring.size() - 1)]);
    m_ring = std::move(larger);
    m_first = 0;
}

}  // namespace Norvane::MediaKit::Filters
