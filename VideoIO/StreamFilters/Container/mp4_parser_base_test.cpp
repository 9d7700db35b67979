#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"

#include "Platform/Kernel/LastError.h"
#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Container/box_test.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include <gmock/gmock.h>

namespace vio::mp4 {
namespace {

using mediakit_test::log_capture;
using mediakit_test::make_large_box;
using mediakit_test::make_lying_box;
using mediakit_test::make_lying_large_box;
using testing::ElementsAre;

/// A parser over bytes, its top level read.
struct file {
    explicit file(const box_builder& built) : stream(built.bytes()), parser(stream) { whole = parser.parse(); }

    std::vector<std::uint64_t> offsets() const {
        std::vector<std::uint64_t> all;
        for (const auto& [offset, box] : parser.boxes) all.push_back(offset);
        return all;
    }

    failing_stream stream;
    mp4_parser parser;
    bool whole;
};

std::string message_of(const box_builder& built) {
    try {
        file opened(built);
    } catch (const core::exception& e) {
        return e.what();
    }
    return "no exception";
}

TEST(Scan, ReadsHeadersOfAllWidths) {
    const file opened(box_builder()
                          .add(make_box("free", box_builder().zeros(3)))
                          .add(make_large_box("mdat", box_builder().zeros(2)))
                          .add(make_box("uuid", box_builder().zeros(17)))
                          .add(make_box("moov")));
    EXPECT_TRUE(opened.whole);
    EXPECT_THAT(opened.offsets(), ElementsAre(0, 11, 29, 54));
    const auto header_size = [&](std::uint64_t offset) { return opened.parser.boxes.at(offset)->header_size; };
    EXPECT_EQ(header_size(0), 8u);
    EXPECT_EQ(header_size(11), 16u);
    EXPECT_EQ(header_size(29), 24u);
    EXPECT_EQ(opened.parser.boxes.at(29)->size, 25u);
    EXPECT_EQ(opened.parser.boxes.at(54)->type, fourcc("moov"));
}

TEST(Scan, EndsAtTheEndOfTheFile) {
    EXPECT_TRUE(file(box_builder()).whole);
    EXPECT_TRUE(file(box_builder()).parser.boxes.empty());
    const auto moov = make_box("moov");
    for (std::size_t extra = 0; extra <= 4; ++extra) EXPECT_TRUE(file(box_builder().add(moov).zeros(extra)).whole);
    for (std::size_t extra = 5; extra <= 7; ++extra) {
        const file cut(box_builder().add(moov).zeros(extra));
        EXPECT_FALSE(cut.whole);
        EXPECT_THAT(cut.offsets(), ElementsAre(0)) << "boxes in front of the break stay";
    }
    EXPECT_FALSE(file(box_builder().u32(1).text("free").u32(0)).whole) << "a 64-bit size cut off";
    EXPECT_FALSE(file(make_lying_box(24, "uuid", box_builder().zeros(15))).whole) << "an extended type cut off";
}

TEST(Scan, ReportsUnknownTopLevelBoxesAndStopsBehindTheMovie) {
    const auto ftyp = make_box("ftyp", box_builder().text("mp42").u32(0));
    const auto odd = make_box("odd!", box_builder().u32(0));
    log_capture log;
    {
        const auto uuid = make_box("uuid", box_builder().zeros(16));
        const file early(box_builder().add(ftyp).add(odd).add(make_box("moov")).add(uuid));
        EXPECT_TRUE(early.whole);
        EXPECT_THAT(early.offsets(), ElementsAre(0, 16, 28, 36));
    }
    EXPECT_THAT(log.messages(),
                ElementsAre(log_capture::message{2, L"Unknown top-level box odd!, continuing parsing."}));
    {
        const file late(box_builder().add(make_box("moov")).add(ftyp).add(odd).add(make_box("free")));
        EXPECT_TRUE(late.whole);
        EXPECT_THAT(late.offsets(), ElementsAre(0, 8)) << "neither the box nor what is behind it";
    }
    EXPECT_EQ(log.messages().size(), 2u);
    EXPECT_EQ(log.count(2, L"Unknown top-level box odd!, stop parsing."), 1u);
}

TEST(Scan, ABoxThatReportsNothingIsBelowTheTop) {
    log_capture log;
    file opened(make_box("moov", make_box("odd!")));
    EXPECT_NE(opened.parser.find_child(*opened.parser.boxes.at(0), false, 0, fourcc("odd!")), nullptr);
    EXPECT_TRUE(log.messages().empty());
}

TEST(Scan, MediaDataIsClampedAndOthersThrow) {
    SetLastError(ERROR_HANDLE_EOF);
    const file cut(make_lying_box(1000, "mdat", box_builder().zeros(10)));
    EXPECT_TRUE(cut.whole);
    EXPECT_EQ(cut.parser.boxes.at(0)->size, 1000u);
    EXPECT_TRUE(file(make_lying_large_box(~0ull, "mdat", box_builder().zeros(10))).whole);

    EXPECT_EQ(message_of(make_lying_box(1000, "free", box_builder().zeros(10))),
              "Attempting to read past current chunk 10 < 992");
    try {
        file too_long(make_lying_large_box(~0ull, "free"));
        FAIL() << "no exception";
    } catch (const core::exception& e) {
        EXPECT_EQ(e.result(), make_result(0x80070026));
        EXPECT_STREQ(e.what(), "Attempting to read past current chunk 0 < 18446744073709551599");
    }
}

TEST(Scan, SizeZeroIsTheScannedRangeLessEight) {
    const file first(make_lying_box(0, "mdat", box_builder().zeros(12).add(make_box("free"))));
    EXPECT_THAT(first.offsets(), ElementsAre(0, 20)) << "the last eight bytes are left out";
    const auto front = make_box("free");
    const file behind(box_builder().add(front).add(make_lying_box(0, "moov", box_builder().zeros(4))));
    EXPECT_EQ(behind.parser.boxes.at(8)->size, 12u) << "right at offset 8";
    const auto far = box_builder().add(make_box("free", box_builder().zeros(8)));
    EXPECT_NO_THROW(file(box_builder().add(far).add(make_lying_box(0, "mdat", box_builder().zeros(4)))));
    EXPECT_THROW(file(box_builder().add(far).add(make_lying_box(0, "moov", box_builder().zeros(4)))), core::exception)
        << "elsewhere it overshoots, which only media data may";
}

TEST(Scan, ABoxWithoutPayloadIsNotVisited) {
    const file opened(box_builder().add(make_box("mvhd")).add(make_lying_box(4, "trex")));
    EXPECT_TRUE(opened.whole);
    EXPECT_EQ(std::dynamic_pointer_cast<full_box>(opened.parser.boxes.at(0))->version, 0);
    EXPECT_THAT(opened.offsets(), ElementsAre(0, 8));
}

TEST(Scan, TheFirstObjectAtAnOffsetStays) {
    file opened(make_box("moov"));
    const auto first = opened.parser.boxes.at(0);
    opened.parser.parse();
    EXPECT_EQ(opened.parser.boxes.at(0), first);

    // A live file that grew is read again from where it ended.
    opened.stream.content = box_builder().add(make_box("moov")).add(make_box("free")).bytes();
    EXPECT_TRUE(opened.parser.scan(8, 8, true, true));
    EXPECT_THAT(opened.offsets(), ElementsAre(0, 8));
}

TEST(Scan, StartsCleanAfterAnException) {
    failing_stream stream(box_builder().add(make_box("moov")).add(make_lying_box(99, "free")).bytes());
    mp4_parser parser(stream);
    EXPECT_THROW(parser.parse(), core::exception);
    EXPECT_EQ(parser.boxes.size(), 2u);
    EXPECT_FALSE(parser.chunk_stack.empty());
    EXPECT_TRUE(parser.scan(0, 8, true, true));
    EXPECT_THAT(parser.chunk_stack, ElementsAre(0));
}

TEST(Scan, WithoutSeekingReadsOnAndLeavesItsChunkOpen) {
    failing_stream stream(box_builder().zeros(2).add(make_box("moov")).bytes());
    mp4_parser parser(stream);
    stream.position = 2;
    EXPECT_TRUE(parser.scan(500, 8, false, false));
    EXPECT_THAT(parser.chunk_stack, ElementsAre(0));
    EXPECT_TRUE(parser.boxes.contains(500)) << "offsets are the caller's";
}

TEST(Scan, NeverGoesBehindTheEndOfTheStream) {
    const auto built = make_box("moov");
    bytes block = built.bytes();
    memory_stream stream(block.data(), static_cast<std::uint32_t>(block.size()));
    mp4_parser parser(stream);
    EXPECT_FALSE(parser.scan(9, 100, true, true));
    EXPECT_TRUE(parser.scan(8, 0, true, true));
    EXPECT_FALSE(parser.scan(0, 1 << 20, true, true)) << "more claimed than there is";
    EXPECT_EQ(parser.boxes.size(), 1u);
}

TEST(Scan, ReadsNoMediaData) {
    const file opened(box_builder()
                          .add(make_box("mdat", box_builder().zeros(1 << 20)))
                          .add(make_large_box("mdat", box_builder().zeros(1 << 20)))
                          .add(make_box("moov", box_builder().zeros(1 << 20))));
    EXPECT_EQ(opened.offsets().size(), 3u);
    EXPECT_EQ(opened.stream.bytes_read, 32u);
    EXPECT_EQ(opened.stream.reads, 4u);
}

TEST(Scan, ReadsASmallLevelAtOnceAndLeavesTheStreamBehindIt) {
    const auto traf = make_box("traf", box_builder()
                                           .add(make_full_box("tfhd", 0, 0, box_builder().u32(1)))
                                           .add(make_full_box("trun", 0, 0x200, box_builder().words({2, 3, 4})))
                                           .add(make_full_box("trun", 0, 0x200, box_builder().words({2, 5, 6}))));
    file opened(box_builder().add(traf).add(make_box("mdat", box_builder().fill(2000, 7))));
    const std::uint64_t reads = opened.stream.reads;
    const auto run = opened.parser.find_child<track_run_box>(*opened.parser.boxes.at(0), 1);
    ASSERT_NE(run, nullptr);
    EXPECT_THAT(run->sample_size, ElementsAre(5, 6));
    EXPECT_EQ(opened.stream.reads - reads, 1u);
    EXPECT_EQ(opened.stream.position, traf.size());
    EXPECT_EQ(opened.parser.position(), traf.size());
}

TEST(Scan, ReadsTablesOfAllSizesWhereverTheReadAheadEnds) {
    for (std::uint32_t count = 0; count < 600; count += 7) {
        box_builder entries;
        for (std::uint32_t i = 0; i < count; ++i) entries.u32(i);
        const auto table = make_full_box("stss", 0, 0, box_builder().u32(count).add(entries));
        const auto front = make_box("free", box_builder().zeros(count));
        file opened(make_box("moov", box_builder().add(front).add(table).add(table)));
        for (const std::uint32_t index : {1u, 0u}) {
            const auto found = opened.parser.find_child<sync_sample_box>(*opened.parser.boxes.at(0), index);
            ASSERT_NE(found, nullptr);
            ASSERT_EQ(found->sample_numbers.size(), count);
            for (std::uint32_t i = 0; i < count; ++i) ASSERT_EQ(found->sample_numbers[i], i);
        }
    }
}

TEST(Scan, ReadsWhatIsThereOfARangeThatIsCutOff) {
    const auto whole = box_builder().add(make_full_box("mfhd", 0, 0, box_builder().u32(9))).add(make_box("free"));
    bytes block = whole.bytes();
    memory_stream stream(block.data(), static_cast<std::uint32_t>(block.size()));
    mp4_parser parser(stream);
    EXPECT_FALSE(parser.scan(0, 500, true, false));
    EXPECT_EQ(parser.boxes.size(), 2u);
    EXPECT_EQ(std::dynamic_pointer_cast<movie_fragment_header_box>(parser.boxes.at(0))->sequence_number, 9u);
}

TEST(Scan, BoundsNesting) {
    // A data reference within a data reference, over and over: the one visit that scans at file level.
    box_builder inner;
    for (int depth = 0; depth < 20; ++depth) inner = make_full_box("dref", 0, 0, box_builder().u32(0).add(inner));
    EXPECT_NO_THROW(file{inner});

    box_builder deep;
    constexpr std::uint32_t levels = 200'000;
    for (std::uint32_t level = 0; level < levels; ++level) deep.u32(16 * (levels - level)).text("dref").u64(0);
    EXPECT_EQ(message_of(deep), "Chunks are nested too deeply");
}

TEST(Scan, AllocatesNothingForSizesThatTheFileDoesNotHave) {
    // The range scanned claims a terabyte; the table inside asks for four billion entries of it.
    failing_stream stream(
        make_lying_large_box(1ull << 40, "stss", box_builder().words({0, 0xFFFFFFFF}).zeros(100)).bytes());
    mp4_parser parser(stream);
    EXPECT_THROW(parser.scan(0, 1ull << 41, true, false), core::exception);
    EXPECT_LT(std::dynamic_pointer_cast<sync_sample_box>(parser.boxes.at(0))->sample_numbers.capacity(), 100u);
}

TEST(FindBox, WalksTheSiblingsByTheirSizes) {
    const auto trak = [](std::uint8_t content) { return make_box("trak", box_builder().fill(content, 0)); };
    const auto odd = make_box("free", box_builder().zeros(1));
    file opened(make_box("moov", box_builder().add(trak(0)).add(odd).add(trak(2)).add(make_box("udta"))));
    const auto moov = opened.parser.boxes.at(0);
    EXPECT_EQ(opened.parser.find_child(*moov, false, 0, fourcc("trak"))->offset, 8u);
    EXPECT_EQ(opened.parser.find_child(*moov, false, 1, fourcc("trak"))->offset, 25u);
    EXPECT_EQ(opened.parser.find_child(*moov, false, 2, fourcc("trak")), nullptr);
    EXPECT_EQ(opened.parser.find_child<media_box>(*moov, false, 1, fourcc("trak")), nullptr) << "another class";

    std::uint64_t offset = 8;
    const auto free = opened.parser.find_box(fourcc("free"), 0, offset, moov->size - 8, false);
    ASSERT_NE(free, nullptr);
    EXPECT_EQ(offset, 16u) << "a caller may go on from there";

    const std::uint64_t reads = opened.stream.reads;
    EXPECT_NE(opened.parser.find_child(*moov, false, 0, fourcc("udta")), nullptr);
    EXPECT_EQ(opened.stream.reads, reads) << "a second lookup does not touch the stream";
}

TEST(FindBox, GivesNothingWhereThereIsNothing) {
    file opened(box_builder().add(make_box("moov")).add(make_box("trak")));
    const auto moov = opened.parser.boxes.at(0);
    EXPECT_EQ(opened.parser.find_child(*moov, false, 0, fourcc("trak")), nullptr)
        << "the next sibling of an empty container is not its child";
    std::uint64_t offset = 16;
    EXPECT_EQ(opened.parser.find_box(fourcc("free"), 0, offset, 0, true), nullptr);
    offset = 1000;
    EXPECT_EQ(opened.parser.find_box(fourcc("free"), 0, offset, 100, true), nullptr);
    box shorter(fourcc("moov"));
    shorter.size = 4;
    EXPECT_EQ(opened.parser.find_child(shorter, false, 0, fourcc("trak")), nullptr);
}

TEST(FindBox, EndsAtSizesThatWouldStayOrWrap) {
    file zero(make_lying_large_box(0, "free"));
    std::uint64_t offset = 0;
    EXPECT_EQ(zero.parser.find_box(fourcc("moov"), 0, offset, 100, true), nullptr);
    file beyond(box_builder().add(make_lying_box(0xFFFFFFFF, "mdat")));
    offset = 0;
    EXPECT_EQ(beyond.parser.find_box(fourcc("moov"), 0, offset, 8, true), nullptr);
}

TEST(FindBox, GivesNothingWhenTheScanBreaksOff) {
    file opened(make_box("moov", box_builder().add(make_box("trak")).zeros(6)));
    const auto moov = opened.parser.boxes.at(0);
    EXPECT_EQ(opened.parser.find_child(*moov, false, 0, fourcc("trak")), nullptr);
    EXPECT_NE(opened.parser.find_child(*moov, false, 0, fourcc("trak")), nullptr) << "what was read stays";
}

}  // namespace
}  // namespace vio::mp4
