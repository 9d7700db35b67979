#include "Tools/mediakit/container_facts.h"

#include "Testing/Kit/box_builder.h"
#include "Tools/mediakit/file_byte_stream.h"
#include "Tools/mediakit/test_file_test.h"

#include <gtest/gtest.h>

namespace mediakit_tool {
namespace {

using namespace mediakit_test;
using Strings = std::vector<std::string>;

ContainerFacts Read(const box_builder& file) {
    const TestFile onDisk(file.bytes());
    FileByteStream stream;
    EXPECT_EQ(stream.Open(onDisk.Path()), NO_ERROR);
    EXPECT_EQ(stream.size(), file.size());
    return ReadContainerFacts(stream);
}

box_builder MovieHeader(std::uint32_t created, std::uint32_t timescale, std::uint32_t duration) {
    return make_full_box("mvhd", 0, 0, box_builder().words({created, 0, timescale, duration}));
}

TEST(ContainerFacts, AreThoseOfTheFirstBoxesOfTheirKind) {
    const box_builder ftyp = make_box("ftyp", box_builder().text("isom").u32(512).text("isommp41").u8(0));
    const box_builder moov = make_box("moov", MovieHeader(3'797'398'800, 600, 900));
    const ContainerFacts plain = Read(box_builder().add(ftyp).add(moov).add(make_box("mdat")).add(make_box("moov")));
    EXPECT_EQ(plain.majorBrand, "isom");
    EXPECT_EQ(plain.minorVersion, 512u);
    EXPECT_EQ(plain.compatibleBrands, (Strings{"isom", "mp41"}));
    EXPECT_FALSE(plain.fragmented);
    EXPECT_EQ(plain.Order(), "moov, mdat");
    EXPECT_EQ(plain.CreationText(), "2024-05-01T09:00:00Z");
    EXPECT_EQ(plain.duration, 15'000'000);

    const box_builder inLongForm = make_full_box("mvhd", 1, 0, box_builder().u64(1).u64(0).u32(1000).u64(2500));
    const ContainerFacts fragmented =
        Read(box_builder()
                 .add(make_box("mdat"))
                 .add(make_box("moov", box_builder().add(make_box("mvex")).add(inLongForm)))
                 .add(make_box("moof", make_box("mvex")))
                 .add(make_box("moof")));
    EXPECT_TRUE(fragmented.fragmented);
    EXPECT_EQ(fragmented.fragments, 2u);
    EXPECT_EQ(fragmented.Order(), "mdat, moov");
    EXPECT_EQ(fragmented.majorBrand, "");
    EXPECT_EQ(fragmented.CreationText(), "1904-01-01T00:00:01Z");
    EXPECT_EQ(fragmented.duration, 25'000'000);
}

TEST(ContainerFacts, TellEachTrackByWhatIsThereOfIt) {
    const auto handler = [](const char* type) { return make_full_box("hdlr", 0, 0, box_builder().u32(0).text(type)); };
    const auto track = [&](const box_builder& tkhd, const box_builder& stsd) {
        const box_builder minf = make_box("minf", box_builder().add(handler("url ")).add(make_box("stbl", stsd)));
        return make_box("trak",
                        box_builder().add(tkhd).add(make_box("mdia", box_builder().add(handler("vide")).add(minf))));
    };
    const box_builder entries = make_full_box("stsd", 0, 0, box_builder().u32(1).u32(9999).text("vp09"));
    const box_builder moov =
        make_box("moov", box_builder()
                             .add(track(make_full_box("tkhd", 0, 0, box_builder().words({1, 2, 7})), entries))
                             .add(track(make_full_box("tkhd", 1, 0, box_builder().u64(1).u64(2).u32(8)),
                                        make_full_box("stsd", 0, 0, box_builder().u32(0))))
                             .add(make_box("trak")));
    std::string told;
    for (const FileTrack& one : Read(box_builder().add(moov).add(moov)).tracks) told += one.ToText() + "; ";
    EXPECT_EQ(told, "track 7 (vp09); track 8 (vide); track 0; ");
}

TEST(ContainerFacts, KeepQuietAboutWhatCannotBe) {
    EXPECT_EQ(Read(box_builder().text("no boxes at all")).Order(), "");
    EXPECT_EQ(Read(make_box("ftyp", box_builder().text("is"))).compatibleBrands, Strings{});
    EXPECT_EQ(Read(make_box("moov", MovieHeader(0, 0, 0))).duration, std::nullopt);
    EXPECT_EQ(Read(make_box("moov", MovieHeader(0, 0, 7))).duration, std::nullopt);
    EXPECT_EQ(Read(make_box("moov", MovieHeader(0, 1, 7))).CreationText(), "");
    const box_builder farAway = make_full_box("mvhd", 1, 0, box_builder().u64(~0ull).u64(0).u32(1).u64(~0ull));
    EXPECT_EQ(Read(make_box("moov", farAway)).duration, std::nullopt);
    EXPECT_EQ(Read(make_box("moov", farAway)).CreationText(), "");
    EXPECT_EQ(Read(make_box("moov", make_full_box("mvhd", 0, 0, box_builder().u16(1)))).duration, std::nullopt);
}

}  // namespace
}  // namespace mediakit_tool
