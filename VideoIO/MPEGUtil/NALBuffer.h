// The record by which the NAL scanners take and give data.
#pragma once

#include <cstdint>

namespace qz_MPEGUtil {

/// Bytes of the caller and how far they are consumed. Owns nothing.
struct nal_buffer {
    /// `flags`: no further data of this sample will follow, so its last unit ends where the data end.
    static constexpr std::uint32_t complete = 1;

    std::int64_t time = -1;  ///< the sample's time, -1 for none
    const std::uint8_t* base = nullptr;
    std::uint32_t offset = 0;  ///< bytes already consumed
    std::uint32_t size = 0;    ///< bytes left behind `offset`
    std::uint32_t flags = 0;

    const std::uint8_t* begin() const { return base + offset; }
    const std::uint8_t* end() const { return base + offset + size; }
    bool is_complete() const { return (flags & complete) != 0; }
};

/// Moves `offset` by `count`, which may be negative, and `size` against it. A step that would leave the data
/// changes nothing and gives -16; a null record gives -2; otherwise 0.
std::int32_t advance(nal_buffer* buffer, std::int32_t count);

}  // namespace qz_MPEGUtil
