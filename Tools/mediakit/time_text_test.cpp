#include "Tools/mediakit/time_text.h"

#include <gtest/gtest.h>

namespace mediakit_tool {
namespace {

TEST(TimeText, ReadsSecondsMinutesAndHours) {
    struct Case {
        const char* text;
        REFERENCE_TIME time;
    };
    for (const Case& c :
         {Case{"0", 0}, Case{"12.5", 125'000'000}, Case{"90", 900'000'000}, Case{"1.0000001", 10'000'001},
          Case{"1.00000019", 10'000'001}, Case{"2:03.25", 1'232'500'000}, Case{"1:02:03.450", 37'234'500'000},
          Case{"100:00:00", 3'600'000'000'000}, Case{"99999999:59:59.9999999", 3'599'999'999'999'999'999}})
        EXPECT_EQ(ParseTime(c.text), c.time) << c.text;
}

TEST(TimeText, RefusesAllElse) {
    for (const char* text :
         {"",   ".",     "5.",         ".5",        "-1",   "+1",      "1e3",     " 1",          "1 ",
          "5x", "1.x",   "1.1234567x", "1:2:03",    "1:60", "1:00:60", "1:2:3:4", "00:00:00:00", ":30",
          "1:", "1::00", "1.5:00",     "100000000", "0x10"})
        EXPECT_FALSE(ParseTime(text)) << text;
}

}  // namespace
}  // namespace mediakit_tool
