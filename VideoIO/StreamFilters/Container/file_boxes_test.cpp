#include "VideoIO/StreamFilters/Container/file_boxes.h"

#include "VideoIO/StreamFilters/Container/box_test.h"

#include <gmock/gmock.h>

namespace vio::mp4 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FileType, BrandsAreAsManyAsTheSizeTells) {
    file_type_box box;
    box.major_brand = fourcc("mp42");
    box.minor_version = 1;
    box.compatible_brands = {fourcc("mp42"), fourcc("isom")};
    const auto built = make_box("ftyp", box_builder().text("mp42").u32(1).text("mp42isom"));
    EXPECT_EQ(written(box), built.bytes());
    EXPECT_EQ(parsed<file_type_box>(built)->compatible_brands, box.compatible_brands);
    EXPECT_THAT(parsed<file_type_box>(make_box("ftyp", box_builder().text("qt  ").u32(0)))->compatible_brands,
                IsEmpty());
    const auto large = mediakit_test::make_large_box("ftyp", box_builder().text("mp42").u32(1).text("isom"));
    EXPECT_THAT(parsed<file_type_box>(large)->compatible_brands, ElementsAre(fourcc("isom")));
    EXPECT_THROW(parsed<file_type_box>(make_box("ftyp", box_builder().text("mp42"))), core::exception)
        << "a box too short for its two words claims an absurd count of brands";
}

TEST(FreeSpace, IsZerosOrBytes) {
    free_space_box box;
    EXPECT_EQ(written(box), make_box("free").bytes());
    box.data = {1, 2};
    EXPECT_EQ(written(box), make_box("free", box_builder().u8(1).u8(2)).bytes());
    box.zero_size = 3;
    EXPECT_EQ(written(box), make_box("free", box_builder().zeros(3)).bytes());
}

TEST(MediaData, SkipsItsPayload) {
    media_data_box box;
    box.data_size = 5;
    mp4_writer writer;
    const auto mdat = writer.insert_after(nullptr, std::make_shared<media_data_box>(box), nullptr);
    const auto out = std::make_shared<failing_stream>();
    writer.write(out, true);
    EXPECT_EQ(mdat->size, 13u);
    EXPECT_EQ(out->content, mediakit_test::make_lying_box(13, "mdat").bytes());
    EXPECT_EQ(out->position, 13u);
}

TEST(ObjectDescriptor, IsItsBytes) {
    object_descriptor_box box;
    box.data = {0x10, 0x07};
    EXPECT_EQ(written(box), make_full_box("iods", 0, 0, box_builder().u8(0x10).u8(0x07)).bytes());
}

TEST(SegmentIndex, KeepsThreeWordsAReference) {
    const auto version0 = parsed<segment_index_box>(
        make_full_box("sidx", 0, 0, box_builder().words({1, 90000, 10, 20}).u16(0).u16(2).words({1, 2, 3, 4, 5, 6})));
    EXPECT_EQ(version0->earliest_presentation_time, 10u);
    EXPECT_EQ(version0->first_offset, 20u);
    ASSERT_EQ(version0->references.size(), 2u);
    EXPECT_THAT(version0->references[1], ElementsAre(4, 5, 6));
    const auto version1 = parsed<segment_index_box>(
        make_full_box("sidx", 1, 0, box_builder().words({1, 90000}).u64(1ull << 40).u64(20).u16(0).u16(0)));
    EXPECT_EQ(version1->earliest_presentation_time, 1ull << 40);
    EXPECT_THROW(parsed<box>(make_full_box("sidx", 2, 0, box_builder().zeros(100))), core::exception);
    EXPECT_THROW(
        parsed<box>(make_full_box("sidx", 0, 0, box_builder().words({1, 1, 1, 1}).u16(0).u16(2).words({1, 2, 3}))),
        core::exception);
}

}  // namespace
}  // namespace vio::mp4
