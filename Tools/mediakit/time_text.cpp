#include "Tools/mediakit/time_text.h"

#include "Tools/mediakit/frame_rate.h"

#include <charconv>
#include <string>

namespace mediakit_tool {

namespace {

constexpr std::size_t kMostDigits = 8;      // of the first part: so many hours can still be told in 100 ns
constexpr std::size_t kFractionDigits = 7;  // of a unit of 100 ns
constexpr std::int64_t kPartLimit = 60;

/// Digits only, at least one.
std::optional<std::int64_t> ParseDigits(std::string_view text) {
    std::int64_t value = 0;
    if (text.empty() || text.find_first_not_of("0123456789") != text.npos) return std::nullopt;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() ? std::optional(value) : std::nullopt;
}

std::optional<REFERENCE_TIME> ParseFraction(std::string_view digits) {
    if (!ParseDigits(digits.substr(0, kFractionDigits)) || digits.find_first_not_of("0123456789") != digits.npos)
        return std::nullopt;
    std::string units(digits.substr(0, kFractionDigits));
    units.resize(kFractionDigits, '0');
    return ParseDigits(units);
}

}  // namespace

std::optional<REFERENCE_TIME> ParseTime(std::string_view text) {
    REFERENCE_TIME fraction = 0;
    if (const std::size_t point = text.find('.'); point != text.npos) {
        const auto parsed = ParseFraction(text.substr(point + 1));
        if (!parsed) return std::nullopt;
        fraction = *parsed;
        text = text.substr(0, point);
    }
    std::int64_t seconds = 0;
    for (int parts = 0;; ++parts) {
        const std::size_t colon = text.find(':');
        const std::string_view part = text.substr(0, colon);
        const auto value = ParseDigits(part);
        const bool wellFormed = parts == 0 ? part.size() <= kMostDigits : part.size() == 2 && value < kPartLimit;
        if (!value || !wellFormed || parts > 2) return std::nullopt;
        seconds = seconds * kPartLimit + *value;
        if (colon == text.npos) return seconds * kUnitsPerSecond + fraction;
        text = text.substr(colon + 1);
    }
}

}  // namespace mediakit_tool
