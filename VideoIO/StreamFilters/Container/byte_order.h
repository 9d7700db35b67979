// Big-endian numbers, in which everything in an MP4 file stands.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace vio::details {

/// The value with its bytes in file order. It is its own inverse.
template <std::unsigned_integral T>
constexpr T big_endian(T value) {
    if constexpr (std::endian::native == std::endian::big || sizeof(T) == 1) return value;
    if constexpr (sizeof(T) == 2) return __builtin_bswap16(value);
    if constexpr (sizeof(T) == 4) return __builtin_bswap32(value);
    if constexpr (sizeof(T) == 8) return __builtin_bswap64(value);
}

/// What a table's element is made of: itself when it is a number, otherwise words of 32 bits.
template <class Element>
using word_of = typename std::conditional_t<std::is_integral_v<Element>, std::type_identity<Element>,
                                            std::type_identity<std::uint32_t>>::type;

/// Swaps the words of a block of elements in place.
template <class Element>
void swap_words(void* block, std::size_t elements) {
    using word = word_of<Element>;
    static_assert(std::has_unique_object_representations_v<Element> && sizeof(Element) % sizeof(word) == 0);
    auto* at = static_cast<unsigned char*>(block);
    for (auto* const end = at + elements * sizeof(Element); at != end; at += sizeof(word)) {
        word value;
        std::memcpy(&value, at, sizeof value);
        value = big_endian(value);
        std::memcpy(at, &value, sizeof value);
    }
}

}  // namespace vio::details
