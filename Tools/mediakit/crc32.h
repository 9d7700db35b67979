// The CRC-32 of IEEE 802.3, as in ZIP and PNG files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace mediakit_tool {

std::uint32_t Crc32(std::span<const std::uint8_t> bytes);

}  // namespace mediakit_tool
