// Arithmetic on times: ticks and 100 ns, and sums that cannot overflow.
#pragma once

#include "Platform/Com/Types.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace Norvane::MediaKit::Filters {

inline constexpr REFERENCE_TIME MinTime = std::numeric_limits<REFERENCE_TIME>::min();
inline constexpr REFERENCE_TIME MaxTime = std::numeric_limits<REFERENCE_TIME>::max();

/// Sample times come from upstream and may be anything; sums stop at the ends of the range.
constexpr REFERENCE_TIME AddTimes(REFERENCE_TIME a, REFERENCE_TIME b) noexcept {
    if (b > 0 && a > MaxTime - b) return MaxTime;
    if (b < 0 && a < MinTime - b) return MinTime;
    return a + b;
}

constexpr REFERENCE_TIME SubtractTimes(REFERENCE_TIME a, REFERENCE_TIME b) noexcept {
    if (b < 0 && a > MaxTime + b) return MaxTime;
    if (b > 0 && a < MinTime + b) return MinTime;
    return a - b;
}

/// The nearest tick of a timescale, halves rounded away from zero.
inline std::int64_t ToTicks(std::int64_t timescale, REFERENCE_TIME time) noexcept {
    const double ticks = std::round(static_cast<double>(timescale) * static_cast<double>(time) / 10000000.0);
    if (ticks >= 9223372036854775807.0) return MaxTime;
    if (ticks <= -9223372036854775808.0) return MinTime;
    return static_cast<std::int64_t>(ticks);
}

}  // namespace Norvane::MediaKit::Filters
