// Times in units of 100 ns as frame durations and as text for logs and status lines.
#pragma once

#include "VideoIO/FilterUtil/MediaTypes/StreamRate.h"

#include <array>
#include <string>

namespace qz_DSFilters {

/// How FormatTime writes a time; in comments, 1 h 2 min 3.4567891 s.
enum class TimeFormat : std::uint32_t {
    NanoSeconds,            ///< 01:02:03.456_7891
    MilliSeconds,           ///< 1:02:03.456
    Seconds,                ///< 1:02:03
    TimeCode,               ///< a count of frames at the given rate
    Natural,                ///< 1 hr 2 min 3 sec
    Sport,                  ///< 62' 03"
    MilliSeconds_NoPrefix,  ///< as MilliSeconds, leading groups of zero left out
    CentiSeconds_NoPrefix,  ///< the same with two decimals
    DeciSeconds_NoPrefix,   ///< the same with one decimal
    Seconds_NoPrefix,       ///< the same without decimals
    MinutesSeconds,         ///< 62:03, without a sign
};

/// The formats' names, by value.
inline constexpr std::array<const wchar_t*, 11> TimeFormatNames = {
    L"NanoSeconds",
    L"MilliSeconds",
    L"Seconds",
    L"TimeCode",
    L"Natural",
    L"Sport",
    L"MilliSeconds_NoPrefix",
    L"CentiSeconds_NoPrefix",
    L"DeciSeconds_NoPrefix",
    L"Seconds_NoPrefix",
    L"MinutesSeconds",
};

/// A frame's duration in 100 ns, rounded. E_INVALIDARG when the numerator or the denominator is 0 or less.
HRESULT ToAvgTimePerFrame(const StreamRate& streamRate, REFERENCE_TIME& time);

/// Replaces `text`; an unknown format leaves it empty. Digits behind those of the format are cut off, not rounded.
/// The extreme values are written as "INT64_MAX" and "INT64_MIN". The rate counts for TimeCode alone.
void FormatTime(REFERENCE_TIME time, std::wstring& text, TimeFormat format = TimeFormat::NanoSeconds,
                std::int64_t rateNumerator = 0, std::int64_t rateDenominator = 0);

/// The same as a value, for arguments of log lines.
std::wstring FormatTime(REFERENCE_TIME time, TimeFormat format = TimeFormat::NanoSeconds);

}  // namespace qz_DSFilters
