// Values of box fields in a form that people read.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace mediakit_tool {

/// "avc1"; a character that cannot be shown comes out as \xNN.
std::string FourccText(std::uint32_t code);
/// "und" of three letters of 5 bits (ISO 639-2/T), "0x1234" for what is none.
std::string LanguageText(std::uint16_t code);
/// "2024-05-01T12:00:00Z" of seconds since 1904-01-01; empty for 0 and for years of more than four digits.
std::string CreationTimeText(std::uint64_t seconds);
/// "1:02:03.450" of a count of ticks; empty without a timescale and for a count that means "unknown" or overflows.
std::string TicksText(std::uint64_t ticks, std::uint32_t timescale);
/// "0x" and at least `digits` hexadecimal digits.
std::string HexText(std::uint64_t value, int digits);
/// "00 1f ff"; the bytes of a long row end with "...".
std::string BytesText(std::span<const std::uint8_t> bytes, std::size_t most);
/// "rotated by 90 degrees" of a transformation matrix (ISO/IEC 14496-12, 8.2.2), "" when nothing is turned, "other".
std::string MatrixText(std::span<const std::uint32_t> matrix);

/// 16.16 and 8.8 numbers.
constexpr double Fixed16(std::uint32_t value) { return static_cast<double>(static_cast<std::int32_t>(value)) / 65536; }
constexpr double UnsignedFixed16(std::uint32_t value) { return static_cast<double>(value) / 65536; }
constexpr double Fixed8(std::uint16_t value) { return static_cast<double>(static_cast<std::int16_t>(value)) / 256; }

}  // namespace mediakit_tool
