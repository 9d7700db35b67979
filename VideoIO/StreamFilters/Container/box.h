// The two roots of the box classes of the ISO base media file format (ISO/IEC 14496-12).
//
// A box is a plain record: header data and payload fields, zero and empty on construction. What a
// file needs of defaults is set by whoever authors it. The tree is not held in the records: the
// parser keeps boxes by file offset, the writer in a list with each box's parent.
#pragma once

#include "VideoIO/StreamFilters/Container/fourcc.h"
#include "VideoIO/StreamFilters/Container/visitor.h"

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace vio::mp4 {

/// Bits of box::state.
namespace box_state {
/// The writer has put the box on the stream.
inline constexpr std::uint32_t written = 1;
/// The box's bytes are on the stream already, and the writer steps over them.
inline constexpr std::uint32_t reserved_on_stream = 2;
}  // namespace box_state

struct box : details::visitable<box, details::base_visitable> {
    explicit box(std::uint32_t code = 0) : type(code) {}

    /// Position of the box's first byte in the file. Mutable, as is header_size: the writer notes
    /// both in its const visits.
    mutable std::uint64_t offset = 0;
    std::uint32_t type;
    /// Whole size of the box with header and children.
    std::uint64_t size = 0;
    /// Bytes in front of the payload. The parser does not count a full box's version and flags; it
    /// does count the fixed fields of a sample entry, behind which the child boxes stand.
    mutable std::uint32_t header_size = 8;
    std::uint32_t state = 0;
};

struct full_box : details::visitable<full_box, box> {
    explicit full_box(std::uint32_t code = 0) : visitable(code) { header_size = 12; }

    std::uint8_t version = 0;
    std::uint32_t flags = 0;  ///< low 24 bits
};

/// Base of a box class T: its constant code, unless it is made for another, and its accept operations.
template <class T, class Base, std::uint32_t Code>
struct box_of : details::visitable<T, Base> {
    static constexpr std::uint32_t code = Code;
    explicit box_of(std::uint32_t as = Code) : details::visitable<T, Base>(as) {}
};

/// Holds for T and const T: what a field list that serves reading and writing takes.
template <class Box, class T>
concept record = std::same_as<std::remove_const_t<Box>, T>;

}  // namespace vio::mp4
