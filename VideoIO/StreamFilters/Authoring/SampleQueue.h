// The samples of one input pin that wait for their place in the file.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IMediaSample.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Norvane::MediaKit::Filters {

struct QueuedSample {
    REFERENCE_TIME key = 0;  ///< what the multiplexer sorts by, from the sample's start time
    ComPtr<IMediaSample> sample;
};

/// First in, first out, in arrival order. Keeps its room, so that a queue in steady state allocates nothing.
/// Each entry holds a reference on its sample, and with it the sample's buffer. No lock.
class SampleQueue {
public:
    bool empty() const { return m_size == 0; }
    std::size_t size() const { return m_size; }
    /// Bytes of data in the queue.
    std::uint64_t bytes() const { return m_bytes; }

    const QueuedSample& operator[](std::size_t i) const { return m_ring[(m_first + i) & (m_ring.size() - 1)]; }
    const QueuedSample& front() const { return (*this)[0]; }
    const QueuedSample& back() const { return (*this)[m_size - 1]; }

    void Push(REFERENCE_TIME key, IMediaSample* sample);
    QueuedSample Pop();
    /// Releases all samples.
    void Clear();

private:
    void Grow();

    std::vector<QueuedSample> m_ring;  ///< a power of two of slots, or none
    std::size_t m_first = 0;
    std::size_t m_size = 0;
    std::uint64_t m_bytes = 0;
};

}  // namespace Norvane::MediaKit::Filters
