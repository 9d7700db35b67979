#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"

#include "Logging/Checks.h"

#include <algorithm>
#include <limits>

namespace Norvane::MediaKit::Filters {

bool AsyncReaderByteStream::Lengths(std::uint64_t& total, std::uint64_t& available) {
    LONGLONG all = 0;
    LONGLONG now = 0;
    const HRESULT hr = m_reader->Length(&all, &now);
    if (hr < 0) m_knownSize = std::numeric_limits<std::uint64_t>::max();
    QZCheckCondition((((HRESULT)(hr)) >= 0), false);
    total = static_cast<std::uint64_t>(std::max<LONGLONG>(all, 0));
    available = static_cast<std::uint64_t>(std::max<LONGLONG>(now, 0));
    return true;
}

/// A reader that does not tell its length is trusted, and is asked once.
bool AsyncReaderByteStream::Reaches(std::uint64_t end) {
    if (end <= m_knownSize) return true;
    std::uint64_t total = 0;
    return !Lengths(total, m_knownSize) || end <= m_knownSize;
}

std::uint64_t AsyncReaderByteStream::size() {
    std::uint64_t total = 0;
    return m_reader && Lengths(total, m_knownSize) ? m_knownSize : 0;
}

std::uint64_t AsyncReaderByteStream::WholeSize() {
    std::uint64_t total = 0;
    return m_reader && Lengths(total, m_knownSize) ? std::max(total, m_knownSize) : 0;
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
    m_lastResult = hr;
    // Some readers fail what goes past the end of the file, where others answer with fewer bytes.
    if (hr < 0 && SUCCEEDED(m_firstFailure.result) && m_position + count <= WholeSize())
        m_firstFailure = {hr, m_position};
    QZCheckCondition((((HRESULT)(hr)) >= 0), false);
    if (!Reaches(m_position + count)) return false;
    m_position += count;
    return true;
}

}  // namespace Norvane::MediaKit::Filters
