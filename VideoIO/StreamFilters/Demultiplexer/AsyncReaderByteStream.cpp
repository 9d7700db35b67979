#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"

#include "Logging/Checks.h"

#include <algorithm>
#include <limits>

namespace Norvane::MediaKit::Filters {

bool AsyncReaderByteStream::Available(LONGLONG& available) {
    LONGLONG total = 0;
    available = 0;
    const HRESULT hr = m_reader->Length(&total, &available);
    QZCheckCondition((((HRESULT)(hr)) >= 0), false);
    available = std::max<LONGLONG>(available, 0);
    return true;
}

/// A reader that does not tell its length is trusted.
bool AsyncReaderByteStream::Reaches(std::uint64_t end) {
    if (end <= m_knownSize) return true;
    LONGLONG available = 0;
    if (!Available(available)) return true;
    m_knownSize = static_cast<std::uint64_t>(available);
    return end <= m_knownSize;
}

std::uint64_t AsyncReaderByteStream::size() {
    LONGLONG available = 0;
    if (!m_reader || !Available(available)) return 0;
    m_knownSize = static_cast<std::uint64_t>(available);
    return m_knownSize;
}

bool AsyncReaderByteStream::skip(std::int64_t delta) {
    m_position += static_cast<std::uint64_t>(delta);
    return true;
}

bool AsyncReaderByteStream::seek(std::uint64_t position) {
    m_position = position;
    return true;
}

bool AsyncReaderByteStream::read(void* buffer, std::uint32_t count) {
    constexpr std::uint64_t limit = std::numeric_limits<LONGLONG>::max();
    if (!m_reader || count > static_cast<std::uint32_t>(std::numeric_limits<LONG>::max()) || m_position > limit - count)
        return false;
    const HRESULT hr =
        m_reader->SyncRead(static_cast<LONGLONG>(m_position), static_cast<LONG>(count), static_cast<BYTE*>(buffer));
    QZCheckCondition((((HRESULT)(hr)) >= 0), false);
    if (!Reaches(m_position + count)) return false;
    m_position += count;
    return true;
}

}  // namespace Norvane::MediaKit::Filters
