#include "VideoIO/StreamFilters/Multiplexer/MuxPerformanceCounters.h"

#include "Platform/Kernel/Clock.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

void MuxPerformanceCounters::Start() {
    LARGE_INTEGER now{};
    QueryPerformanceCounter(&now);
    m_start = now.QuadPart;
    m_flag = false;
}

double MuxPerformanceCounters::SecondsSinceStart() const {
    LARGE_INTEGER now{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart - m_start) / static_cast<double>(frequency.QuadPart);
}

void MuxPerformanceCounters::Add(double seconds) {
    m_sum += seconds;
    m_sumOfSquares += seconds * seconds;
    m_minimum = std::min(m_minimum, seconds);
    m_maximum = std::max(m_maximum, seconds);
    ++m_count;
    m_ring[m_next] = m_ring[m_next - kept] = {seconds, m_flag};
    if (++m_next == m_ring.size()) m_next = kept;
}

std::span<const MuxPerformanceCounters::Entry> MuxPerformanceCounters::Last() const {
    if (m_count < kept) return std::span(m_ring).first(static_cast<std::size_t>(m_count));
    return std::span(m_ring).subspan(m_next - kept, kept);
}

}  // namespace Norvane::MediaKit::Filters
