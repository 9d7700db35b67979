// Bytes of MP4 boxes put together by hand, true or lying about their sizes.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace mediakit_test {

/// A row of bytes with big-endian numbers.
class box_builder {
public:
    box_builder& u8(std::uint8_t value) { return number(value, 1); }
    box_builder& u16(std::uint16_t value) { return number(value, 2); }
    box_builder& u24(std::uint32_t value) { return number(value, 3); }
    box_builder& u32(std::uint32_t value) { return number(value, 4); }
    box_builder& u64(std::uint64_t value) { return number(value, 8); }
    /// Each value as 32 bits.
    box_builder& words(std::initializer_list<std::uint32_t> values);
    box_builder& zeros(std::size_t count) { return fill(count, 0); }
    box_builder& fill(std::size_t count, std::uint8_t value);
    /// The characters without a terminator.
    box_builder& text(std::string_view characters);
    box_builder& add(const box_builder& other) { return add(other.bytes_); }
    box_builder& add(const std::vector<std::uint8_t>& bytes);

    const std::vector<std::uint8_t>& bytes() const { return bytes_; }
    std::size_t size() const { return bytes_.size(); }

    friend bool operator==(const box_builder&, const box_builder&) = default;

private:
    box_builder& number(std::uint64_t value, int bytes);

    std::vector<std::uint8_t> bytes_;
};

/// A box with an 8-byte header of the right size.
box_builder make_box(std::string_view type, const box_builder& payload = {});
/// A box with a 16-byte header.
box_builder make_large_box(std::string_view type, const box_builder& payload = {});
/// A box with version and flags.
box_builder make_full_box(std::string_view type, std::uint8_t version, std::uint32_t flags,
                          const box_builder& payload = {});
/// A box that says a size of its own.
box_builder make_lying_box(std::uint32_t size, std::string_view type, const box_builder& payload = {});
box_builder make_lying_large_box(std::uint64_t size, std::string_view type, const box_builder& payload = {});

}  // namespace mediakit_test
