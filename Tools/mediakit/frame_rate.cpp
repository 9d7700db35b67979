#include "Tools/mediakit/frame_rate.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <numeric>

namespace mediakit_tool {

namespace {

constexpr std::int64_t kHighestRate = 1000;       // pictures a second
constexpr std::int64_t kLongestPicture = 100;     // seconds
constexpr std::int64_t kLargestTerm = 1LL << 32;  // what a stream can write in its own terms

__extension__ using Wide = __int128;

REFERENCE_TIME RoundedQuotient(Wide dividend, Wide divisor) {
    return static_cast<REFERENCE_TIME>((dividend + divisor / 2) / divisor);
}

std::optional<std::int64_t> ParseTerm(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

REFERENCE_TIME FrameRate::TimeOf(std::int64_t n) const {
    // Nearly always 64 bits are enough, and the division is several times as fast.
    std::int64_t ticks = 0, units = 0;
    if (!__builtin_mul_overflow(n, den, &ticks) && !__builtin_mul_overflow(ticks, kUnitsPerSecond, &units) &&
        !__builtin_add_overflow(units, num / 2, &units))
        return units / num;
    return RoundedQuotient(static_cast<Wide>(n) * den * kUnitsPerSecond, num);
}

REFERENCE_TIME FrameRate::AvgTimePerFrame() const { return std::max<REFERENCE_TIME>(TimeOf(1), 1); }

std::optional<FrameRate> MakeFrameRate(std::int64_t num, std::int64_t den) {
    if (num <= 0 || den <= 0 || num > kLargestTerm || den > kLargestTerm) return std::nullopt;
    if (num > kHighestRate * den || num * kLongestPicture < den) return std::nullopt;
    const std::int64_t divisor = std::gcd(num, den);
    return FrameRate{num / divisor, den / divisor};
}

std::optional<FrameRate> ParseFrameRate(std::string_view text) {
    const std::size_t slash = text.find('/');
    const auto num = ParseTerm(text.substr(0, slash));
    const auto den = slash == std::string_view::npos ? std::int64_t{1} : ParseTerm(text.substr(slash + 1));
    if (!num || !den) return std::nullopt;
    return MakeFrameRate(*num, *den);
}

std::string ToText(const FrameRate& rate) {
    if (rate.den == 1) return std::to_string(rate.num);
    char text[64];
    std::snprintf(text, sizeof text, "%.4g (%lld/%lld)", rate.Value(), static_cast<long long>(rate.num),
                  static_cast<long long>(rate.den));
    return text;
}

}  // namespace mediakit_tool
