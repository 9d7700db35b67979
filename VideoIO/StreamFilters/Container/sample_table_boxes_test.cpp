#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"

#include "VideoIO/StreamFilters/Container/box_test.h"

#include <gmock/gmock.h>

namespace vio::mp4 {
namespace {

using testing::ElementsAre;
using words = std::vector<std::uint32_t>;

/// Written, read and written again: all three give the bytes.
template <class T>
void expect_both_ways(const T& box, const box_builder& built) {
    EXPECT_EQ(written(box), built.bytes());
    const auto read = parsed<T>(built);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(written(*read), built.bytes());
}

TEST(SampleTables, AreLaidOutAndReadBack) {
    time_to_sample_box stts;
    stts.entries = {{2, 3000}, {1, 1500}};
    expect_both_ways(stts, make_full_box("stts", 0, 0, box_builder().words({2, 2, 3000, 1, 1500})));

    composition_offset_box ctts;
    ctts.version = 1;
    ctts.entries = {{1, 0xFFFFFFF6}, {2, 20}};
    expect_both_ways(ctts, make_full_box("ctts", 1, 0, box_builder().words({2, 1, 0xFFFFFFF6, 2, 20})));

    sync_sample_box stss;
    stss.sample_numbers = {1, 31};
    expect_both_ways(stss, make_full_box("stss", 0, 0, box_builder().words({2, 1, 31})));

    sample_to_chunk_box stsc;
    stsc.entries = {{1, 10, 1}, {4, 2, 1}};
    expect_both_ways(stsc, make_full_box("stsc", 0, 0, box_builder().words({2, 1, 10, 1, 4, 2, 1})));

    chunk_offset_box stco;
    stco.offsets = {48, 0xFFFFFFFF};
    expect_both_ways(stco, make_full_box("stco", 0, 0, box_builder().words({2, 48, 0xFFFFFFFF})));

    chunk_large_offset_box co64;
    co64.offsets = {48, 0x123456789A};
    expect_both_ways(co64, make_full_box("co64", 0, 0, box_builder().u32(2).u64(48).u64(0x123456789A)));
}

TEST(SampleSize, HasItsTableOnlyForSizesThatDiffer) {
    sample_size_box box;
    box.sample_count = 3;
    box.entry_sizes = {10, 20, 30};
    expect_both_ways(box, make_full_box("stsz", 0, 0, box_builder().words({0, 3, 10, 20, 30})));
    box.sample_size = 4;
    expect_both_ways(box, make_full_box("stsz", 0, 0, box_builder().words({4, 3})));
    expect_both_ways(sample_size_box(), make_full_box("stsz", 0, 0, box_builder().words({0, 0})));
    EXPECT_EQ(parsed<sample_size_box>(make_full_box("stsz", 0, 0, box_builder().words({4, 0xFFFFFFFF})))->sample_count,
              0xFFFFFFFFu);
}

TEST(SampleTables, EmptyTablesHaveACountOnly) {
    for (const char* type : {"stts", "stsc", "stco", "co64", "stss", "ctts"}) {
        const auto built = make_full_box(type, 0, 0, box_builder().u32(0));
        failing_stream stream(built.bytes());
        mp4_parser parser(stream);
        ASSERT_TRUE(parser.parse());
        EXPECT_EQ(written(parser.boxes.at(0)), built.bytes()) << type;
    }
}

TEST(SampleTables, RefuseCountsThatTheBoxDoesNotHold) {
    for (const char* type : {"stts", "stsc", "stco", "co64", "stss", "ctts"}) {
        const auto built = make_full_box(type, 0, 0, box_builder().words({0xFFFFFFFF, 1, 2, 3}));
        EXPECT_THROW(parsed<box>(built), core::exception) << type;
    }
    EXPECT_THROW(parsed<box>(make_full_box("stsz", 0, 0, box_builder().words({0, 3, 10, 20}))), core::exception);
    EXPECT_THROW(parsed<box>(make_full_box("stz2", 0, 0, box_builder().words({16, 3, 0}))), core::exception);
    EXPECT_THROW(parsed<box>(make_full_box("stz2", 0, 0, box_builder().words({4, 0xFFFFFFFF, 0}))), core::exception);
    EXPECT_THROW(parsed<box>(make_full_box("ctts", 2, 0, box_builder().u32(0))), core::exception);
}

TEST(CompositionOffset, RefusesOtherVersionsOnWriting) {
    composition_offset_box box;
    box.version = 2;
    EXPECT_THROW(written(box), core::exception);
}

TEST(CompactSampleSize, ReadsFourEightAndSixteenBits) {
    const auto sizes = [](const box_builder& fields) {
        return parsed<compact_sample_size_box>(make_full_box("stz2", 0, 0, fields))->entry_sizes;
    };
    EXPECT_THAT(sizes(box_builder().words({4, 4}).u8(0x12).u8(0x3F)), ElementsAre(1, 2, 3, 15));
    EXPECT_THAT(sizes(box_builder().words({4, 3}).u8(0x12).u8(0x3F)), ElementsAre(1, 2, 3, 15))
        << "an odd count has one entry more";
    EXPECT_THAT(sizes(box_builder().words({8, 2}).u8(0x12).u8(0xFF)), ElementsAre(0x12, 0xFF));
    EXPECT_THAT(sizes(box_builder().words({0xABCDEF10, 2}).u16(0x1234).u16(0xFFFF)), ElementsAre(0x1234, 0xFFFF))
        << "only the low 8 bits are the field size";
    EXPECT_TRUE(sizes(box_builder().words({5, 0xFFFFFFFF})).empty());
}

TEST(ReadOnlyTables, AreWrittenAsAHeader) {
    compact_sample_size_box stz2;
    stz2.entry_sizes = {1, 2};
    EXPECT_EQ(written(stz2), make_full_box("stz2", 0, 0).bytes());
    composition_to_decode_box cslg;
    cslg.version = 1;
    EXPECT_EQ(written(cslg), make_full_box("cslg", 1, 0).bytes());
    EXPECT_TRUE(written(sample_to_group_box()).empty());
}

TEST(CompositionToDecode, ReadsBothWidths) {
    const auto narrow =
        parsed<composition_to_decode_box>(make_full_box("cslg", 0, 0, box_builder().words({1, 0xFFFFFFFE, 3, 4, 5})));
    EXPECT_EQ(narrow->composition_to_dts_shift, 1);
    EXPECT_EQ(narrow->least_decode_to_display_delta, -2);
    EXPECT_EQ(narrow->composition_end_time, 5);
    const auto wide = parsed<composition_to_decode_box>(
        make_full_box("cslg", 7, 0, box_builder().u64(1).u64(~1ull).u64(1ull << 40).u64(4).u64(5)));
    EXPECT_EQ(wide->least_decode_to_display_delta, -2);
    EXPECT_EQ(wide->greatest_decode_to_display_delta, std::int64_t{1} << 40);
    EXPECT_THROW(parsed<box>(make_full_box("cslg", 0, 0, box_builder().words({1, 2, 3, 4}))), core::exception);
}

TEST(SampleGroups, PairsLieFourBytesEarly) {
    const auto pairs = [](const std::shared_ptr<sample_to_group_box>& box) {
        words all;
        for (const auto& entry : box->entries) {
            all.push_back(entry.sample_count);
            all.push_back(entry.group_description_index);
        }
        return all;
    };
    const auto version0 =
        parsed<sample_to_group_box>(make_full_box("sbgp", 0, 0, box_builder().text("roll").words({2, 10, 1, 20, 2})));
    EXPECT_EQ(version0->grouping_type, fourcc("roll"));
    EXPECT_THAT(pairs(version0), ElementsAre(2, 10, 1, 20));
    const auto version1 =
        parsed<sample_to_group_box>(make_full_box("sbgp", 1, 0, box_builder().text("roll").words({7, 1, 10, 1})));
    EXPECT_EQ(version1->grouping_type_parameter, 7u);
    EXPECT_THAT(pairs(version1), ElementsAre(1, 10));
    EXPECT_THROW(parsed<box>(make_full_box("sbgp", 2, 0, box_builder().zeros(16))), core::exception);
}

TEST(SampleGroups, DescriptionsArePassedOverByTheirLengths) {
    const auto read = [](std::uint8_t version, const box_builder& fields) {
        return parsed<sample_group_description_box>(make_full_box("sgpd", version, 0, fields));
    };
    EXPECT_EQ(read(0, box_builder().text("roll").u32(9))->grouping_type, fourcc("roll"));
    EXPECT_NE(read(1, box_builder().text("roll").words({2, 2}).zeros(4)), nullptr);
    EXPECT_NE(read(1, box_builder().text("roll").words({0, 2}).u32(1).u8(0).u32(0)), nullptr);
    EXPECT_THROW(read(1, box_builder().text("roll").words({2, 3}).zeros(4)), core::exception);
    EXPECT_THROW(read(1, box_builder().text("roll").words({0, 2}).u32(9).u8(0)), core::exception);
    EXPECT_THROW(read(1, box_builder().text("roll").words({0, 0xFFFFFFFF}).u32(0)), core::exception);
    EXPECT_THROW(read(2, box_builder().text("roll").u32(0)), core::exception);
}

TEST(SampleDependency, IsTheRestOfTheBox) {
    EXPECT_THAT(parsed<sample_dependency_type_box>(make_full_box("sdtp", 0, 0, box_builder().u8(1).u8(2)))->entries,
                ElementsAre(1, 2));
}

}  // namespace
}  // namespace vio::mp4
