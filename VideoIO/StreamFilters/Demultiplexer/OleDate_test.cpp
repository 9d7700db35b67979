#include "VideoIO/StreamFilters/Demultiplexer/OleDate.h"

#include <gtest/gtest.h>

#include <limits>

namespace Norvane::MediaKit::Filters::details {

TEST(OleDate, NegativeDatesCountTheirFractionForwards) {
    EXPECT_DOUBLE_EQ(AddToOleDate(2.25, 1.5), 3.75);
    EXPECT_DOUBLE_EQ(AddToOleDate(-3.25, 1.0), -2.25);
    EXPECT_DOUBLE_EQ(AddToOleDate(-1.25, 1.0), 0.25);   // 6 o'clock the day after
    EXPECT_DOUBLE_EQ(AddToOleDate(-1.75, 0.5), 0.25);   // from 18 o'clock to 6 o'clock
    EXPECT_DOUBLE_EQ(AddToOleDate(0.25, -0.5), -1.75);  // and back
    EXPECT_DOUBLE_EQ(AddToOleDate(1.5, -3.0), -2.5);
    EXPECT_DOUBLE_EQ(AddToOleDate(-5.0, 5.0), 0.0);
}

TEST(OleDate, OutOfRange) {
    EXPECT_EQ(AddToOleDate(-657434.0, 0.0), -657434.0);
    for (const double date : {-657435.0, 2958466.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(AddToOleDate(date, 0.0), kInvalidOleDate);
    for (const double days : {3615897.5, -3615897.5, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(AddToOleDate(1.0, days), kInvalidOleDate);
}

TEST(OleDate, OfMovieTimes) {
    EXPECT_DOUBLE_EQ(OleDateOfMovieTime(0), 1462.0);            // 1904-01-01
    EXPECT_DOUBLE_EQ(OleDateOfMovieTime(2082844800), 25569.0);  // 1970-01-01
    EXPECT_DOUBLE_EQ(OleDateOfMovieTime(2082844800 + 3600 * 18 + 45 * 60 + 36), 25569.78166666666667);
    EXPECT_DOUBLE_EQ(OleDateOfMovieTime(std::numeric_limits<std::uint32_t>::max()), 51172.26961805555556);
    EXPECT_DOUBLE_EQ(OleDateOfMovieTime(3615897ULL * 86400), 3617359.0);
    EXPECT_EQ(OleDateOfMovieTime(3615898ULL * 86400), kInvalidOleDate);
    EXPECT_EQ(OleDateOfMovieTime(std::numeric_limits<std::uint64_t>::max()), kInvalidOleDate);
}

}  // namespace Norvane::MediaKit::Filters::details
