#include "VideoIO/StreamFilters/Authoring/SampleTables.h"

#include "VideoIO/StreamFilters/Authoring/FakeInput_test.h"

#include <gmock/gmock.h>

namespace Norvane::MediaKit::Filters {
namespace {

using vio::mp4::time_to_sample_box;
using Runs = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  ///< count, ticks

constexpr REFERENCE_TIME kFrame = 400'000;

TEST(SampleTables, LastDurationFollowsTheSource) {
    const struct {
        const char* name;
        bool keepStart, decodeTimes;
        std::size_t count;
        REFERENCE_TIME lastDuration;
        Runs expected;
    } cases[] = {
        {"a recording", false, false, 3, 7 * kFrame, {{3, 1000}}},
        {"an only sample of one", false, false, 1, 7 * kFrame, {}},
        {"start kept", true, false, 3, 7 * kFrame, {{2, 1000}, {1, 7000}}},
        {"decode times given", false, true, 3, kFrame / 2, {{2, 1000}, {1, 500}}},
        {"an only sample", true, true, 1, 7 * kFrame, {{1, 7000}}},
        {"none at all", true, true, 0, 0, {}},
        {"a duration of 0", true, true, 3, 0, {{2, 1000}, {1, 0}}},
        {"no stop time", true, true, 3, 1, {{3, 1000}}},
        {"stop before start", true, true, 3, -kFrame, {{3, 1000}}},
        {"beyond 32 bits", true, true, 3, 4'000'000'000 * kFrame, {{3, 1000}}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        MovieTrack track;
        track.timescale = 25'000;
        track.rate = {25'000, 1};
        track.options.keepStartTime = one.keepStart;
        track.options.mediaTimesAreDecodeTimes = one.decodeTimes;
        for (std::size_t i = 0; i < one.count; ++i) {
            const REFERENCE_TIME start = 5 * kFrame + static_cast<REFERENCE_TIME>(i) * kFrame;
            if (one.decodeTimes) track.AppendDecodeTime(start);
            track.AppendSample({i, start, 1, 1}, start + (i + 1 < one.count ? kFrame : one.lastDuration), true, L"");
        }
        vio::mp4::mp4_writer writer;
        const auto stbl = writer.add_box<vio::mp4::sample_table_box>(nullptr);
        const TrackTimeline timeline(track);
        AddSampleTables(writer, stbl.get(), track, timeline, testdata::VideoType(kFrame));
        Runs runs;
        for (const auto& item : writer.entries)
            if (const auto stts = std::dynamic_pointer_cast<time_to_sample_box>(item.object))
                for (const auto& entry : stts->entries) runs.emplace_back(entry.sample_count, entry.sample_delta);
        EXPECT_EQ(runs, one.expected);
    }
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
