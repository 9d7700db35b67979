#include "Tools/mediakit/crc32.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace mediakit_tool {
namespace {

/// Bit by bit, as the polynomial is divided.
std::uint32_t SlowCrc32(const std::vector<std::uint8_t>& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
    return crc ^ 0xFFFFFFFF;
}

TEST(Crc32, IsThatOfTheStandardForEveryLength) {
    constexpr std::string_view kCheck = "123456789";
    EXPECT_EQ(Crc32({reinterpret_cast<const std::uint8_t*>(kCheck.data()), kCheck.size()}), 0xCBF43926u);
    std::vector<std::uint8_t> bytes;
    for (std::uint32_t n = 0; n < 50; ++n) {
        EXPECT_EQ(Crc32(bytes), SlowCrc32(bytes)) << n;
        bytes.push_back(static_cast<std::uint8_t>(n * 151 + 7));
    }
}

}  // namespace
}  // namespace mediakit_tool
