#include "VideoIO/FilterUtil/MediaTypes/StreamRate.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"

#include <gtest/gtest.h>

#include <limits>

namespace qz_DSFilters {

void PrintTo(const StreamRate& rate, std::ostream* out) { *out << rate.m_numerator << "/" << rate.m_denominator; }

namespace {

StreamRate RateOf(REFERENCE_TIME time) {
    StreamRate rate{-1, -1};
    EXPECT_EQ(GetStreamRate(time, rate), S_OK) << time;
    return rate;
}

TEST(GetStreamRate, KnowsCommonRatesWithinOneUnit) {
    const struct {
        REFERENCE_TIME time;
        StreamRate rate;
    } rows[] = {{666666, {15, 1}},       {417083, {24000, 1001}}, {416666, {24, 1}},       {400000, {25, 1}},
                {333666, {30000, 1001}}, {333333, {30, 1}},       {222222, {45, 1}},       {208333, {48, 1}},
                {200000, {50, 1}},       {166833, {60000, 1001}}, {166666, {60, 1}},       {111111, {90, 1}},
                {100000, {100, 1}},      {83416, {120000, 1001}}, {83333, {120, 1}},       {66666, {150, 1}},
                {55555, {180, 1}},       {50000, {200, 1}},       {41708, {240000, 1001}}, {41666, {240, 1}}};
    for (const auto& row : rows)
        for (const REFERENCE_TIME offset : {-1, 0, 1})
            EXPECT_EQ(RateOf(row.time + offset), row.rate) << row.time + offset;
}

TEST(GetStreamRate, FindsItsWayBackFromEveryKnownRate) {
    for (const StreamRate rate : {StreamRate{24000, 1001},
                                  {24, 1},
                                  {25, 1},
                                  {30000, 1001},
                                  {30, 1},
                                  {50, 1},
                                  {60000, 1001},
                                  {60, 1},
                                  {120000, 1001},
                                  {240, 1}}) {
        REFERENCE_TIME time = 0;
        ASSERT_EQ(ToAvgTimePerFrame(rate, time), S_OK);
        EXPECT_EQ(RateOf(time), rate);
    }
}

TEST(GetStreamRate, DescribesOtherDurations) {
    EXPECT_EQ(RateOf(1), (StreamRate{10000000, 1}));
    EXPECT_EQ(RateOf(625), (StreamRate{16000, 1}));
    EXPECT_EQ(RateOf(5000000), (StreamRate{2, 1}));
    EXPECT_EQ(RateOf(399998), (StreamRate{5000000, 199999}));  // 2 away from 400000: a rate of its own, reduced
    EXPECT_EQ(RateOf(333335), (StreamRate{2000000, 66667}));
    EXPECT_EQ(RateOf(15000000), (StreamRate{2, 3}));
    EXPECT_EQ(RateOf(0xFFFFFFFF), (StreamRate{2000000, 858993459}));
    EXPECT_EQ(RateOf(0x100000000), (StreamRate{23, 10000}));  // beyond 32 bits
}

TEST(GetStreamRate, RefusesDurationsThatAreNone) {
    for (const REFERENCE_TIME time :
         {REFERENCE_TIME{0}, REFERENCE_TIME{-400000}, std::numeric_limits<REFERENCE_TIME>::min()}) {
        const mediakit_test::log_capture log;
        StreamRate rate{7, 7};
        EXPECT_EQ(GetStreamRate(time, rate), E_INVALIDARG);
        EXPECT_EQ(rate, (StreamRate{7, 7}));
        EXPECT_EQ(log.count(1, L"avgTimePerFrame > 0"), 1u);
    }
}

TEST(ReduceRatio, DividesByTheGreatestCommonDivisor) {
    constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
    using Ratio = std::pair<std::int64_t, std::int64_t>;
    const std::pair<Ratio, Ratio> rows[] = {
        {{1920, 1080}, {16, 9}},
        {{720, 576}, {5, 4}},
        {{17, 19}, {17, 19}},
        {{0, 12}, {0, 1}},
        {{12, 0}, {1, 0}},
        {{0, 0}, {0, 0}},
        {{-16, 12}, {-4, 3}},
        {{64, 1024}, {1, 16}},
        {{1440LL * 65535, 1088LL * 65535}, {45, 34}},
        {{smallest, 2}, {smallest / 2, 1}},
    };
    for (const auto& [given, reduced] : rows) {
        Ratio ratio = given;
        ReduceRatio(ratio);
        EXPECT_EQ(ratio, reduced) << given.first << ":" << given.second;
    }
}

}  // namespace
}  // namespace qz_DSFilters
