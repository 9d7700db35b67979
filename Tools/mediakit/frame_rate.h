// Frame rates as exact rationals, and the times that follow from them.
#pragma once

#include "Platform/Com/Types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mediakit_tool {

inline constexpr std::int64_t kUnitsPerSecond = 10'000'000;  ///< of REFERENCE_TIME

/// Units (pictures or audio samples) a second = num / den. Both are positive.
struct FrameRate {
    std::int64_t num = 25;
    std::int64_t den = 1;

    /// Start of unit `n` in 100 ns, rounded from the exact value, so that no error adds up.
    REFERENCE_TIME TimeOf(std::int64_t n) const;
    /// Length of one unit in 100 ns, rounded, at least 1: what a media type carries.
    REFERENCE_TIME AvgTimePerFrame() const;
    double Value() const { return static_cast<double>(num) / static_cast<double>(den); }

    friend bool operator==(const FrameRate&, const FrameRate&) = default;
};

/// num / den in lowest terms; nothing when either is not positive, or when the rate lies outside
/// what a recording can hold: below one picture in 100 seconds or above 1000 a second.
std::optional<FrameRate> MakeFrameRate(std::int64_t num, std::int64_t den);

/// "25" or "30000/1001"; nothing for any other text and for a rate that MakeFrameRate refuses.
std::optional<FrameRate> ParseFrameRate(std::string_view text);

/// "25" or "29.97 (30000/1001)".
std::string ToText(const FrameRate& rate);

}  // namespace mediakit_tool
