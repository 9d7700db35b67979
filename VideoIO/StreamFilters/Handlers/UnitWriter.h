// NAL units behind their lengths, as samples of `avc1` and `hvc1` tracks hold them (ISO/IEC 14496-15, clause 5.3.4.2).
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <array>
#include <cstdint>
#include <span>

namespace Norvane::MediaKit::Filters::details {

/// Bytes of the length in front of each unit.
inline constexpr std::uint32_t kUnitLengthSize = 4;
/// Bytes that are left of a sample when no unit can be in them any more.
inline constexpr std::uint32_t kLastBytes = 4;

/// Two writes: the length, and the unit from where it lies. Adds both to `size`.
inline bool write_unit(vio::byte_stream& stream, std::span<const std::uint8_t> unit, std::uint32_t& size) {
    const auto length = static_cast<std::uint32_t>(unit.size());
    const std::array<std::uint8_t, kUnitLengthSize> prefix = {
        static_cast<std::uint8_t>(length >> 24), static_cast<std::uint8_t>(length >> 16),
        static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)};
    if (!stream.write(prefix.data(), kUnitLengthSize) || !stream.write(unit.data(), length)) {
        return false;
    }
    size += kUnitLengthSize + length;
    return true;
}

}  // namespace Norvane::MediaKit::Filters::details
