#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"

#include "Testing/Kit/log_capture.h"

#include <gtest/gtest.h>

#include <limits>

namespace qz_DSFilters {
namespace {

constexpr REFERENCE_TIME Second = 10'000'000;
constexpr REFERENCE_TIME Minute = 60 * Second;
constexpr REFERENCE_TIME Hour = 60 * Minute;
constexpr REFERENCE_TIME Sample = Hour + 2 * Minute + 3 * Second + 4567891;
constexpr REFERENCE_TIME Largest = std::numeric_limits<REFERENCE_TIME>::max();
constexpr REFERENCE_TIME Smallest = std::numeric_limits<REFERENCE_TIME>::min();

struct TimeText {
    REFERENCE_TIME time;
    TimeFormat format;
    const wchar_t* text;
};

TEST(FormatTime, WritesEveryFormat) {
    using enum TimeFormat;
    const TimeText rows[] = {
        {Sample, NanoSeconds, L"01:02:03.456_7891"},
        {Sample, MilliSeconds, L"1:02:03.456"},
        {Sample, Seconds, L"1:02:03"},
        {Sample, Natural, L"1 hr 2 min 3 sec"},
        {Sample, Sport, L"62' 03\""},
        {Sample, MilliSeconds_NoPrefix, L"1:02:03.456"},
        {Sample, CentiSeconds_NoPrefix, L"1:02:03.45"},
        {Sample, DeciSeconds_NoPrefix, L"1:02:03.4"},
        {Sample, Seconds_NoPrefix, L"1:02:03"},
        {Sample, MinutesSeconds, L"62:03"},
        // groups of zero
        {0, NanoSeconds, L"00:00:00.000_0000"},
        {0, MilliSeconds, L"0:00:00.000"},
        {0, Seconds, L"0:00:00"},
        {0, Natural, L"0 sec"},
        {0, Sport, L"0\""},
        {0, MilliSeconds_NoPrefix, L"0.000"},
        {0, Seconds_NoPrefix, L"0"},
        {0, MinutesSeconds, L"00:00"},
        {Minute, Seconds_NoPrefix, L"1:00"},
        {Minute + 5 * Second, DeciSeconds_NoPrefix, L"1:05.0"},
        {Hour, CentiSeconds_NoPrefix, L"1:00:00.00"},
        {59 * Second, Sport, L"59\""},
        {Hour, Natural, L"1 hr 0 min 0 sec"},
        // cut off, never rounded up
        {Minute - 1, MilliSeconds_NoPrefix, L"59.999"},
        {Minute - 1, Seconds_NoPrefix, L"59"},
        {Minute - 1, Natural, L"59 sec"},
        // signs
        {-1, NanoSeconds, L"-00:00:00.000_0001"},
        {-Sample, MilliSeconds, L"-1:02:03.456"},
        {-Sample, Natural, L"-1 hr 2 min 3 sec"},
        {-Sample, Sport, L"-62' 03\""},
        {-Sample, MinutesSeconds, L"62:03"},
        {-Minute, Seconds_NoPrefix, L"-01:00"},
        {-5 * Second, MilliSeconds_NoPrefix, L"-05.000"},
        {-5 * Second, CentiSeconds_NoPrefix, L"-05.00"},
        {-5 * Second, DeciSeconds_NoPrefix, L"-05.0"},
        {-5 * Second, Seconds_NoPrefix, L"-05"},
        // more hours than two digits hold
        {100 * Hour, NanoSeconds, L"100:00:00.000_0000"},
        {Largest - 1, Seconds, L"256204778:48:05"},
    };
    for (const TimeText& row : rows) {
        std::wstring text = L"left over";
        FormatTime(row.time, text, row.format);
        EXPECT_EQ(text, row.text) << "time " << row.time << ", format " << static_cast<int>(row.format);
    }
}

TEST(FormatTime, TellsExtremesInEveryFormatAndNothingInAnUnknownOne) {
    for (std::uint32_t value = 0; value <= TimeFormatNames.size(); ++value) {
        const auto format = static_cast<TimeFormat>(value);
        EXPECT_EQ(FormatTime(Largest, format), L"INT64_MAX");
        EXPECT_EQ(FormatTime(Smallest, format), L"INT64_MIN");
    }
    std::wstring text = L"left over";
    FormatTime(Sample, text, static_cast<TimeFormat>(TimeFormatNames.size()));
    EXPECT_EQ(text, L"");
}

TEST(FormatTime, CountsFrames) {
    const auto frames = [](REFERENCE_TIME time, std::int64_t numerator, std::int64_t denominator) {
        std::wstring text;
        FormatTime(time, text, TimeFormat::TimeCode, numerator, denominator);
        return text;
    };
    EXPECT_EQ(frames(Sample, 25, 1), L"93086");  // 3723.4567891 s
    EXPECT_EQ(frames(Sample, 30000, 1001), L"111592");
    EXPECT_EQ(frames(-Second, 25, 1), L"-25");
    EXPECT_EQ(frames(Second - 1, 25, 1), L"24");
    EXPECT_EQ(frames(Second, 25, 0), L"0");
    EXPECT_EQ(frames(-Second, 25, 0), L"-0");
    EXPECT_EQ(frames(Largest - 1, Largest, 1), L"9223372036854775807");  // beyond 64 bits
}

TEST(ToAvgTimePerFrame, RoundsToTheNearestUnit) {
    const struct {
        StreamRate rate;
        REFERENCE_TIME time;
    } rows[] = {{{25, 1}, 400000},       {{30000, 1001}, 333667}, {{24000, 1001}, 417083},
                {{60000, 1001}, 166833}, {{30, 1}, 333333},       {{15, 1}, 666667},
                {{1, 1}, 10000000},      {{48000, 1}, 208},       {{1, Largest}, Largest}};
    for (const auto& row : rows) {
        REFERENCE_TIME time = -1;
        EXPECT_EQ(ToAvgTimePerFrame(row.rate, time), S_OK);
        EXPECT_EQ(time, row.time) << row.rate.m_numerator << "/" << row.rate.m_denominator;
    }
}

TEST(ToAvgTimePerFrame, RefusesUnknownRates) {
    const struct {
        StreamRate rate;
        const wchar_t* condition;
    } rows[] = {{{0, 1}, L"streamRate.m_numerator > 0"},
                {{-25, 1}, L"streamRate.m_numerator > 0"},
                {{0, 0}, L"streamRate.m_numerator > 0"},
                {{25, 0}, L"streamRate.m_denominator > 0"}};
    for (const auto& row : rows) {
        const mediakit_test::log_capture log;
        REFERENCE_TIME time = 7;
        EXPECT_EQ(ToAvgTimePerFrame(row.rate, time), E_INVALIDARG);
        EXPECT_EQ(time, 7);
        EXPECT_EQ(log.count(1, row.condition), 1u);
    }
}

}  // namespace
}  // namespace qz_DSFilters
