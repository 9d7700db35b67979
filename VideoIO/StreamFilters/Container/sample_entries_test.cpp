#include "VideoIO/StreamFilters/Container/sample_entries.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Container/box_test.h"
#include "VideoIO/StreamFilters/Container/mp4_sampleentry_parser.h"

#include <gmock/gmock.h>

namespace vio::mp4 {
namespace {

using mediakit_test::log_capture;
using testing::ElementsAre;

/// The fixed fields of a visual entry of 640 x 480, in their order.
box_builder visual_fields(const box_builder& name = box_builder().zeros(32)) {
    return box_builder()
        .zeros(6)
        .u16(1)
        .zeros(16)
        .u16(640)
        .u16(480)
        .u32(72 << 16)
        .u32(72 << 16)
        .u32(0)
        .u16(1)
        .add(name)
        .u16(0x18)
        .u16(0xFFFF);
}

/// The fixed fields of an audio entry, 2 x 16 bits at 48 kHz.
box_builder audio_fields(std::uint16_t version) {
    return box_builder().zeros(6).u16(1).u16(version).u16(2).text("vend").u16(2).u16(16).u32(0).u32(48000u << 16);
}

/// A file of one stsd.
struct description {
    explicit description(const std::vector<box_builder>& entries, std::uint32_t count)
        : stream(make_full_box("stsd", 0, 0, join(entries, count)).bytes()), parser(stream) {
        parser.parse();
        stsd = std::dynamic_pointer_cast<sample_description_box>(parser.boxes.at(0));
    }
    explicit description(const box_builder& entry) : description(std::vector{entry}, 1) {}

    static box_builder join(const std::vector<box_builder>& entries, std::uint32_t count) {
        box_builder all;
        all.u32(count);
        for (const auto& entry : entries) all.add(entry);
        return all;
    }
    template <class T>
    std::shared_ptr<T> entry() {
        return std::dynamic_pointer_cast<T>(stsd->entries.at(0));
    }

    failing_stream stream;
    mp4_parser parser;
    std::shared_ptr<sample_description_box> stsd;
};

template <class Entry>
Entry visual(std::string name) {
    Entry entry;
    entry.data_reference_index = 1;
    entry.width = 640;
    entry.height = 480;
    entry.horizresolution = entry.vertresolution = 72 << 16;
    entry.frame_count = 1;
    entry.compressorname = std::move(name);
    entry.depth = 0x18;
    return entry;
}

TEST(VisualEntry, IsLaidOutWithItsNamePaddedTo32Bytes) {
    EXPECT_EQ(visual_fields().size(), 78u);
    EXPECT_EQ(written(visual<avc_sample_entry>("")), make_box("avc1", visual_fields()).bytes());
    EXPECT_EQ(written(visual<hevc_sample_entry>("HEVC")),
              make_box("hvc1", visual_fields(box_builder().u8(4).text("HEVC").zeros(27))).bytes());
    const std::string longest(31, 'n');
    EXPECT_EQ(written(visual<mp4_visual_sample_entry>(longest)),
              make_box("mp4v", visual_fields(box_builder().u8(31).text(longest))).bytes());
    EXPECT_THROW(written(visual<avc2_sample_entry>(longest + "n")), core::exception);
}

TEST(VisualEntry, IsReadWithItsChildren) {
    description read(make_box("avc3", visual_fields().add(make_box("avcC", box_builder().u8(1).u8(0x64)))));
    const auto entry = read.entry<avc_sample_entry>();
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->type, fourcc("avc3")) << "the code of the file, not of the class";
    EXPECT_EQ(entry->data_reference_index, 1);
    EXPECT_EQ(entry->width, 640);
    EXPECT_EQ(entry->height, 480);
    EXPECT_EQ(entry->horizresolution, 72u << 16);
    EXPECT_EQ(entry->frame_count, 1);
    EXPECT_EQ(entry->depth, 0x18);
    EXPECT_EQ(entry->header_size, 86u);
    const auto config = read.parser.find_child<avc_configuration_box>(*entry);
    ASSERT_NE(config, nullptr) << "lookups inside an entry work through the parser of the file";
    EXPECT_THAT(config->record, ElementsAre(1, 0x64));
}

TEST(HevcEntry, KeepsItsConfigurationIfThereIsOne) {
    description with(make_box(
        "hev1",
        visual_fields().add(make_box("pasp", box_builder().u32(4).u32(3))).add(make_box("hvcC", box_builder().u8(1)))));
    ASSERT_NE(with.entry<hevc_sample_entry>(), nullptr);
    ASSERT_NE(with.entry<hevc_sample_entry>()->configuration, nullptr);
    EXPECT_THAT(with.entry<hevc_sample_entry>()->configuration->record, ElementsAre(1));

    description without({make_box("hvc1", visual_fields()), make_box("hvc1", visual_fields().zeros(3))}, 2);
    ASSERT_EQ(without.stsd->entries.size(), 2u);
    EXPECT_EQ(without.entry<hevc_sample_entry>()->configuration, nullptr);
}

TEST(AudioEntry, WritesTheOutValuesAndReadsIntoTheOthers) {
    mp4_audio_sample_entry entry;
    entry.data_reference_index = 1;
    entry.revision_level = 2;
    entry.vendor = fourcc("vend");
    entry.channelcount = entry.samplesize = 99;
    entry.samplerate = 99;
    entry.out_channelcount = 2;
    entry.out_samplesize = 16;
    entry.out_samplerate = 48000u << 16;
    EXPECT_EQ(written(entry), make_box("mp4a", audio_fields(0)).bytes());
    entry.version = 1;
    EXPECT_THROW(written(entry), core::exception);

    description read(make_box("mp4a", audio_fields(0)));
    const auto audio = read.entry<mp4_audio_sample_entry>();
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->channelcount, 2);
    EXPECT_EQ(audio->samplesize, 16);
    EXPECT_EQ(audio->samplerate, 48000u << 16);
    EXPECT_EQ(audio->vendor, fourcc("vend"));
    EXPECT_EQ(audio->revision_level, 2);
    EXPECT_EQ(audio->out_channelcount, 0);
    EXPECT_EQ(audio->out_samplerate, 0u);
    EXPECT_EQ(audio->header_size, 36u);
}

TEST(AudioEntry, ChildrenStandBehindTheFieldsOfItsVersion) {
    const auto esds = make_full_box("esds", 0, 0, box_builder().u8(3).u8(0));
    const struct {
        std::uint16_t version;
        std::size_t extra;
        std::uint32_t header_size;
    } versions[] = {{0, 0, 36}, {1, 16, 52}, {2, 36, 72}};
    for (const auto& v : versions) {
        description read(make_box("mp4a", audio_fields(v.version).fill(v.extra, 0xEE).add(esds)));
        const auto entry = read.entry<mp4_audio_sample_entry>();
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->version, v.version);
        EXPECT_EQ(entry->header_size, v.header_size);
        const auto child = read.parser.find_child<esd_box>(*entry);
        ASSERT_NE(child, nullptr) << v.version;
        EXPECT_THAT(child->data, ElementsAre(3, 0));
    }
    EXPECT_THROW(description(make_box("mp4a", audio_fields(2).zeros(35))), core::exception);
}

TEST(AudioEntry, OtherVersionsThrowAPlainException) {
    try {
        description(make_box("sowt", audio_fields(3).zeros(100)));
        FAIL() << "no exception";
    } catch (const core::exception&) {
        FAIL() << "callers tell this one from the container's own";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "not impl");
    }
}

TEST(AudioEntry, LogsAnUnknownChildAndFindsWhatIsInIt) {
    log_capture log;
    const auto wave = make_box("wave", box_builder()
                                           .add(make_box("frma", box_builder().text("mp4a")))
                                           .add(make_full_box("esds", 0, 0, box_builder().u8(3).u8(1).u8(9))));
    description read(make_box("mp4a", audio_fields(1).zeros(16).add(wave)));
    EXPECT_EQ(log.count(2, L"Unknown top-level box wave, continuing parsing."), 1u);
    const auto found = read.parser.find_child(*read.entry<audio_sample_entry>(), false, 0, fourcc("wave"));
    ASSERT_NE(found, nullptr);
    const auto esds = read.parser.find_child<esd_box>(*found);
    ASSERT_NE(esds, nullptr);
    EXPECT_THAT(esds->data, ElementsAre(3, 1, 9));
}

TEST(SampleDescription, LeavesOutUnknownEntriesAndEndsWithTheBoxes) {
    log_capture log;
    const auto known = make_box("avc1", visual_fields());
    const auto unknown = make_box("xxxx", box_builder().zeros(20));
    description middle({known, unknown, known}, 3);
    EXPECT_EQ(middle.stsd->entries.size(), 2u);
    ASSERT_TRUE(middle.parser.boxes.contains(16 + 86));
    EXPECT_EQ(middle.parser.boxes.at(16 + 86)->type, fourcc("xxxx"));
    EXPECT_EQ(log.count(2, L"Unknown top-level box xxxx, continuing parsing."), 1u);

    description fewer({known, unknown}, 1);
    EXPECT_EQ(fewer.stsd->entries.size(), 1u) << "the count is the boxes looked at";
    description unknown_only({unknown}, 1);
    EXPECT_TRUE(unknown_only.stsd->entries.empty());
    description more({known}, 0xFFFFFFFF);
    EXPECT_EQ(more.stsd->entries.size(), 1u);
    description none({}, 4);
    EXPECT_TRUE(none.stsd->entries.empty());
}

TEST(SampleDescription, AnEntryOfNoSizeIsNotCountedForEver) {
    description read({mediakit_test::make_lying_large_box(0, "avc1")}, 0xFFFFFFFF);
    EXPECT_EQ(read.stsd->entries.size(), 1u);
}

TEST(SampleDescription, AnEntryThatWrapsIsNotCountedForEver) {
    // Media data may claim any size; this one leads back to the first entry.
    const auto entry = make_box("avc1", visual_fields());
    description read({entry, mediakit_test::make_lying_large_box(0 - std::uint64_t{entry.size()}, "mdat")}, 0xFFFFFFFF);
    EXPECT_EQ(read.stsd->entries.size(), 1u);
}

TEST(SampleDescription, SiblingsBehindItAreRead) {
    const auto stsd = make_full_box("stsd", 0, 0, box_builder().u32(1).add(make_box("avc1", visual_fields())));
    failing_stream stream(box_builder().add(stsd).add(make_box("free", box_builder().u32(0))).bytes());
    mp4_parser parser(stream);
    EXPECT_TRUE(parser.parse());
    EXPECT_TRUE(parser.boxes.contains(stsd.size()));
}

TEST(SampleDescription, WritesItsCountAndHeader) {
    sample_description_box box;
    box.entries.push_back(std::make_shared<avc_sample_entry>());
    EXPECT_EQ(written(box), make_full_box("stsd", 0, 0, box_builder().u32(1)).bytes());
}

TEST(SampleDescription, Mp4sKeepsItsHeaderOnly) {
    description read(make_box("mp4s", box_builder().zeros(6).u16(1)));
    ASSERT_NE(read.entry<mpeg_sample_entry>(), nullptr);
    EXPECT_EQ(read.entry<mpeg_sample_entry>()->data_reference_index, 0);
    EXPECT_EQ(read.entry<mpeg_sample_entry>()->header_size, 8u);
}

TEST(EntryChildren, AreReadInFieldOrder) {
    const auto read = [](const box_builder& built) { return parsed<box, mp4_sampleentry_parser>(built); };
    const auto btrt = std::dynamic_pointer_cast<bit_rate_box>(read(make_box("btrt", box_builder().words({1, 2, 3}))));
    EXPECT_EQ(btrt->max_bitrate, 2u);
    EXPECT_EQ(btrt->avg_bitrate, 3u);
    const auto pasp =
        std::dynamic_pointer_cast<pixel_aspect_ratio_box>(read(make_box("pasp", box_builder().words({4, 3}))));
    EXPECT_EQ(pasp->h_spacing, 4u);
    const auto clap = std::dynamic_pointer_cast<clean_apperture_box>(
        read(make_box("clap", box_builder().words({1, 2, 3, 4, 5, 6, 7, 8}))));
    EXPECT_EQ(clap->clean_aperture_height_n, 3u);
    EXPECT_EQ(clap->vert_off_d, 8u);
    // fscod 1, bsid 8, bsmod 2, acmod 7, lfeon 1, bit_rate_code 15, reserved 3
    const auto dac3 = std::dynamic_pointer_cast<ac3_configuration_box>(
        read(make_box("dac3", box_builder().u24(0b01'01000'010'111'1'01111'00011))));
    EXPECT_THAT((std::vector{dac3->fscod, dac3->bsid, dac3->bsmod, dac3->acmod, dac3->lfeon, dac3->bit_rate_code,
                             dac3->reserved}),
                ElementsAre(1, 8, 2, 7, 1, 15, 3));
    const auto cut = std::dynamic_pointer_cast<ac3_configuration_box>(read(make_box("dac3", box_builder().u8(0xFF))));
    EXPECT_EQ(cut->bsid, 31u);
    EXPECT_EQ(cut->bsmod, 4u) << "past the end there are zeros";
    EXPECT_THROW(read(make_box("pasp", box_builder().u32(4))), core::exception);
}

TEST(ColourInformation, IsReadForNclxOnly) {
    const auto read = [](const char* type) {
        return parsed<colour_information_box, mp4_sampleentry_parser>(
            make_box("colr", box_builder().text(type).u16(1).u16(2).u16(3).u8(0x80)));
    };
    EXPECT_EQ(read("nclx")->matrix_coefficients, 3);
    EXPECT_EQ(read("nclx")->full_range, 0x80);
    EXPECT_EQ(read("nclc")->colour_type, fourcc("nclc"));
    EXPECT_EQ(read("nclc")->colour_primaries, 0);
    EXPECT_EQ(read("prof")->matrix_coefficients, 0);
}

TEST(EntryChildren, ThatAreOnlyReadAreNotWritten) {
    EXPECT_TRUE(written(colour_information_box()).empty());
    EXPECT_TRUE(written(bit_rate_box()).empty());
    EXPECT_TRUE(written(sampling_rate_box()).empty());
}

TEST(Configurations, AreTheirBytesBothWays) {
    for (const char* type : {"avcC", "hvcC"}) {
        const auto built = make_box(type, box_builder().u8(1).u8(2).u8(3));
        EXPECT_EQ(written(parsed<box>(built)), built.bytes()) << type;
        EXPECT_EQ(written(parsed<box>(make_box(type))), make_box(type).bytes());
    }
    const auto esds = make_full_box("esds", 1, 2, box_builder().u8(3).u8(4));
    const auto by_file = parsed<esd_box>(esds);
    EXPECT_EQ(by_file->version, 1);
    EXPECT_EQ(written(*by_file), esds.bytes());
    const auto by_entry = parsed<esd_box, mp4_sampleentry_parser>(esds);
    EXPECT_EQ(by_entry->version, 0) << "inside an entry version and flags are passed over";
    EXPECT_THAT(by_entry->data, ElementsAre(3, 4));
    EXPECT_THROW(parsed<esd_box>(make_box("esds", box_builder().u16(0))), core::exception);
}

TEST(FieldDescription, IsTwoBytes) {
    field_Image_Description_Extension box;
    box.field_count = 1;
    box.field_ordering = 6;
    EXPECT_EQ(written(box), make_box("fiel", box_builder().u8(1).u8(6)).bytes());
}

TEST(SamplingRate, IsReadAtFileLevel) {
    EXPECT_EQ(parsed<sampling_rate_box>(make_full_box("srat", 0, 0, box_builder().u32(96000)))->sampling_rate, 96000u);
}

}  // namespace
}  // namespace vio::mp4
