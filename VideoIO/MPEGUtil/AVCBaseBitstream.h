// The bit reader under the H.264 header parsing, and the removal of emulation prevention in front of it.
#pragma once

#include <cstdint>
#include <exception>
#include <span>
#include <vector>

namespace ProtectedLibrary {

/// Statuses of the splitter and its readers; 0 is success.
enum AVCStatus : std::int32_t {
    AVC_OK = 0,
    AVC_ERR_NULL_PTR = -2,
    AVC_ERR_NOT_ENOUGH_BUFFER = -5,
    AVC_ERR_NOT_ENOUGH_DATA = -10,
    AVC_ERR_INVALID_STREAM = -16,
};

/// A syntax element that cannot be. Thrown and caught within the header readers.
class AVC_exception : public std::exception {
public:
    explicit AVC_exception(std::int32_t status) : m_status(status) {}
    std::int32_t status() const { return m_status; }
    const char* what() const noexcept override { return "bad H.264 syntax"; }

private:
    std::int32_t m_status;
};

/// Copies a NAL unit less its emulation prevention bytes (each 3 behind two or more zeros), packed in words with the
/// first byte in the highest place and padded with zeros to whole words. `words` only ever grows; returned are the
/// words that hold the unit.
std::span<const std::uint32_t> to_rbsp(std::vector<std::uint32_t>& words, std::span<const std::uint8_t> unit);

/// Takes bits from words, the most significant first. The words stay the caller's. Behind their end it sees zeros.
class AVCBaseBitstream {
public:
    AVCBaseBitstream() = default;
    explicit AVCBaseBitstream(std::span<const std::uint32_t> words) { set_source(words); }

    void set_source(std::span<const std::uint32_t> words);

    /// The next `count` bits, at most 32.
    std::uint32_t get_bits(unsigned count);
    bool get_flag() { return get_bits(1) != 0; }
    void skip_bits(unsigned count);

    /// Unsigned Exp-Golomb. Negative for a prefix above 31 bits and for values that do not fit.
    std::int32_t get_ue();
    /// Signed Exp-Golomb. INT32_MIN, which the syntax cannot express, for a prefix above 31 bits.
    std::int32_t get_se();

    /// Skips to the next whole byte.
    void align();

    /// Bits taken since the start of the source.
    std::uint64_t bits_read() const { return static_cast<std::uint64_t>(m_current - m_base) * 32 + 31 - m_bit; }
    /// Bits up to the end of the last word that is not 0.
    std::uint64_t bits_left() const;
    /// Whether anything stands in front of the stop bit, the last bit that is set (ITU-T H.264, clause 7.2).
    bool more_rbsp_data() const;

private:
    std::uint32_t word(std::size_t ahead) const {
        return static_cast<std::size_t>(m_base + m_size - m_current) > ahead ? m_current[ahead] : 0;
    }
    std::uint32_t peek32() const;
    bool get_code_number(std::uint32_t& code);

    const std::uint32_t* m_base = nullptr;
    const std::uint32_t* m_current = nullptr;
    std::int32_t m_bit = 31;   // the next bit in the current word
    std::uint32_t m_size = 0;  // in words, less zero words at the end
};

}  // namespace ProtectedLibrary
