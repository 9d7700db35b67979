// A stream's rate as a rational number.
#pragma once

#include <cstdint>

namespace qz_DSFilters {

/// Frames (or audio samples) a second = m_numerator / m_denominator. A zero means unknown.
struct StreamRate {
    std::int64_t m_numerator = 0;
    std::int64_t m_denominator = 0;
    friend bool operator==(const StreamRate&, const StreamRate&) = default;
};

}  // namespace qz_DSFilters
