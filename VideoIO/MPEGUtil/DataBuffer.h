// The parse buffer behind H26xSyntaxReader: a window of fixed size on a stream.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/CriticalSection.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace qz_MPEGUtil {

/// Holds the bytes from the last consumed ones to the last added ones, and remembers which of them
/// came from which position of the stream. Bytes are copied once, on the way in; each Add moves what
/// is unread to the front. One thread adds and reads; StreamPositionOf may be asked by another.
class DataBuffer {
public:
    /// Bytes the buffer can hold, allocated at the first Add.
    static constexpr std::size_t capacity = 1638400;
    static constexpr std::int64_t no_position = -1;

    DataBuffer() = default;
    virtual ~DataBuffer() = default;
    DataBuffer(const DataBuffer&) = delete;
    DataBuffer& operator=(const DataBuffer&) = delete;

    /// Forgets all bytes and positions.
    virtual void Reset();

    /// Drops what has been read, then takes as many bytes as there is room for. `streamPosition` is
    /// that of the first byte, or no_position. Returns the count of bytes taken.
    std::size_t Add(const BYTE* bytes, std::size_t size, std::int64_t streamPosition);
    std::size_t Add(const BYTE* bytes, std::size_t size) { return Add(bytes, size, no_position); }

    /// Moves reading to a place among the held bytes. E_INVALIDARG below the buffer, QZ_E_MORE_DATA
    /// behind the last byte.
    HRESULT SetReadPointer(const BYTE* pReadPointer);

    const BYTE* Begin() const { return m_parseBuffer.data(); }
    const BYTE* ReadPointer() const { return m_readPointer; }
    const BYTE* End() const { return Begin() + m_dataSize; }
    std::size_t BytesRead() const { return static_cast<std::size_t>(m_readPointer - Begin()); }
    std::size_t BytesLeft() const { return static_cast<std::size_t>(m_dataSize) - BytesRead(); }

    /// The stream position of a held byte, counted on from the nearest remembered position before it;
    /// nothing when none is known.
    std::optional<std::int64_t> StreamPositionOf(const BYTE* pointer) const;

private:
    void Compact(std::size_t consumed);
    void MovePositionsDown(std::size_t consumed) MK_REQUIRES(m_lock);

    std::uint64_t m_dataSize = 0;  // bytes held, read ones included
    const BYTE* m_readPointer = nullptr;
    std::vector<BYTE> m_parseBuffer;
    std::map<const BYTE*, std::int64_t> m_streamPositionMap MK_GUARDED_BY(m_lock);
    mutable CCritSec m_lock{"DataBuffer", LockRank::Object};  // innermost: nothing is called while it is held
};

}  // namespace qz_MPEGUtil
