#include "VideoIO/StreamFilters/Demultiplexer/FragmentMap.h"

#include "Testing/Kit/box_builder.h"
#include "Testing/Kit/failing_stream.h"

#include <gtest/gtest.h>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace mediakit_test;
namespace has = vio::mp4::track_fragment_flags;

constexpr std::uint32_t kNothing = 0;
constexpr std::uint32_t kBase = has::base_data_offset;
constexpr std::uint32_t kMoof = has::default_base_is_moof;

/// Samples of 5 bytes in track 1 and of 7 in track 2.
box_builder Defaults() {
    const auto trex = [](std::uint32_t id, std::uint32_t size) {
        return make_full_box("trex", 0, 0, box_builder().words({id, 1, 10, size, 0}));
    };
    return make_box("mvex", trex(1, 5).add(trex(2, 7)));
}

/// Two samples whose place the base alone tells.
box_builder TrackFragment(std::uint32_t id, std::uint32_t flags, std::uint64_t base = 0) {
    box_builder tfhd = box_builder().u32(id);
    if ((flags & kBase) != 0) tfhd.u64(base);
    return make_box("traf",
                    make_full_box("tfhd", 0, flags, tfhd).add(make_full_box("trun", 0, 0, box_builder().u32(2))));
}

using Bases = std::vector<std::uint64_t>;

/// Of the fragments of track 1, then of those of track 2.
Bases BasesOf(const box_builder& file, const ReadingOptions& options) {
    failing_stream stream(file.bytes());
    vio::mp4::mp4_parser parser(stream);
    parser.parse();
    const auto mvex = std::dynamic_pointer_cast<vio::mp4::movie_extends_box>(parser.boxes.at(0));
    FragmentMap map;
    ReadingFindings findings;
    map.Gather(parser, *mvex, {options, findings});
    Bases bases;
    for (const std::uint32_t id : {1U, 2U})
        for (const FragmentRecord& record : map.Take(id)) bases.push_back(record.base);
    return bases;
}

TEST(FragmentMap, TrackFragmentsBeginWhereTheirHeadersSay) {
    const std::uint64_t moof = Defaults().size();
    const struct {
        const char* what;
        box_builder first, second;  // the third, of track 1, tells nothing
        Bases strict;               // of the first, the third and the second
        Bases following;
    } cases[] = {
        {"nothing is told",
         TrackFragment(1, kNothing),
         TrackFragment(2, kNothing),
         {moof, moof, moof},
         {moof, moof + 10 + 14, moof + 10}},
        {"all begin at the moof",
         TrackFragment(1, kMoof),
         TrackFragment(2, kMoof),
         {moof, moof, moof},
         {moof, moof + 14, moof}},
        {"the first has a base",
         TrackFragment(1, kBase, 1000),
         TrackFragment(2, kNothing),
         {1000, moof, moof},
         {1000, 1024, 1010}},
        {"the second has a base",
         TrackFragment(1, kNothing),
         TrackFragment(2, kBase, 1ULL << 40),
         {moof, moof, 1ULL << 40},
         {moof, (1ULL << 40) + 14, 1ULL << 40}},
        {"a base goes before the moof",
         TrackFragment(1, kBase | kMoof, 1000),
         TrackFragment(2, kMoof),
         {1000, moof, moof},
         {1000, moof + 14, moof}},
    };
    for (const auto& of : cases) {
        SCOPED_TRACE(of.what);
        const box_builder file = Defaults().add(
            make_box("moof", box_builder().add(of.first).add(of.second).add(TrackFragment(1, kNothing))));
        EXPECT_EQ(BasesOf(file, {}), of.strict);
        EXPECT_EQ(BasesOf(file, {.contiguousRuns = true}), of.following);
    }
    // Data of one moof do not follow those of another.
    const box_builder two = Defaults()
                                .add(make_box("moof", TrackFragment(1, kBase, 1000)))
                                .add(make_box("moof", TrackFragment(2, kNothing)));
    const std::uint64_t second = moof + make_box("moof", TrackFragment(1, kBase, 1000)).size();
    EXPECT_EQ(BasesOf(two, {.contiguousRuns = true}), (Bases{1000, second}));
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
