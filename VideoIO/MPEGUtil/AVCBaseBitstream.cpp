#include "VideoIO/MPEGUtil/AVCBaseBitstream.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace ProtectedLibrary {

std::span<const std::uint32_t> to_rbsp(std::vector<std::uint32_t>& words, std::span<const std::uint8_t> unit) {
    const std::size_t room = (unit.size() + 3) / 4 + 2;  // 8 bytes more than the unit at least
    if (words.size() < room) {
        words.resize(room);
    }
    std::size_t count = 0;
    std::uint32_t word = 0;
    unsigned zeros = 0;
    for (const std::uint8_t byte : unit) {
        if (byte == 3 && zeros >= 2) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        word = word << 8 | byte;
        if (++count % 4 == 0) {
            words[count / 4 - 1] = word;
        }
    }
    if (count % 4 != 0) {
        words[count / 4] = word << (32 - 8 * (count % 4));
    }
    return {words.data(), (count + 3) / 4};
}

void AVCBaseBitstream::set_source(std::span<const std::uint32_t> words) {
    // Zeros at the end read the same as the end, and without them the stop bit is in the last word.
    while (!words.empty() && words.back() == 0) {
        words = words.first(words.size() - 1);
    }
    m_base = m_current = words.data();
    m_size = static_cast<std::uint32_t>(words.size());
    m_bit = 31;
}

std::uint32_t AVCBaseBitstream::peek32() const {
    const std::uint64_t window = std::uint64_t{word(0)} << 32 | word(1);
    return static_cast<std::uint32_t>(window >> (m_bit + 1));
}

std::uint32_t AVCBaseBitstream::get_bits(unsigned count) {
    if (count == 0) {
        return 0;
    }
    const std::uint32_t bits = peek32() >> (32 - count);
    skip_bits(count);
    return bits;
}

void AVCBaseBitstream::skip_bits(unsigned count) {
    const std::uint64_t step = std::min<std::uint64_t>(count, bits_left());
    const std::uint64_t position = bits_read() + step;
    m_current = m_base + position / 32;
    m_bit = 31 - static_cast<std::int32_t>(position % 32);
}

bool AVCBaseBitstream::get_code_number(std::uint32_t& code) {
    const unsigned zeros = static_cast<unsigned>(std::countl_zero(peek32()));
    if (zeros > 31) {
        return false;
    }
    skip_bits(zeros + 1);
    code = static_cast<std::uint32_t>((std::uint64_t{1} << zeros) - 1 + get_bits(zeros));
    return true;
}

std::int32_t AVCBaseBitstream::get_ue() {
    std::uint32_t code = 0;
    if (!get_code_number(code) || code > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
        return -1;
    }
    return static_cast<std::int32_t>(code);
}

std::int32_t AVCBaseBitstream::get_se() {
    std::uint32_t code = 0;
    if (!get_code_number(code)) {
        return std::numeric_limits<std::int32_t>::min();
    }
    const auto magnitude = static_cast<std::int32_t>((code >> 1) + (code & 1));
    return (code & 1) != 0 ? magnitude : -magnitude;
}

void AVCBaseBitstream::align() { skip_bits(static_cast<unsigned>(-bits_read() % 8)); }

std::uint64_t AVCBaseBitstream::bits_left() const { return std::uint64_t{m_size} * 32 - bits_read(); }

bool AVCBaseBitstream::more_rbsp_data() const {
    if (bits_left() == 0) {
        return false;
    }
    const std::uint64_t end = std::uint64_t{m_size} * 32;
    return bits_read() < end - 1 - static_cast<unsigned>(std::countr_zero(m_base[m_size - 1]));
}

}  // namespace ProtectedLibrary
