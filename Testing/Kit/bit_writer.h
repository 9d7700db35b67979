// Writes bits, for tests that make coded headers by hand.
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace mediakit_test {

/// Most significant bit first. Each operation gives the writer back, so that a header reads as one chain.
class bit_writer {
public:
    bit_writer& u(unsigned count, std::uint64_t value) {
        while (count-- > 0) bits_.push_back(value >> count & 1);
        return *this;
    }
    bit_writer& ue(std::uint64_t value) {
        const unsigned length = static_cast<unsigned>(std::bit_width(value + 1));
        return u(length - 1, 0).u(length, value + 1);
    }
    bit_writer& se(std::int64_t value) {
        return ue(value > 0 ? 2 * static_cast<std::uint64_t>(value) - 1 : 2 * static_cast<std::uint64_t>(-value));
    }
    /// The stop bit, and zeros up to a whole byte.
    bit_writer& trailing() {
        u(1, 1);
        while (bits_.size() % 8 != 0) u(1, 0);
        return *this;
    }
    std::size_t size() const { return bits_.size(); }

    /// Whole bytes; a last one that is not full is padded with zeros.
    std::vector<std::uint8_t> bytes() const {
        std::vector<std::uint8_t> out((bits_.size() + 7) / 8);
        for (std::size_t i = 0; i < bits_.size(); ++i)
            out[i / 8] = static_cast<std::uint8_t>(out[i / 8] | bits_[i] << (7 - i % 8));
        return out;
    }

    /// The bytes with emulation prevention, as they stand in a NAL unit.
    std::vector<std::uint8_t> nal() const {
        std::vector<std::uint8_t> out;
        unsigned zeros = 0;
        for (const std::uint8_t byte : bytes()) {
            if (zeros >= 2 && byte <= 3) {
                out.push_back(3);
                zeros = 0;
            }
            zeros = byte == 0 ? zeros + 1 : 0;
            out.push_back(byte);
        }
        return out;
    }

private:
    std::vector<bool> bits_;
};

}  // namespace mediakit_test
