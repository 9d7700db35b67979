#include "VideoIO/StreamFilters/Container/fragment_boxes.h"

#include "VideoIO/StreamFilters/Container/box_test.h"

#include <gmock/gmock.h>

namespace vio::mp4 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(MovieExtends, AreLaidOutAndReadBack) {
    track_extends_box trex;
    trex.flags = 2;
    trex.track_ID = 1;
    trex.default_sample_description_index = 2;
    trex.default_sample_duration = 3;
    trex.default_sample_size = 4;
    trex.default_sample_flags = 5;
    const auto built = make_full_box("trex", 0, 2, box_builder().words({1, 2, 3, 4, 5}));
    EXPECT_EQ(written(trex), built.bytes());
    EXPECT_EQ(written(*parsed<track_extends_box>(built)), built.bytes());

    movie_fragment_header_box mfhd;
    mfhd.sequence_number = 9;
    EXPECT_EQ(written(mfhd), make_full_box("mfhd", 0, 0, box_builder().u32(9)).bytes());
}

TEST(MovieExtendsHeader, VersionsAboveOneAreReadWideAndWrittenEmpty) {
    movie_extends_header_box box;
    box.fragment_duration = 0x100000005;
    EXPECT_EQ(written(box), make_full_box("mehd", 0, 0, box_builder().u32(5)).bytes());
    box.version = 1;
    EXPECT_EQ(written(box), make_full_box("mehd", 1, 0, box_builder().u64(0x100000005)).bytes());
    box.version = 2;
    EXPECT_EQ(written(box), make_full_box("mehd", 2, 0).bytes());
    EXPECT_EQ(parsed<movie_extends_header_box>(make_full_box("mehd", 0, 0, box_builder().u32(5)))->fragment_duration,
              5u);
    EXPECT_EQ(parsed<movie_extends_header_box>(make_full_box("mehd", 2, 0, box_builder().u64(5)))->fragment_duration,
              5u);
}

TEST(TrackFragmentHeader, HasTheFieldsOfItsFlags) {
    track_fragment_header_box box;
    box.track_ID = 1;
    box.base_data_offset = 0x200000003;
    box.sample_description_index = 4;
    box.default_sample_duration = 5;
    box.default_sample_size = 6;
    box.default_sample_flags = 7;
    const auto expect_for = [&](std::uint32_t flags, const box_builder& fields) {
        box.flags = flags;
        const auto built = make_full_box("tfhd", 0, flags, fields);
        EXPECT_EQ(written(box), built.bytes());
        EXPECT_EQ(written(*parsed<track_fragment_header_box>(built)), built.bytes());
    };
    expect_for(0, box_builder().u32(1));
    expect_for(0x01, box_builder().u32(1).u64(0x200000003));
    expect_for(0x22, box_builder().words({1, 4, 7}));
    expect_for(0x39, box_builder().u32(1).u64(0x200000003).words({5, 6, 7}));
}

track_run_box run(std::uint32_t flags) {
    track_run_box box;
    box.flags = flags;
    box.sample_count = 2;
    box.data_offset = 100;
    box.first_sample_flags = 0x00010000;
    box.sample_duration = {1, 2};
    box.sample_size = {3, 4};
    box.sample_flags = {5, 6};
    box.sample_composition_time_offset = {7, 0xFFFFFFFF};
    return box;
}

TEST(TrackRun, HasTheColumnsOfItsFlagsOneRowASample) {
    const auto expect_for = [](std::uint32_t flags, const box_builder& fields) {
        const auto built = make_full_box("trun", 0, flags, fields);
        EXPECT_EQ(written(run(flags)), built.bytes());
        EXPECT_EQ(written(*parsed<track_run_box>(built)), built.bytes());
    };
    expect_for(0x000, box_builder().u32(2));
    expect_for(0x005, box_builder().words({2, 100, 0x00010000}));
    expect_for(0x200, box_builder().words({2, 3, 4}));
    expect_for(0xF01, box_builder().words({2, 100, 1, 3, 5, 7, 2, 4, 6, 0xFFFFFFFF}));
    expect_for(0x900, box_builder().words({2, 1, 7, 2, 0xFFFFFFFF}));
}

TEST(TrackRun, KeepsColumnsWithoutTheirFlagEmpty) {
    const auto box = parsed<track_run_box>(make_full_box("trun", 0, 0x200, box_builder().words({2, 3, 4})));
    EXPECT_THAT(box->sample_size, ElementsAre(3, 4));
    EXPECT_THAT(box->sample_duration, IsEmpty());
    EXPECT_THAT(parsed<track_run_box>(make_full_box("trun", 0, 0, box_builder().u32(0xFFFFFFFF)))->sample_size,
                IsEmpty());
}

TEST(TrackRun, RefusesColumnsOfAnotherLengthBeforeAnySample) {
    for (const auto column : {&track_run_box::sample_duration, &track_run_box::sample_size,
                              &track_run_box::sample_flags, &track_run_box::sample_composition_time_offset}) {
        track_run_box box = run(0xF00);
        (box.*column).pop_back();
        EXPECT_THROW(written(box), core::exception);
    }
    const auto target = std::make_shared<failing_stream>();
    const auto box = std::make_shared<track_run_box>(run(0x100));
    box->sample_duration.pop_back();
    box->size = 20;
    mp4_writer writer;
    EXPECT_THROW(writer.write_box(target, box.get()), core::exception);
    EXPECT_EQ(target->content.size(), 16u) << "header and count stand there, no sample";
}

TEST(TrackRun, RefusesCountsThatTheBoxDoesNotHold) {
    EXPECT_THROW(parsed<box>(make_full_box("trun", 0, 0xF00, box_builder().words({0xFFFFFFFF, 1, 2, 3}))),
                 core::exception);
    EXPECT_THROW(parsed<box>(make_full_box("trun", 0, 0x300, box_builder().words({2, 1, 2, 3}))), core::exception);
}

TEST(BaseMediaDecodeTime, WriterAndReaderDisagreeOnTheWideVersion) {
    track_fragment_base_media_decode_time_box box;
    box.base_media_decode_time = 0x100000000;
    EXPECT_EQ(written(box), make_full_box("tfdt", 0, 0, box_builder().u64(0x100000000)).bytes());
    box.version = 1;
    EXPECT_THROW(written(box), core::exception);
    box.base_media_decode_time = 0xFFFFFFFF;
    EXPECT_EQ(written(box), make_full_box("tfdt", 1, 0, box_builder().u32(0xFFFFFFFF)).bytes());

    // The reader's visit is reached only through a registry that knows the class.
    const box_registry registry = {
        {fourcc("tfdt"), [](unsigned) { return std::make_shared<track_fragment_base_media_decode_time_box>(); }}};
    const auto time_of = [&](const box_builder& built) {
        failing_stream stream(built.bytes());
        mp4_parser parser(stream, registry);
        parser.parse();
        return std::dynamic_pointer_cast<track_fragment_base_media_decode_time_box>(parser.boxes.at(0))
            ->base_media_decode_time;
    };
    EXPECT_EQ(time_of(make_full_box("tfdt", 1, 0, box_builder().u64(0x100000000))), 0x100000000u);
    EXPECT_EQ(time_of(make_full_box("tfdt", 0, 0, box_builder().u32(7))), 7u);
}

TEST(BaseMediaDecodeTime, IsUnknownInFiles) {
    const auto built = make_box("traf", make_full_box("tfdt", 1, 0, box_builder().u64(7)));
    failing_stream stream(built.bytes());
    mp4_parser parser(stream);
    ASSERT_TRUE(parser.parse());
    const auto traf = parser.boxes.at(0);
    const auto tfdt = parser.find_child(*traf, false, 0, fourcc("tfdt"));
    ASSERT_NE(tfdt, nullptr);
    EXPECT_EQ(std::dynamic_pointer_cast<full_box>(tfdt), nullptr);
}

}  // namespace
}  // namespace vio::mp4
