#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"

#include "Logging/Checks.h"

#include <cmath>
#include <cwchar>
#include <limits>

namespace qz_DSFilters {

namespace {

constexpr std::uint64_t UnitsPerMillisecond = 10'000;
constexpr std::uint64_t UnitsPerSecond = 10'000'000;
constexpr std::uint64_t UnitsPerMinute = 60 * UnitsPerSecond;
constexpr std::uint64_t UnitsPerHour = 60 * UnitsPerMinute;

template <class... Args>
void append(std::wstring& text, const wchar_t* format, Args... args) {
    wchar_t buffer[64];  // every format below stays far under this
    const int length = std::swprintf(buffer, std::size(buffer), format, args...);
    if (length > 0) text.append(buffer, static_cast<std::size_t>(length));
}

/// Cast with the ends of the range for what lies outside of it.
std::int64_t truncate(double value) {
    constexpr double limit = 9223372036854775808.0;  // 2^63
    if (std::isnan(value)) return 0;
    if (value >= limit) return std::numeric_limits<std::int64_t>::max();
    if (value < -limit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

struct Parts {
    bool negative;
    std::uint64_t magnitude;
    unsigned hours;
    unsigned minutes;
    unsigned seconds;
    unsigned rest;  ///< 100 ns, below a second

    explicit Parts(REFERENCE_TIME time)
        : negative(time < 0),
          magnitude(static_cast<std::uint64_t>(negative ? -time : time)),
          hours(static_cast<unsigned>(magnitude / UnitsPerHour)),
          minutes(static_cast<unsigned>(magnitude % UnitsPerHour / UnitsPerMinute)),
          seconds(static_cast<unsigned>(magnitude % UnitsPerMinute / UnitsPerSecond)),
          rest(static_cast<unsigned>(magnitude % UnitsPerSecond)) {}

    /// 32 bits: wraps after 49 days.
    unsigned milliseconds() const { return static_cast<unsigned>(magnitude / UnitsPerMillisecond); }
};

void append_nanoseconds(std::wstring& text, const Parts& time) {
    append(text, L"%02u:%02u:%02u.%03u_%04u", time.hours, time.minutes, time.seconds, time.rest / 10000,
           time.rest % 10000);
}

void append_frame_count(std::wstring& text, const Parts& time, std::int64_t numerator, std::int64_t denominator) {
    std::int64_t frames = 0;
    if (denominator != 0)
        frames = truncate(static_cast<double>(time.magnitude) * static_cast<double>(numerator) /
                          (static_cast<double>(denominator) * 10000000.0));
    append(text, L"%lld", static_cast<long long>(frames));
}

/// Groups from the first that is not zero; seconds always.
void append_spelled_out(std::wstring& text, const Parts& time) {
    if (time.hours != 0) append(text, L"%u hr ", time.hours);
    if (time.hours != 0 || time.minutes != 0) append(text, L"%u min ", time.minutes);
    append(text, L"%u sec", time.seconds);
}

void append_sport(std::wstring& text, const Parts& time) {
    const unsigned minutes = time.milliseconds() / 60000;
    const unsigned seconds = time.milliseconds() % 60000 / 1000;
    if (minutes > 0)
        append(text, L"%u' %02u\"", minutes, seconds);
    else
        append(text, L"%u\"", seconds);
}

/// Two digits when something stands in front (the sign counts), else as few as there are.
void append_group(std::wstring& text, unsigned value) { append(text, text.empty() ? L"%u" : L"%02u", value); }

void append_clock(std::wstring& text, const Parts& time, int decimals, bool noPrefix) {
    if (time.hours != 0 || !noPrefix) append(text, L"%u:", time.hours);
    if (time.hours != 0 || time.minutes != 0 || !noPrefix) {
        append_group(text, time.minutes);
        text += L':';
    }
    append_group(text, time.seconds);
    switch (decimals) {
        case 3: append(text, L".%03u", time.rest / 10000); break;
        case 2: append(text, L".%02u", time.rest / 100000); break;
        case 1: append(text, L".%1u", time.rest / 1000000); break;
        default: break;
    }
}

}  // namespace

HRESULT ToAvgTimePerFrame(const StreamRate& streamRate, REFERENCE_TIME& time) {
    QZCheckCondition(streamRate.m_numerator > 0, E_INVALIDARG);
    QZCheckCondition(streamRate.m_denominator > 0, E_INVALIDARG);
    const double framesPerSecond =
        static_cast<double>(streamRate.m_numerator) / static_cast<double>(streamRate.m_denominator);
    time = truncate(std::floor(1e7 / framesPerSecond + 0.5));
    return S_OK;
}

void FormatTime(REFERENCE_TIME time, std::wstring& text, TimeFormat format, std::int64_t rateNumerator,
                std::int64_t rateDenominator) {
    text.clear();
    if (time == std::numeric_limits<REFERENCE_TIME>::max()) {
        text = L"INT64_MAX";
        return;
    }
    if (time == std::numeric_limits<REFERENCE_TIME>::min()) {
        text = L"INT64_MIN";
        return;
    }
    if (static_cast<std::size_t>(format) >= TimeFormatNames.size()) return;

    const Parts parts(time);
    if (parts.negative && format != TimeFormat::MinutesSeconds) text = L"-";
    switch (format) {
        case TimeFormat::NanoSeconds: append_nanoseconds(text, parts); break;
        case TimeFormat::TimeCode: append_frame_count(text, parts, rateNumerator, rateDenominator); break;
        case TimeFormat::Natural: append_spelled_out(text, parts); break;
        case TimeFormat::Sport: append_sport(text, parts); break;
        case TimeFormat::MilliSeconds: append_clock(text, parts, 3, false); break;
        case TimeFormat::Seconds: append_clock(text, parts, 0, false); break;
        case TimeFormat::MilliSeconds_NoPrefix: append_clock(text, parts, 3, true); break;
        case TimeFormat::CentiSeconds_NoPrefix: append_clock(text, parts, 2, true); break;
        case TimeFormat::DeciSeconds_NoPrefix: append_clock(text, parts, 1, true); break;
        case TimeFormat::Seconds_NoPrefix: append_clock(text, parts, 0, true); break;
        case TimeFormat::MinutesSeconds:
            append(text, L"%02u:%02u", parts.milliseconds() / 60000, parts.milliseconds() % 60000 / 1000);
            break;
    }
}

std::wstring FormatTime(REFERENCE_TIME time, TimeFormat format) {
    std::wstring text;
    FormatTime(time, text, format);
    return text;
}

}  // namespace qz_DSFilters
