#include "VideoIO/FilterUtil/MediaTypes/StreamRate.h"

#include "Logging/Checks.h"

#include <bit>
#include <cmath>
#include <limits>

namespace qz_DSFilters {

namespace {

struct KnownRate {
    REFERENCE_TIME avgTimePerFrame;
    StreamRate rate;
};

// Durations are cut to whole units. A duration is taken for a row's within a distance below 2, so that
// both neighbours count: 333665 to 333667 for 30000/1001.
constexpr KnownRate KnownRates[] = {
    {666666, {15, 1}}, {417083, {24000, 1001}}, {416666, {24, 1}},  {400000, {25, 1}},       {333666, {30000, 1001}},
    {333333, {30, 1}}, {222222, {45, 1}},       {208333, {48, 1}},  {200000, {50, 1}},       {166833, {60000, 1001}},
    {166666, {60, 1}}, {111111, {90, 1}},       {100000, {100, 1}}, {83416, {120000, 1001}}, {83333, {120, 1}},
    {66666, {150, 1}}, {55555, {180, 1}},       {50000, {200, 1}},  {41708, {240000, 1001}}, {41666, {240, 1}},
};

constexpr std::int64_t UnitsPerSecond = 10'000'000;

std::uint64_t magnitude(std::int64_t value) {
    return value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

/// Binary algorithm: halves and subtracts, no division.
std::uint64_t greatest_common_divisor(std::uint64_t a, std::uint64_t b) {
    if (a == 0) return b;
    if (b == 0) return a;
    const int common_twos = std::countr_zero(a | b);
    a >>= std::countr_zero(a);
    while (b != 0) {
        b >>= std::countr_zero(b);
        if (a > b) std::swap(a, b);
        b -= a;
    }
    return a << common_twos;
}

std::int64_t divide(std::int64_t value, std::uint64_t divisor) {
    const auto quotient = static_cast<std::int64_t>(magnitude(value) / divisor);
    return value < 0 ? -quotient : quotient;
}

}  // namespace

void ReduceRatio(std::pair<std::int64_t, std::int64_t>& ratio) {
    const std::uint64_t divisor = greatest_common_divisor(magnitude(ratio.first), magnitude(ratio.second));
    if (divisor <= 1) return;
    ratio = {divide(ratio.first, divisor), divide(ratio.second, divisor)};
}

HRESULT GetStreamRate(REFERENCE_TIME avgTimePerFrame, StreamRate& rate) {
    QZCheckCondition(avgTimePerFrame > 0, E_INVALIDARG);
    for (const KnownRate& known : KnownRates) {
        const REFERENCE_TIME distance = avgTimePerFrame - known.avgTimePerFrame;
        if (distance > -2 && distance < 2) {
            rate = known.rate;
            return S_OK;
        }
    }

    const double framesPerSecond = 1e7 / static_cast<double>(avgTimePerFrame);
    const double rounded = std::floor(framesPerSecond + 0.5);
    if (std::fabs(rounded - framesPerSecond) < 0.0001) {
        rate = {static_cast<std::int64_t>(rounded), 1};
    } else if (avgTimePerFrame > std::numeric_limits<DWORD>::max()) {
        rate = {static_cast<std::int64_t>(std::floor(framesPerSecond * 10000 + 0.5)), 10000};
    } else {
        std::pair<std::int64_t, std::int64_t> ratio{UnitsPerSecond, avgTimePerFrame};
        ReduceRatio(ratio);
        rate = {ratio.first, ratio.second};
    }
    return S_OK;
}

}  // namespace qz_DSFilters
