#include "VideoIO/StreamFilters/Container/registry.h"

#include "VideoIO/StreamFilters/Container/file_boxes.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"

#include <gtest/gtest.h>

namespace vio::mp4 {
namespace {

/// Codes that stand for another one: their factory makes the class with its own code.
const std::map<std::uint32_t, std::uint32_t> aliases = {
    {fourcc("skip"), fourcc("free")}, {fourcc("bxml"), fourcc("xml ")}, {fourcc("avc3"), fourcc("avc1")},
    {fourcc("avc4"), fourcc("avc2")}, {fourcc("hev1"), fourcc("hvc1")},
};

void expect_codes(const box_registry& registry) {
    for (const auto& [code, factory] : registry) {
        const auto alias = aliases.find(code);
        EXPECT_EQ(factory(code)->type, alias != aliases.end() ? alias->second : code) << std::hex << code;
    }
}

TEST(Registry, EachFactoryMakesItsClassWithTheConstantCode) {
    EXPECT_EQ(main_registry().size(), 81u);
    EXPECT_EQ(sample_entry_registry().size(), 21u);
    expect_codes(main_registry());
    expect_codes(sample_entry_registry());
}

TEST(Registry, LeavesOutWhatIsMadeByHandOrNeverMade) {
    for (const auto code : {fourcc("fiel"), fourcc("hmhd"), fourcc("nmhd"), fourcc("tfdt"), fourcc("pasp")})
        EXPECT_FALSE(main_registry().contains(code));
    EXPECT_FALSE(sample_entry_registry().contains(fourcc("wave")));
    EXPECT_FALSE(sample_entry_registry().contains(fourcc("stsd")));
}

TEST(Registry, ClassesOfSeveralCodesTakeTheOneAskedFor) {
    const auto entry = sample_entry_registry().at(fourcc("twos"))(fourcc("twos"));
    EXPECT_NE(std::dynamic_pointer_cast<audio_sample_entry>(entry), nullptr);
    EXPECT_EQ(entry->type, fourcc("twos"));
}

TEST(Records, StartEmptyButForWhatEveryFileNeeds) {
    EXPECT_EQ(box().header_size, 8u);
    EXPECT_EQ(handler_box().header_size, 12u);
    const video_media_header_box video;
    EXPECT_EQ(video.flags, 1u);
    EXPECT_EQ(video.opcolor, std::vector<std::uint16_t>(3));
    const track_header_box track(1);
    EXPECT_EQ(track.version, 1);
    EXPECT_EQ(track.matrix, std::vector<std::uint32_t>(9));
}

TEST(Fourcc, ReadsAndShowsItsFourCharacters) {
    EXPECT_EQ(fourcc("moov"), 0x6D6F6F76u);
    EXPECT_EQ(fourcc_text(fourcc("url ")), L"url ");
    EXPECT_EQ(fourcc_text(0xA9737772), L"\u00A9swr");
    EXPECT_EQ(fourcc_text(0x00011F7F), L"....");
}

}  // namespace
}  // namespace vio::mp4
