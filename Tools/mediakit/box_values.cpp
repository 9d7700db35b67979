#include "Tools/mediakit/box_values.h"

#include "Platform/Com/Types.h"
#include "Tools/mediakit/frame_rate.h"
#include "Tools/mediakit/recording_summary.h"

#include <chrono>
#include <cstdio>
#include <limits>

namespace mediakit_tool {

namespace {

template <class... Args>
std::string Format(const char* format, Args... args) {
    char text[96];
    std::snprintf(text, sizeof text, format, args...);
    return text;
}

/// Seconds between 1904-01-01 and 1970-01-01.
constexpr std::int64_t kEpochOffset = 2'082'844'800;
/// Of 9999-12-31.
constexpr std::uint64_t kLastSecond = 255'485'231'999;

/// The upper left of a matrix, 16.16, for quarter turns.
struct Turn {
    std::int32_t a, b, c, d;
    const char* text;
};
constexpr std::int32_t kOne = 0x10000;
constexpr Turn kTurns[] = {
    {kOne, 0, 0, kOne, ""},
    {0, kOne, -kOne, 0, "rotated by 90 degrees"},
    {-kOne, 0, 0, -kOne, "rotated by 180 degrees"},
    {0, -kOne, kOne, 0, "rotated by 270 degrees"},
};

}  // namespace

std::string FourccText(std::uint32_t code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned character = code >> shift & 0xFF;
        if (character >= 0x20 && character < 0x7F)
            text += static_cast<char>(character);
        else if (character == 0xA9)
            text += "\u00A9";  // the first character of QuickTime's text items
        else
            text += Format("\\x%02X", character);
    }
    return text;
}

std::string LanguageText(std::uint16_t code) {
    std::string text;
    for (int shift = 10; shift >= 0; shift -= 5) {
        const int letter = (code >> shift & 0x1F) + 0x60;
        if (letter < 'a' || letter > 'z') return HexText(code, 4);
        text += static_cast<char>(letter);
    }
    return text;
}

std::string CreationTimeText(std::uint64_t seconds) {
    using namespace std::chrono;
    if (seconds == 0 || seconds > kLastSecond) return {};
    const sys_seconds time{std::chrono::seconds(static_cast<std::int64_t>(seconds) - kEpochOffset)};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    return Format("%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
}

std::string TicksText(std::uint64_t ticks, std::uint32_t timescale) {
    if (timescale == 0 || ticks == std::numeric_limits<std::uint32_t>::max()) return {};
    const std::uint64_t whole = ticks / timescale;
    if (whole > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() / kUnitsPerSecond - 1)) return {};
    const std::uint64_t part = ticks % timescale * kUnitsPerSecond / timescale;
    return DurationText(static_cast<REFERENCE_TIME>(whole * kUnitsPerSecond + part));
}

std::string HexText(std::uint64_t value, int digits) {
    return Format("0x%0*llX", digits, static_cast<unsigned long long>(value));
}

std::string BytesText(std::span<const std::uint8_t> bytes, std::size_t most) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size() && i < most; ++i) text += Format(i == 0 ? "%02x" : " %02x", bytes[i]);
    return bytes.size() > most ? text + " ..." : text;
}

std::string MatrixText(std::span<const std::uint32_t> matrix) {
    if (matrix.size() != 9) return "other";
    const auto at = [matrix](std::size_t i) { return static_cast<std::int32_t>(matrix[i]); };
    for (const Turn& turn : kTurns)
        if (at(0) == turn.a && at(1) == turn.b && at(3) == turn.c && at(4) == turn.d) return turn.text;
    return "other";
}

}  // namespace mediakit_tool
