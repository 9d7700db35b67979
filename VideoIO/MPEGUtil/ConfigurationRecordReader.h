// Bit reader over a decoder configuration record, ISO/IEC 14496-15. Unlike the payload of a NAL unit a
// record holds no emulation prevention bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qz_MPEGUtil {

/// Reads big-endian values. Behind the end it gives zeros, and Exhausted() tells so.
class ConfigurationRecordReader {
public:
    explicit ConfigurationRecordReader(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    /// At most 32 bits.
    std::uint32_t Bits(unsigned count) {
        std::uint32_t value = 0;
        for (; count > 0; --count, ++m_bit) {
            const std::size_t byte = m_bit / 8;
            const bool set = byte < m_bytes.size() && (m_bytes[byte] >> (7 - m_bit % 8) & 1) != 0;
            value = value << 1 | (set ? 1 : 0);
        }
        return value;
    }

    /// From a byte boundary: the next `count` bytes, or what is left of them.
    std::span<const std::uint8_t> Bytes(std::size_t count) {
        const std::size_t first = std::min(m_bit / 8, m_bytes.size());
        m_bit += count * 8;
        return m_bytes.subspan(first, std::min(count, m_bytes.size() - first));
    }

    std::size_t BytesLeft() const { return m_bytes.size() - std::min(m_bit / 8, m_bytes.size()); }
    /// More was read than there is.
    bool Exhausted() const { return m_bit > m_bytes.size() * 8; }

private:
    std::span<const std::uint8_t> m_bytes;
    std::size_t m_bit = 0;
};

}  // namespace qz_MPEGUtil
