#include "Tools/mediakit/recording_summary.h"

#include "Tools/mediakit/progress.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace mediakit_tool {
namespace {

using testing::HasSubstr;
using testing::Not;

RecordingSummary Example() {
    RecordingSummary summary;
    summary.output = "out.mp4";
    TrackSummary video{"in.h264", {}, 150, 3, 60'000'000};
    video.facts.video = true;
    video.facts.codec = "H.264";
    video.facts.profile = "High";
    video.facts.level = "4.1";
    video.facts.width = 1920;
    video.facts.height = 1080;
    video.facts.rate = {30000, 1001};
    TrackSummary audio{"in.aac", {}, 282, 282, 60'160'000};
    audio.facts.codec = "AAC";
    audio.facts.profile = "LC";
    audio.facts.sampleRate = 48000;
    audio.facts.channels = 2;
    summary.tracks = {video, audio};
    summary.fileSize = 752'000;
    summary.wallSeconds = 0.5;
    return summary;
}

TEST(RecordingSummary, InWords) {
    const std::string text = ToText(Example());
    EXPECT_THAT(
        text,
        HasSubstr("track 1: H.264 High level 4.1, 1920x1080, 29.97 (30000/1001) fps, 150 pictures (3 sync), 0:06.000"));
    EXPECT_THAT(text, HasSubstr("track 2: AAC LC, 48000 Hz, 2 channels, 282 frames, 0:06.016"));
    EXPECT_THAT(text, HasSubstr("752.0 kB, 1.00 Mbit/s; took 0.50 s (12x)"));
    EXPECT_THAT(text, Not(HasSubstr("interrupted")));
}

TEST(RecordingSummary, AsJson) {
    RecordingSummary summary = Example();
    summary.interrupted = true;
    summary.warnings = {"a \"quoted\"\nwarning", "not UTF-8: \xFF"};
    const std::string line = ToJson(summary);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json["status"], "done");
    EXPECT_EQ(json["interrupted"], true);
    EXPECT_EQ(json["bit_rate"], 1e6);
    EXPECT_EQ(json["tracks"][0]["frame_rate"], "30000/1001");
    EXPECT_EQ(json["tracks"][1]["channels"], 2);
    EXPECT_EQ(json["warnings"][0], "a \"quoted\"\nwarning");
    summary.error = "disk full";
    EXPECT_EQ(nlohmann::json::parse(ToJson(summary))["status"], "failed");
}

TEST(RecordingSummary, TimesAndSizes) {
    EXPECT_EQ(DurationText(0), "0:00.000");
    EXPECT_EQ(DurationText(36'000'000'000 + 627'896'000), "1:01:02.790");
    EXPECT_EQ(SizeText(999), "999 bytes");
    EXPECT_EQ(SizeText(1'500'000'000), "1.5 GB");
}

TEST(Progress, ShowsWhatIsKnown) {
    EXPECT_EQ(ToText(ProgressState{25'000'000, 100'000'000, 100'000'000, 2.0}),
              "25%  25.0 MB of 100.0 MB  0:10.000  5.0x  6 s left");
    EXPECT_EQ(ToText(ProgressState{25'000'000, std::nullopt, 100'000'000, 2.0}), "25.0 MB  0:10.000  5.0x");
    EXPECT_THAT(ToText(ProgressState{1, std::nullopt, 36'000'000'000, 2.0}), HasSubstr("1:00:00.000  1800x"));
    EXPECT_THAT(ToText(ProgressState{1'000'000, 10'000'000'000, 0, 1.0}), HasSubstr("2 h 46 min left"));
}

}  // namespace
}  // namespace mediakit_tool
