// Conversions between a track's units and 100 ns, safe for whatever a file claims.
#pragma once

#include "Platform/Com/Types.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace Norvane::MediaKit::Filters::details {

constexpr double kUnitsPerSecond = 10'000'000.0;

/// The nearest whole number; the ends of the range for what lies outside, 0 for what is no number.
inline std::int64_t RoundToInteger(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
    if (value <= -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
    return std::llround(value);
}

inline REFERENCE_TIME ToReferenceTime(std::int64_t ticks, std::uint32_t timescale) {
    return RoundToInteger(static_cast<double>(ticks) * kUnitsPerSecond / timescale);
}

__extension__ using Wide = __int128;

/// The same in whole numbers, cut towards 0; the ends of the range for what lies outside.
constexpr REFERENCE_TIME CutToReferenceTime(std::int64_t ticks, std::uint32_t timescale) {
    constexpr std::int64_t units = 10'000'000;
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    if (ticks <= highest / units && ticks >= -(highest / units)) return ticks * units / std::int64_t{timescale};
    const Wide time = static_cast<Wide>(ticks) * units / timescale;
    if (time > highest) return highest;
    return time < -highest ? -highest - 1 : static_cast<REFERENCE_TIME>(time);
}

inline std::int64_t ToTicks(REFERENCE_TIME time, std::uint32_t timescale) {
    return RoundToInteger(static_cast<double>(timescale) * static_cast<double>(time) / kUnitsPerSecond);
}

/// Sums and differences of times out of a file wrap, as they do in the tables' own arithmetic.
constexpr std::int64_t WrappingAdd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
constexpr std::int64_t WrappingSubtract(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

}  // namespace Norvane::MediaKit::Filters::details
