#include "Tools/mediakit/crc32.h"

#include <array>

namespace mediakit_tool {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;  // lowest bit first
constexpr std::size_t kBytesAtOnce = 8;

using Table = std::array<std::uint32_t, 256>;

/// [k][b]: what byte b has come to after k bytes of zeros behind it.
constexpr std::array<Table, kBytesAtOnce> MakeTables() {
    std::array<Table, kBytesAtOnce> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? kPolynomial : 0);
        tables[0][byte] = crc;
    }
    for (std::size_t k = 1; k < kBytesAtOnce; ++k)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[k][byte] = tables[k - 1][byte] >> 8 ^ tables[0][tables[k - 1][byte] & 0xFF];
    return tables;
}

constexpr auto kTables = MakeTables();

}  // namespace

std::uint32_t Crc32(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = ~0u;
    for (; bytes.size() >= kBytesAtOnce; bytes = bytes.subspan(kBytesAtOnce)) {
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < kBytesAtOnce; ++i) {
            const std::uint32_t fed = i < 4 ? bytes[i] ^ (crc >> 8 * i & 0xFF) : bytes[i];
            next ^= kTables[kBytesAtOnce - 1 - i][fed];
        }
        crc = next;
    }
    for (const std::uint8_t byte : bytes) crc = crc >> 8 ^ kTables[0][(crc ^ byte) & 0xFF];
    return ~crc;
}

}  // namespace mediakit_tool
