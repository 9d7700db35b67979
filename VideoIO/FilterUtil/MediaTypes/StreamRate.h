// Rates of streams: the type (part of the public interfaces) and the way from a frame's duration to a rate.
#pragma once

#include "MediaKit/StreamRate.h"
#include "Platform/Com/Results.h"

#include <utility>

namespace qz_DSFilters {

/// The rate of a stream whose frames last avgTimePerFrame (100 ns): the exact rate for the durations of common rates,
/// rounded or cut as they may be, and the quotient 10,000,000 / avgTimePerFrame for others, reduced. A duration beyond
/// 32 bits is told in ten-thousandths of a frame a second. E_INVALIDARG for a duration of 0 or less.
/// The way back is ToAvgTimePerFrame.
HRESULT GetStreamRate(REFERENCE_TIME avgTimePerFrame, StreamRate& rate);

/// Divides both numbers by their greatest common divisor. Signs stay; 0 : 0 stays.
void ReduceRatio(std::pair<std::int64_t, std::int64_t>& ratio);

}  // namespace qz_DSFilters
