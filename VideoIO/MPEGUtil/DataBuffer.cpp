#include "VideoIO/MPEGUtil/DataBuffer.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace qz_MPEGUtil {

void DataBuffer::Reset() {
    CAutoLock lock(&m_lock);
    m_readPointer = m_parseBuffer.data();
    m_dataSize = 0;
    m_streamPositionMap.clear();
}

std::size_t DataBuffer::Add(const BYTE* bytes, std::size_t size, std::int64_t streamPosition) {
    if (m_parseBuffer.empty()) {
        m_parseBuffer.resize(capacity);
        Reset();
    }
    const std::size_t consumed = BytesRead();
    const std::uint64_t unread = m_dataSize - consumed;
    if (unread > capacity) {
        QZLogHRESULT(E_UNEXPECTED);
        return 0;
    }
    if (consumed > 0) {
        Compact(consumed);
    }
    const std::size_t taken = std::min(size, capacity - static_cast<std::size_t>(unread));
    if (taken == 0) {
        return 0;
    }
    BYTE* const destination = m_parseBuffer.data() + unread;
    std::memcpy(destination, bytes, taken);
    if (streamPosition == no_position) {
        m_dataSize += taken;
        return taken;
    }
    CAutoLock lock(&m_lock);
    const bool continues = !m_streamPositionMap.empty() && std::prev(m_streamPositionMap.end())->second ==
                                                               streamPosition - static_cast<std::int64_t>(unread);
    if (!continues) {
        m_streamPositionMap.try_emplace(destination, streamPosition);
    }
    QZCheckCondition(!m_streamPositionMap.empty(), 0);
    m_dataSize += taken;
    return taken;
}

void DataBuffer::Compact(std::size_t consumed) {
    CAutoLock lock(&m_lock);
    const std::size_t unread = static_cast<std::size_t>(m_dataSize) - consumed;
    if (unread == 0) {
        m_streamPositionMap.clear();
    } else {
        MovePositionsDown(consumed);
        std::memmove(m_parseBuffer.data(), m_readPointer, unread);
    }
    m_readPointer = m_parseBuffer.data();
    m_dataSize = unread;
}

void DataBuffer::MovePositionsDown(std::size_t consumed) {
    std::map<const BYTE*, std::int64_t> moved;
    for (auto entry = m_streamPositionMap.begin(); entry != m_streamPositionMap.end(); ++entry) {
        const auto next = std::next(entry);
        if (entry->first >= m_readPointer) {
            moved.emplace(entry->first - consumed, entry->second);
        } else if (next == m_streamPositionMap.end() || next->first > m_readPointer) {
            moved.emplace(m_parseBuffer.data(), entry->second + (m_readPointer - entry->first));
        }
    }
    m_streamPositionMap.swap(moved);
}

HRESULT DataBuffer::SetReadPointer(const BYTE* pReadPointer) {
    QZCheckCondition(pReadPointer >= m_parseBuffer.data(), E_INVALIDARG);
    if (pReadPointer > End()) {
        return QZ_E_MORE_DATA;
    }
    m_readPointer = pReadPointer;
    return S_OK;
}

std::optional<std::int64_t> DataBuffer::StreamPositionOf(const BYTE* pointer) const {
    CAutoLock lock(&m_lock);
    const auto behind = m_streamPositionMap.upper_bound(pointer);
    if (behind == m_streamPositionMap.begin()) {
        return std::nullopt;
    }
    const auto& [start, position] = *std::prev(behind);
    return position + (pointer - start);
}

}  // namespace qz_MPEGUtil
