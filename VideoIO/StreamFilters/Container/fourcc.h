// Four-character codes: 32-bit values with the first character in the most significant byte.
#pragma once

#include <cstdint>
#include <string>

namespace vio::mp4 {

constexpr std::uint32_t fourcc(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<std::uint8_t>(text[i]);
    return code;
}

/// The code's four characters for a log line, with '.' for those that cannot be shown.
std::wstring fourcc_text(std::uint32_t code);

}  // namespace vio::mp4
