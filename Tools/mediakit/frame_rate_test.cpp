#include "Tools/mediakit/frame_rate.h"

#include <gtest/gtest.h>

namespace mediakit_tool {
namespace {

TEST(FrameRate, ReadsWholeAndRationalRates) {
    EXPECT_EQ(ParseFrameRate("25"), (FrameRate{25, 1}));
    EXPECT_EQ(ParseFrameRate("30000/1001"), (FrameRate{30000, 1001}));
    EXPECT_EQ(ParseFrameRate("50/2"), (FrameRate{25, 1}));
}

TEST(FrameRate, RefusesEverythingElse) {
    for (const char* text : {"", "/", "25/", "/2", "25fps", "23.976", "-25", "25/-1", "0", "25/0", " 25", "1001",
                             "1/101", "99999999999999999999"})
        EXPECT_EQ(ParseFrameRate(text), std::nullopt) << text;
}

TEST(FrameRate, TimesDoNotDrift) {
    const FrameRate ntsc{30000, 1001};
    EXPECT_EQ(ntsc.TimeOf(1), 333667);
    EXPECT_EQ(ntsc.TimeOf(2), 667333);
    // After 30000 pictures exactly 1001 seconds have gone by, and so a thousand times over.
    EXPECT_EQ(ntsc.TimeOf(30000), 1001 * kUnitsPerSecond);
    EXPECT_EQ(ntsc.TimeOf(30'000'000), 1'001'000 * kUnitsPerSecond);
}

TEST(FrameRate, AudioTimesComeBackAsTheSampleCount) {
    const FrameRate rate{44100, 1};
    for (std::int64_t frame : {1, 2, 7, 1000, 1'550'390}) {
        const std::int64_t samples = frame * 1024;
        const double ticks = 44100.0 * static_cast<double>(rate.TimeOf(samples)) / kUnitsPerSecond;
        EXPECT_NEAR(ticks, static_cast<double>(samples), 0.01);
    }
}

}  // namespace
}  // namespace mediakit_tool
