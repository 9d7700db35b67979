#include "VideoIO/StreamFilters/Container/track_boxes.h"

#include "VideoIO/StreamFilters/Container/box_test.h"

namespace vio::mp4 {
namespace {

TEST(TrackHeader, IsLaidOutByVersionAndReadBack) {
    track_header_box box(0);
    box.flags = 7;
    box.creation_time = 1;
    box.modification_time = 2;
    box.track_ID = 3;
    box.duration = 4;
    box.layer = 5;
    box.alternate_group = 6;
    box.volume = 0x0100;
    box.matrix = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    box.width = 640 << 16;
    box.height = 480 << 16;
    const auto rest = box_builder().zeros(8).u16(5).u16(6).u16(0x0100).zeros(2).words(
        {1, 2, 3, 4, 5, 6, 7, 8, 9, 640 << 16, 480 << 16});
    const auto version0 = make_full_box("tkhd", 0, 7, box_builder().words({1, 2, 3, 0, 4}).add(rest));
    const auto version1 =
        make_full_box("tkhd", 1, 7, box_builder().u64(1).u64(2).u32(3).u32(0).u64(1ull << 33).add(rest));
    EXPECT_EQ(version0.size(), 92u);
    EXPECT_EQ(version1.size(), 104u);

    EXPECT_EQ(written(box), version0.bytes());
    box.duration = 1ull << 33;
    EXPECT_THROW(written(box), core::exception);
    box.version = 1;
    EXPECT_EQ(written(box), version1.bytes());

    for (const auto& built : {version0, version1}) {
        const auto read = parsed<track_header_box>(built);
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(read->flags, 7u);
        EXPECT_EQ(written(*read), built.bytes());
    }
}

TEST(MediaHeader, IsLaidOutByVersionAndReadBack) {
    const auto version0 = make_full_box("mdhd", 0, 0, box_builder().words({1, 2, 48000, 4}).u16(0x55C4).u16(0));
    const auto version1 =
        make_full_box("mdhd", 1, 0, box_builder().u64(1ull << 40).u64(2).u32(48000).u64(4).u16(0x55C4).u16(0));
    for (const auto& built : {version0, version1}) {
        const auto box = parsed<media_header_box>(built);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->timescale, 48000u);
        EXPECT_EQ(box->language, 0x55C4);
        EXPECT_EQ(written(*box), built.bytes());
    }
    EXPECT_THROW(parsed<media_header_box>(make_full_box("mdhd", 2, 0, box_builder().zeros(60))), core::exception);
}

TEST(Handler, NameIsUtf8WithItsTerminator) {
    handler_box box;
    box.handler_type = fourcc("vide");
    box.name = L"Vid\u00E9o";
    const auto built =
        make_full_box("hdlr", 0, 0, box_builder().u32(0).text("vide").zeros(12).text("Vid\xC3\xA9o").u8(0));
    EXPECT_EQ(written(box), built.bytes());
    const auto read = parsed<handler_box>(built);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->handler_type, fourcc("vide"));
    EXPECT_EQ(read->name, box.name);
}

TEST(Handler, NameEndsAtItsFirstZeroOrWithTheBox) {
    const auto with_name = [](std::string_view name) {
        return make_full_box("hdlr", 0, 0, box_builder().u32(0).text("soun").zeros(12).text(name));
    };
    EXPECT_EQ(parsed<handler_box>(with_name(""))->name, L"");
    EXPECT_EQ(parsed<handler_box>(with_name("open"))->name, L"open");
    EXPECT_EQ(parsed<handler_box>(with_name(std::string_view("cut\0off", 7)))->name, L"cut");
    EXPECT_EQ(parsed<handler_box>(with_name("Vid\xE9o"))->name, L"Vid\u00E9o") << "not UTF-8";
}

TEST(MediaInformationHeaders, AreLaidOut) {
    video_media_header_box video;
    video.graphicsmode = 0x0102;
    video.opcolor = {3, 4, 5};
    const auto vmhd = make_full_box("vmhd", 0, 1, box_builder().u16(0x0102).u16(3).u16(4).u16(5));
    EXPECT_EQ(written(video), vmhd.bytes());
    EXPECT_EQ(parsed<video_media_header_box>(vmhd)->opcolor, video.opcolor);

    sound_media_header_box sound;
    sound.balance = 0xFF00;
    const auto smhd = make_full_box("smhd", 0, 0, box_builder().u16(0xFF00).u16(0));
    EXPECT_EQ(written(sound), smhd.bytes());
    EXPECT_EQ(parsed<sound_media_header_box>(smhd)->balance, 0xFF00);
}

edit_list_box edits(std::uint8_t version) {
    edit_list_box box;
    box.version = version;
    box.entries = {{1000, -1, 1, 0}, {2000, 1024, 1, 2}};
    return box;
}

TEST(EditList, IsLaidOutByVersionWithSignedMediaTimes) {
    const auto version0 =
        make_full_box("elst", 0, 0, box_builder().words({2, 1000, 0xFFFFFFFF, 0x00010000, 2000, 1024, 0x00010002}));
    const auto version1 = make_full_box(
        "elst", 1, 0, box_builder().u32(2).u64(1000).u64(~0ull).u32(0x00010000).u64(2000).u64(1024).u32(0x00010002));
    EXPECT_EQ(written(edits(0)), version0.bytes());
    EXPECT_EQ(written(edits(1)), version1.bytes());
    for (const auto& built : {version0, version1}) {
        const auto box = parsed<edit_list_box>(built);
        ASSERT_EQ(box->entries.size(), 2u);
        EXPECT_EQ(box->entries[0].media_time, -1);
        EXPECT_EQ(box->entries[1].segment_duration, 2000u);
        EXPECT_EQ(written(*box), built.bytes());
    }
}

TEST(EditList, RefusesOnWritingWhatDoesNotFit) {
    edit_list_box box = edits(0);
    box.entries[0].segment_duration = 0xFFFFFFFF;
    EXPECT_NO_THROW(written(box));
    box.entries[0].segment_duration = 0x100000000;
    EXPECT_THROW(written(box), core::exception);
    EXPECT_THROW(written(edits(2)), core::exception);
}

TEST(EditList, LeavesOutSilentlyWhatIsMissing) {
    const auto cut = make_full_box("elst", 0, 0, box_builder().words({0xFFFFFFFF, 1000, 7, 0x00010000, 2000, 9}));
    const auto box = parsed<edit_list_box>(cut);
    ASSERT_EQ(box->entries.size(), 2u);
    EXPECT_EQ(box->entries[1].media_time, 9);
    EXPECT_EQ(box->entries[1].media_rate_integer, 0);
    EXPECT_TRUE(parsed<edit_list_box>(make_full_box("elst", 0, 0))->entries.empty());
    EXPECT_TRUE(parsed<edit_list_box>(make_full_box("elst", 0, 0, box_builder().u32(5).u8(1)))->entries.empty());
    EXPECT_THROW(parsed<edit_list_box>(make_full_box("elst", 2, 0, box_builder().u32(0))), core::exception);
}

TEST(DataReference, IsWrittenAsCountAndHeadersOnly) {
    mp4_writer writer;
    const auto dref = writer.add_box<data_reference_box>(nullptr);
    dref->entry_count = 1;
    writer.add_box<data_entry_url_box>(dref.get())->flags = 1;
    const auto out = std::make_shared<failing_stream>();
    writer.write(out, true);
    EXPECT_EQ(out->content, make_full_box("dref", 0, 0, box_builder().u32(1).add(make_full_box("url ", 0, 1))).bytes());
}

TEST(DataReference, ReadsTheFlagsOfItsEntriesAndTheBoxesBehindIt) {
    const auto dref = make_full_box("dref", 0, 0,
                                    box_builder()
                                        .u32(3)
                                        .add(make_full_box("url ", 0, 1))
                                        .add(make_box("alis", box_builder().u32(0)))
                                        .add(make_full_box("url ", 0, 0, box_builder().text("http"))));
    failing_stream stream(box_builder().add(dref).add(make_box("free")).bytes());
    mp4_parser parser(stream);
    EXPECT_TRUE(parser.parse());

    const auto flags_at = [&](std::uint64_t offset) {
        const auto url = std::dynamic_pointer_cast<data_entry_url_box>(parser.boxes[offset]);
        return url != nullptr ? url->flags : 99;
    };
    EXPECT_EQ(flags_at(16), 1u);
    EXPECT_EQ(parser.boxes[28]->type, fourcc("alis"));
    EXPECT_EQ(flags_at(40), 0u);
    ASSERT_TRUE(parser.boxes.contains(56)) << "the scan goes on behind a box with children";
    EXPECT_EQ(parser.boxes[56]->type, fourcc("free"));
}

}  // namespace
}  // namespace vio::mp4
