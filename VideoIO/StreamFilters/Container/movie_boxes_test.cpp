#include "VideoIO/StreamFilters/Container/movie_boxes.h"

#include "Platform/Kernel/LastError.h"
#include "VideoIO/StreamFilters/Container/box_test.h"

namespace vio::mp4 {
namespace {

movie_header_box header(std::uint8_t version) {
    movie_header_box box(version);
    box.creation_time = 0x01020304;
    box.modification_time = 0x05060708;
    box.timescale = 90000;
    box.duration = 0x11121314;
    box.rate = 0x00010000;
    box.volume = 0x0100;
    box.matrix = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    box.next_track_ID = 3;
    return box;
}

box_builder rest_of_header() {
    return box_builder().u32(0x00010000).u16(0x0100).zeros(10).words({1, 2, 3, 4, 5, 6, 7, 8, 9}).zeros(24).u32(3);
}

const box_builder& version0() {
    static const box_builder box = make_full_box(
        "mvhd", 0, 0, box_builder().words({0x01020304, 0x05060708, 90000, 0x11121314}).add(rest_of_header()));
    return box;
}

const box_builder& version1() {
    static const box_builder box = make_full_box(
        "mvhd", 1, 0, box_builder().u64(0x01020304).u64(0x05060708).u32(90000).u64(0x11121314).add(rest_of_header()));
    return box;
}

TEST(MovieHeader, IsLaidOutByVersion) {
    EXPECT_EQ(version0().size(), 108u);  // ISO/IEC 14496-12
    EXPECT_EQ(version1().size(), 120u);
    EXPECT_EQ(written(header(0)), version0().bytes());
    EXPECT_EQ(written(header(1)), version1().bytes());
}

TEST(MovieHeader, ReadsWhatItWrites) {
    for (const auto* built : {&version0(), &version1()}) {
        const auto box = parsed<movie_header_box>(*built);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->header_size, 8u) << "version and flags are not counted";
        EXPECT_EQ(box->creation_time, 0x01020304u);
        EXPECT_EQ(box->modification_time, 0x05060708u);
        EXPECT_EQ(box->timescale, 90000u);
        EXPECT_EQ(box->duration, 0x11121314u);
        EXPECT_EQ(box->matrix, (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
        EXPECT_EQ(box->next_track_ID, 3u);
        EXPECT_EQ(written(*box), built->bytes());
    }
}

TEST(MovieHeader, RefusesWhatVersionZeroCannotHold) {
    movie_header_box box = header(0);
    box.duration = 0xFFFFFFFE;
    EXPECT_NO_THROW(written(box));
    for (const auto field :
         {&movie_header_box::creation_time, &movie_header_box::modification_time, &movie_header_box::duration}) {
        movie_header_box beyond = header(0);
        beyond.*field = 0xFFFFFFFF;
        EXPECT_THROW(written(beyond), core::exception);
        beyond.version = 1;
        EXPECT_NO_THROW(written(beyond));
    }
}

TEST(MovieHeader, RefusesVersionsBeyondOneBothWays) {
    EXPECT_THROW(written(header(2)), core::exception);
    EXPECT_THROW(parsed<movie_header_box>(make_full_box("mvhd", 2, 0, box_builder().zeros(200))), core::exception);
}

TEST(MovieHeader, FailsWithTheLastSystemError) {
    SetLastError(ERROR_DISK_FULL);
    try {
        written(header(2));
        FAIL() << "no exception";
    } catch (const core::exception& e) {
        EXPECT_EQ(e.result(), make_result(0x80070070));
        EXPECT_STREQ(e.what(), "");
    }
    SetLastError(static_cast<DWORD>(STG_E_MEDIUMFULL));
    EXPECT_EQ(core::last_error_hresult(), STG_E_MEDIUMFULL) << "what is a result already passes through";
}

}  // namespace
}  // namespace vio::mp4
