// Bytes from hexadecimal text, for the tests of this folder.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace qz_MPEGUtil::test {

inline std::vector<std::uint8_t> FromHex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(digit(text[i]) << 4 | digit(text[i + 1])));
    }
    return bytes;
}

}  // namespace qz_MPEGUtil::test
