// Bit reader over one NAL unit in memory.
//
// ITU-T H.264 clause 7.4.1 and ITU-T H.265 clause 7.4.2: a byte 3 behind two zero bytes is an
// emulation prevention byte and no part of the payload. The reader drops it while it goes, so that
// only the bytes a parser asks for are ever touched: reading the header of a slice costs the same
// whatever the size of the slice.
#pragma once

#include "MediaKit/Results.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qz_MPEGUtil {

/// Reads u(n), ue(v) and se(v) from the bytes of a NAL unit, without its start code. A read past the
/// end, or an Exp-Golomb code of more than 31 leading zeros, gives 0 and is remembered: every later
/// read gives 0 too, so that a parser may look at Result() once, behind its last read or before it
/// trusts a value as a count. Never reads outside the span. Not for use by several threads at once.
class RbspReader {
public:
    RbspReader() = default;
    explicit RbspReader(std::span<const std::uint8_t> bytes)
        : m_next(bytes.data()), m_end(bytes.data() + bytes.size()) {}

    /// u(n), at most 32 bits.
    std::uint32_t Bits(unsigned count) {
        if (count == 0 || !Require(count)) {
            return 0;
        }
        const auto value = static_cast<std::uint32_t>(m_cache >> (64 - count));
        Drop(count);
        return value;
    }

    bool Flag() { return Bits(1) != 0; }

    /// ue(v).
    std::uint32_t UE() {
        Refill();
        const auto zeros = static_cast<unsigned>(std::countl_zero(m_cache));
        if (zeros >= m_cached) {
            Fail(m_cached > 31 ? QZ_E_BAD_DATA : QZ_E_MORE_DATA);
            return 0;
        }
        if (zeros > 31) {
            Fail(QZ_E_BAD_DATA);
            return 0;
        }
        Drop(zeros + 1);
        const std::uint32_t suffix = Bits(zeros);
        return Failed() ? 0 : (std::uint32_t{1} << zeros) - 1 + suffix;
    }

    /// se(v).
    std::int32_t SE() {
        const std::uint32_t code = UE();
        const auto magnitude = static_cast<std::int32_t>((code >> 1) + (code & 1));
        return (code & 1) != 0 ? magnitude : -magnitude;
    }

    void Skip(unsigned count) {
        for (; count > 32; count -= 32) {
            Bits(32);
        }
        Bits(count);
    }

    /// For a parser that met a value out of its range: the reader fails with QZ_E_BAD_DATA.
    void Refuse() { Fail(QZ_E_BAD_DATA); }

    /// S_OK, QZ_E_MORE_DATA behind a read past the end, or QZ_E_BAD_DATA.
    HRESULT Result() const { return m_result; }
    bool Failed() const { return m_result != S_OK; }

private:
    void Fail(HRESULT result) {
        if (m_result == S_OK) {
            m_result = result;
        }
        m_cache = 0;
        m_cached = 0;
        m_next = m_end;
    }

    void Drop(unsigned count) {
        m_cache = count < 64 ? m_cache << count : 0;
        m_cached -= count;
    }

    bool Require(unsigned count) {
        if (m_cached >= count) {
            return true;
        }
        Refill();
        if (m_cached >= count) {
            return true;
        }
        Fail(QZ_E_MORE_DATA);
        return false;
    }

    /// Fills the cache to more than 56 bits while there are bytes.
    void Refill() {
        while (m_cached <= 56 && m_next != m_end) {
            std::uint8_t byte = *m_next++;
            if (byte == 3 && m_zeros >= 2) {
                m_zeros = 0;
                if (m_next == m_end) {
                    return;
                }
                byte = *m_next++;
            }
            m_zeros = byte == 0 ? m_zeros + 1 : 0;
            m_cache |= std::uint64_t{byte} << (56 - m_cached);
            m_cached += 8;
        }
    }

    const std::uint8_t* m_next = nullptr;
    const std::uint8_t* m_end = nullptr;
    std::uint64_t m_cache = 0;  // the next bits, from the top
    unsigned m_cached = 0;      // how many of them
    unsigned m_zeros = 0;       // zero bytes in a row before m_next
    HRESULT m_result = S_OK;
};

}  // namespace qz_MPEGUtil
