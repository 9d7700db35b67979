// The box tree as text and JSON: of whole files, and of what is broken in them.
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/movie_file.h"
#include "Tools/mediakit/box_values.h"
#include "Tools/mediakit/box_writers.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdio>

namespace mediakit_tool {
namespace {

using mediakit_test::box_builder;
using mediakit_test::make_box;
using mediakit_test::make_full_box;
using mediakit_test::make_large_box;
using mediakit_test::make_lying_box;
using mediakit_test::make_lying_large_box;
using Bytes = std::vector<std::uint8_t>;

/// A file that fails the test when bytes of a range are read.
class GuardedBytes final : public vio::byte_stream_impl<GuardedBytes, vio::byte_stream> {
public:
    GuardedBytes(const Bytes& bytes, std::size_t begin, std::size_t end) : m_bytes(bytes), m_begin(begin), m_end(end) {}

    std::uint64_t size() override { return m_bytes.size(); }
    std::uint64_t tell() override { return m_at; }
    bool skip(std::int64_t delta) override { return m_at += static_cast<std::uint64_t>(delta), true; }
    bool seek(std::uint64_t position) override { return m_at = position, true; }
    bool read(void* buffer, std::uint32_t count) override {
        if (m_at > size() || count > size() - m_at) return false;
        EXPECT_FALSE(m_at < m_end && m_at + count > m_begin) << "read " << count << " bytes at " << m_at;
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at), count, static_cast<std::uint8_t*>(buffer));
        m_at += count;
        return true;
    }
    bool write(const void*, std::uint32_t) override { return false; }
    bool write_zeros(std::uint32_t) override { return false; }
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    const Bytes& m_bytes;
    const std::size_t m_begin, m_end;
    std::uint64_t m_at = 0;
};

template <class Write>
std::string Printed(Write write) {
    std::FILE* const out = std::tmpfile();
    write(out);
    std::string text(static_cast<std::size_t>(std::ftell(out)), '\0');
    std::rewind(out);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), out), text.size());
    std::fclose(out);
    return text;
}

std::string TextOf(vio::byte_stream& file, int levels = BoxWalk::kDeepest) {
    return Printed([&](std::FILE* out) {
        BoxTextWriter writer(file, out);
        BoxWalk(file, writer, levels).Run();
    });
}

nlohmann::json JsonOf(vio::byte_stream& file) {
    return nlohmann::json::parse(Printed([&](std::FILE* out) {
        BoxJsonWriter writer(file, out);
        writer.Begin("file", file.size());
        BoxWalk(file, writer).Run();
        writer.End();
    }));
}

std::string TextOf(const Bytes& bytes, int levels = BoxWalk::kDeepest) {
    GuardedBytes file(bytes, 0, 0);
    return TextOf(file, levels);
}

nlohmann::json JsonOf(const Bytes& bytes) {
    GuardedBytes file(bytes, 0, 0);
    return JsonOf(file);
}

mediakit_test::movie_file Movie() {
    using mediakit_test::movie_track;
    movie_track video;
    video.timescale = 600;
    video.samples = {{Bytes(10), 20, 40}, {Bytes(11), 20, -20, false}, {Bytes(12), 20, 0, false}};
    video.edits = {{500, -1}, {100, 20}};
    video.matrix = {0, 0x10000, 0, 0xFFFF0000, 0, 0, 0, 0, 0x40000000};
    movie_track sound;
    sound.handler = "soun";
    sound.entry = mediakit_test::aac_entry();
    sound.samples.assign(40, {Bytes(7), 1024});
    return {.tracks = {video, sound}};
}

TEST(BoxTree, TellsTheFieldsOfAFile) {
    const auto built = Movie().build();
    const std::string text = TextOf(built.bytes);
    for (const char* part :
         {"ftyp  offset 0, size ", "    major_brand: ", "  mvhd  offset ", "      timescale: 1000\n",
          "        matrix (9): 0 1 0 -1 0 0 0 0 1\n        turn: rotated by 90 degrees\n",
          "entries (2): segment_duration, media_time, media_rate\n            500  -1  1\n            100  20  1\n",
          "          timescale: 600\n          duration: 60 (0:00.100)\n", "          handler_type: vide\n",
          "              entry_count: 1\n            avc1  offset ", "                  profile: ",
          "entries (1): sample_count, sample_delta\n                3  20\n", "                1  -20\n",
          "              entry_sizes (3): 10 11 12\n", "              sample_numbers (1): 1\n",
          "            mp4a  offset ", "                samplerate: 48000\n", "object_type: 64 (MPEG-4 AAC)\n",
          "              entry_sizes (40): 7 7 7 7 7 7 7 7 7 7 7 7 7 7 7 7 ...\n", "\nmdat  offset "})
        EXPECT_THAT(text, testing::HasSubstr(part));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("!")));
    const std::string upper = TextOf(built.bytes, 2);
    EXPECT_THAT(upper, testing::AllOf(testing::HasSubstr("mvhd"), testing::Not(testing::HasSubstr("tkhd"))));

    const nlohmann::json json = JsonOf(built.bytes);
    EXPECT_EQ(json["problems"], 0);
    const nlohmann::json& stbl = json["boxes"][1]["boxes"][2]["boxes"][1]["boxes"][2]["boxes"].back();
    ASSERT_EQ(stbl["type"], "stbl");
    for (const auto& table : stbl["boxes"]) {
        if (table["type"] != "stsz") continue;
        EXPECT_EQ(table["fields"]["entry_sizes"]["rows"].size(), 40u);
        EXPECT_EQ(table["fields"]["sample_count"], 40);
    }
}

TEST(BoxTree, ReadsNoSampleData) {
    const auto built = Movie().build();
    const std::size_t begin = built.positions[0][0];
    GuardedBytes file(built.bytes, begin, built.bytes.size());
    EXPECT_THAT(TextOf(file), testing::HasSubstr("mdat"));
}

struct Case {
    box_builder bytes;
    std::string text;
    int problems;
};

TEST(BoxTree, ShowsWhatIsUnknownOrBrokenAndGoesOn) {
    const box_builder next = make_box("zzzz", box_builder().u16(0xABCD));
    const std::string after = "zzzz  offset 40, size 10\n    first_bytes (2): ab cd\n";
    const auto in_udta = [&](const box_builder& inside) {
        return make_box("udta", box_builder().add(inside).zeros(32 - inside.size())).add(next);
    };
    box_builder deep = make_box("moov");
    for (int i = 0; i < 70; ++i) deep = make_box("moov", deep);
    const Case cases[] = {
        // Sizes that cannot be end their level, not the file.
        {in_udta(make_lying_box(7, "abcd", box_builder().u32(1))),
         "udta  offset 0, size 40\n  ! 32 bytes at offset 8: abcd: its size of 7 bytes is less than its header\n" +
             after,
         1},
        {in_udta(make_lying_box(0x7FFFFFFF, "abcd")),
         "udta  offset 0, size 40\n  abcd  offset 8, size 2147483647\n      ! ends 2147483615 bytes behind udta\n"
         "      first_bytes (24): 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...\n" +
             after,
         1},
        {in_udta(make_lying_large_box(15, "abcd")),
         "udta  offset 0, size 40\n  ! 32 bytes at offset 8: abcd: its size of 15 bytes is less than its header\n" +
             after,
         1},
        {in_udta(make_lying_large_box(0xFFFFFFFFFFFFFFFF, "abcd")),
         "udta  offset 0, size 40\n  abcd  offset 8, size 18446744073709551615\n"
         "      ! ends 18446744073709551583 bytes behind udta\n"
         "      first_bytes (16): 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n" +
             after,
         1},
        {in_udta(make_lying_box(0, "free")),
         "udta  offset 0, size 40\n  free  offset 8, size 32\n"
         "      ! has size 0, which only the last box of a file may have\n" +
             after,
         1},
        {make_box("udta", make_box("free", box_builder().zeros(16)).add(make_lying_box(24, "uuid"))).add(next),
         "udta  offset 0, size 40\n  free  offset 8, size 24\n  ! 8 bytes at offset 32: uuid: the header is cut off\n" +
             after,
         1},
        // The end of a list in QuickTime files, and what is too short for a box.
        {in_udta({}), "udta  offset 0, size 40\n  (32 bytes at offset 8)\n" + after, 0},
        {make_box("udta", make_box("free", box_builder().zeros(20)).u32(0)).add(next),
         "udta  offset 0, size 40\n  free  offset 8, size 28\n  (4 bytes at offset 36)\n" + after, 0},
        {make_box("udta", make_box("free", box_builder().zeros(20)).u32(7)).add(next),
         "udta  offset 0, size 40\n  free  offset 8, size 28\n  ! 4 bytes at offset 36: are too few for a box\n" +
             after,
         1},
        // Fields that are not there.
        {make_full_box("stts", 0, 0, box_builder().words({1000, 1, 2, 3, 4, 5, 6})).add(next),
         "stts  offset 0, size 40\n    ! its fields cannot be read: it is too short for them, or of an unknown "
         "version\n"
         "    first_bytes (32): 00 00 00 00 00 00 03 e8 00 00 00 01 00 00 00 02 ...\n" +
             after,
         1},
        {make_full_box("mvhd", 9, 0, box_builder().zeros(28)).add(next),
         "mvhd  offset 0, size 40\n    ! its fields cannot be read: it is too short for them, or of an unknown "
         "version\n"
         "    first_bytes (32): 09 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...\n" +
             after,
         1},
        {make_full_box("sbgp", 0, 0, box_builder().text("roll").words({2, 5, 1, 6, 0x10001, 0})).add(next),
         "sbgp  offset 0, size 40\n    version: 0\n    flags: 0\n    grouping_type: roll\n"
         "    entries (2): sample_count, group_description_index\n      5  1\n      6  65537\n" +
             after,
         0},
        {make_box("schm", box_builder().u32(0).text("cenc").zeros(24)).add(next),
         "schm  offset 0, size 40\n    version: 0\n    flags: 0\n    scheme_type: cenc\n    scheme_version: 0\n"
         "    scheme_uri: \n" +
             after,
         0},
        {make_box("stsd", box_builder().words({0, 1}).add(make_box("mp4a", box_builder().words({0, 0, 7 << 16, 0}))))
             .add(next),
         "stsd  offset 0, size 40\n    version: 0\n    flags: 0\n    entry_count: 1\n  mp4a  offset 16, size 24\n"
         "      ! is of version 7, which is not known\n"
         "      ! its fields cannot be read: it is too short for them, or of an unknown version\n"
         "      first_bytes (16): 00 00 00 00 00 00 00 00 00 07 00 00 00 00 00 00\n" +
             after,
         2},
        // Names are shown, whatever they are.
        {make_box("\x01"
                  "a\xFF"
                  "b"),
         "\\x01a\\xFFb  offset 0, size 8\n", 0},
        {make_box("\xA9"
                  "too",
                  box_builder().u16(2).u16(0x15C7).text("hi")),
         "\u00A9too  offset 0, size 14\n    text_size: 2\n    language: eng\n    text: hi\n", 0},
        {make_box("ilst", make_box("any ", make_box("data", box_builder().words({1, 0}).text("x\ny")))),
         "ilst  offset 0, size 35\n  any   offset 8, size 27\n    data  offset 16, size 19\n        value_type: 1\n"
         "        locale: 0\n        value: x.y\n",
         0},
        {make_box("meta", make_box("hdlr")), "meta  offset 0, size 16\n  hdlr  offset 8, size 8\n", 0},
        {make_large_box("uuid", box_builder().fill(16, 0xAB).u8(1)),
         "uuid  offset 0, size 33, extended type ab ab ab ab ab ab ab ab ab ab ab ab ab ab ab ab\n"
         "    first_bytes (1): 01\n",
         0},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(TextOf(one.bytes.bytes()), one.text);
        EXPECT_EQ(JsonOf(one.bytes.bytes())["problems"], one.problems) << one.text;
    }
    const std::string text = TextOf(deep.bytes());
    EXPECT_THAT(text, testing::EndsWith("! boxes nested this deep are not looked at\n"));
    EXPECT_EQ(std::ranges::count(text, '\n'), BoxWalk::kDeepest + 1);
    EXPECT_EQ(JsonOf(deep.bytes())["problems"], 1);
}

// `tmcd` is a reference in `tref` and holds boxes in `gmhd`; the fields of `colr` follow from its first.
TEST(BoxTree, TheMeaningOfABoxFollowsFromItsPlaceAndItsFirstField) {
    const auto colr = [](const char* type, const box_builder& rest) {
        return make_box("colr", box_builder().text(type).add(rest));
    };
    const box_builder primaries = box_builder().u16(1).u16(2).u16(3);
    const box_builder references =
        box_builder().add(make_box("tmcd", box_builder().u32(9))).add(make_box("font", box_builder().u32(8)));
    const box_builder tcmi = make_full_box("tcmi", 0, 0, box_builder().u16(4).u16(5).u16(6));
    const auto boxes = JsonOf(box_builder()
                                  .add(make_box("tref", references))
                                  .add(make_box("gmhd", make_box("tmcd", tcmi)))
                                  .add(colr("nclc", primaries))
                                  .add(colr("nclx", box_builder().add(primaries).u8(0x80)))
                                  .add(colr("prof", box_builder().u8(0xAB)))
                                  .add(make_box("chap", box_builder().u32(7)))
                                  .bytes())["boxes"];
    EXPECT_EQ(boxes[0]["boxes"][0]["fields"]["track_IDs"]["rows"][0], 9);
    EXPECT_EQ(boxes[0]["boxes"][1]["fields"]["track_IDs"]["rows"][0], 8);
    EXPECT_EQ(boxes[1]["boxes"][0]["boxes"][0]["fields"]["text_size"], 6);
    EXPECT_EQ(boxes[2]["fields"]["matrix_coefficients"], 3);
    EXPECT_FALSE(boxes[2]["fields"].contains("full_range_flag"));
    EXPECT_EQ(boxes[3]["fields"]["full_range_flag"], 1);
    EXPECT_EQ(boxes[4]["fields"]["colour_type"], "prof");
    EXPECT_TRUE(boxes[4]["fields"].contains("profile"));
    EXPECT_FALSE(boxes[5]["fields"].contains("track_IDs")) << "no reference";
}

TEST(BoxTree, AnyCutOfAFileIsShown) {
    Bytes bytes = Movie().bytes();
    mediakit_test::log_capture log(1);
    while (bytes.size() > 16) {
        bytes.resize(bytes.size() - 7);
        EXPECT_FALSE(TextOf(bytes).empty());
        EXPECT_TRUE(JsonOf(bytes).is_object());
    }
}

TEST(BoxValues, ReadAsPeopleDo) {
    EXPECT_EQ(CreationTimeText(0), "");
    EXPECT_EQ(CreationTimeText(1), "1904-01-01T00:00:01Z");
    EXPECT_EQ(CreationTimeText(3'797'500'799), "2024-05-02T13:19:59Z");
    EXPECT_EQ(CreationTimeText(~std::uint64_t{0}), "");
    EXPECT_EQ(TicksText(90'001, 90'000), "0:01.000");
    EXPECT_EQ(TicksText(~std::uint64_t{0}, 1), "");
    EXPECT_EQ(TicksText(1, 0), "");
    EXPECT_EQ(LanguageText(0x55C4), "und");
    EXPECT_EQ(LanguageText(0), "0x0000");
    EXPECT_EQ(MatrixText(std::vector<std::uint32_t>{0x8000, 0, 0, 0, 0x8000, 0, 0, 0, 0x40000000}), "other");
    EXPECT_EQ(Fixed8(0xFF80), -0.5);
    EXPECT_EQ(Fixed16(0xFFFF8000), -0.5);
}

}  // namespace
}  // namespace mediakit_tool
