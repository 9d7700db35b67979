#include "Testing/Kit/box_builder.h"

namespace mediakit_test {

box_builder& box_builder::words(std::initializer_list<std::uint32_t> values) {
    for (const std::uint32_t value : values) u32(value);
    return *this;
}

box_builder& box_builder::fill(std::size_t count, std::uint8_t value) {
    bytes_.insert(bytes_.end(), count, value);
    return *this;
}

box_builder& box_builder::text(std::string_view characters) {
    bytes_.insert(bytes_.end(), characters.begin(), characters.end());
    return *this;
}

box_builder& box_builder::add(const std::vector<std::uint8_t>& bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
}

box_builder& box_builder::number(std::uint64_t value, int bytes) {
    while (bytes-- > 0) bytes_.push_back(static_cast<std::uint8_t>(value >> 8 * bytes));
    return *this;
}

box_builder make_box(std::string_view type, const box_builder& payload) {
    return make_lying_box(static_cast<std::uint32_t>(8 + payload.size()), type, payload);
}

box_builder make_large_box(std::string_view type, const box_builder& payload) {
    return make_lying_large_box(16 + payload.size(), type, payload);
}

box_builder make_full_box(std::string_view type, std::uint8_t version, std::uint32_t flags,
                          const box_builder& payload) {
    return make_box(type, box_builder().u8(version).u24(flags).add(payload));
}

box_builder make_lying_box(std::uint32_t size, std::string_view type, const box_builder& payload) {
    return box_builder().u32(size).text(type).add(payload);
}

box_builder make_lying_large_box(std::uint64_t size, std::string_view type, const box_builder& payload) {
    return box_builder().u32(1).text(type).u64(size).add(payload);
}

}  // namespace mediakit_test
