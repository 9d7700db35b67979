#include "VideoIO/StreamFilters/Container/es_descriptors.h"

#include "Testing/Kit/box_builder.h"
#include "Testing/Kit/failing_stream.h"
#include "VideoIO/StreamFilters/Container/es_parser_base.h"
#include "VideoIO/StreamFilters/Container/es_writer_base.h"
#include "VideoIO/StreamFilters/Container/exception.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include <gmock/gmock.h>

namespace vio::es {
namespace {

using mediakit_test::box_builder;
using mediakit_test::failing_stream;
using testing::ElementsAre;
using bytes = std::vector<std::uint8_t>;

template <class T>
bytes written(const T& descriptor) {
    es_writer_base writer;
    writer.add(std::make_shared<T>(descriptor), nullptr);
    const auto out = std::make_shared<failing_stream>();
    writer.write(out);
    return out->content;
}

/// A descriptor with a one-byte size, or the size given.
box_builder tagged(std::uint8_t tag, const box_builder& body) {
    return box_builder().u8(tag).u8(static_cast<std::uint8_t>(body.size())).add(body);
}

struct reading {
    explicit reading(const box_builder& built) : block(built.bytes()), stream(block.data(), size()), parser(stream) {
        parser.parse();
    }
    std::uint32_t size() const { return static_cast<std::uint32_t>(block.size()); }
    template <class T>
    std::shared_ptr<T> at(std::uint64_t offset) {
        const auto found = parser.descriptors.find(offset);
        return found == parser.descriptors.end() ? nullptr : std::dynamic_pointer_cast<T>(found->second);
    }

    bytes block;
    memory_stream stream;
    es_parser_base parser;
};

/// What an AAC track of an MP4 file has.
box_builder aac_config(const box_builder& info) {
    return box_builder().u8(0x40).u8(0x15).u24(0).u32(128000).u32(96000).add(info);
}

TEST(DescriptorWriter, LaysOutAnAudioStream) {
    es_writer_base writer;
    auto es = std::make_shared<ES_Descriptor>();
    es->ES_ID = 2;
    auto config = std::make_shared<DecoderConfigDescriptor>();
    config->object_type_indication = 0x40;
    config->stream_type = 5;
    config->reserved = 1;
    config->buffer_size_db = 0x123456;
    config->max_bitrate = 128000;
    config->avg_bitrate = 96000;
    auto info = std::make_shared<DecoderSpecificInfo>();
    info->data = {0x11, 0x90};
    auto sl = std::make_shared<SLConfigDescriptor>();
    sl->predefined = 2;
    writer.add(es, nullptr);
    writer.add(config, es.get());
    writer.add(info, config.get());
    writer.add(sl, es.get());

    const auto config_built = tagged(4, aac_config(tagged(5, box_builder().u8(0x11).u8(0x90))));
    const auto built = tagged(3, box_builder().u16(2).u8(0).add(config_built).add(tagged(6, box_builder().u8(2))));
    for (int pass = 0; pass < 2; ++pass) {
        const auto out = std::make_shared<failing_stream>();
        writer.write(nullptr);
        EXPECT_EQ(es->size, built.size() - 2) << "the body alone, in every pass anew";
        writer.write(out);
        EXPECT_EQ(out->content, built.bytes());
    }

    reading read(built);
    const auto read_es = read.at<ES_Descriptor>(0);
    ASSERT_NE(read_es, nullptr);
    EXPECT_EQ(read_es->size, built.size()) << "with its header";
    EXPECT_EQ(read_es->header_size, 5u);
    ASSERT_NE(read_es->dec_config_descr, nullptr);
    EXPECT_EQ(read_es->dec_config_descr->stream_type, 5);
    EXPECT_EQ(read_es->dec_config_descr->reserved, 1u);
    EXPECT_EQ(read_es->dec_config_descr->avg_bitrate, 96000u);
    EXPECT_THAT(read_es->dec_config_descr->dec_specific_info->data, ElementsAre(0x11, 0x90));
    ASSERT_NE(read_es->sl_config_descr, nullptr);
    EXPECT_EQ(read_es->sl_config_descr->predefined, 0) << "not read";

    std::uint64_t at = read_es->header_size;
    EXPECT_EQ(read.parser.find_descriptor(6, 0, at, read_es->size - read_es->header_size), read_es->sl_config_descr);
    EXPECT_EQ(at, 5 + config_built.size());
}

TEST(DescriptorWriter, SizesFrom128OnStandLeastSignificantGroupFirst) {
    DecoderSpecificInfo info;
    info.data.assign(127, 7);
    EXPECT_EQ(written(info), box_builder().u8(5).u8(127).fill(127, 7).bytes());
    info.data.assign(200, 7);
    EXPECT_EQ(written(info), box_builder().u8(5).u8(0xC8).u8(0x01).fill(200, 7).bytes());
    info.data.assign(70000, 7);  // 4, 34, 112 in groups of 7 bits
    EXPECT_EQ(written(info), box_builder().u8(5).u8(0x80 | 112).u8(0x80 | 34).u8(4).fill(70000, 7).bytes());

    reading wrong(box_builder().u8(5).u8(0xC8).u8(0x01).fill(200, 7));
    EXPECT_EQ(wrong.at<DecoderSpecificInfo>(0), nullptr) << "the reader sees 9217 bytes";
}

TEST(DescriptorWriter, AnEmptyBodyTakesFourBytesOfWhichTheParentCountsOne) {
    es_writer_base writer;
    auto es = std::make_shared<ES_Descriptor>();
    writer.add(es, nullptr);
    writer.add(std::make_shared<DecoderSpecificInfo>(), es.get());
    const auto out = std::make_shared<failing_stream>();
    writer.write(out);
    EXPECT_EQ(out->content, box_builder().u8(3).u8(5).u16(0).u8(0).u8(5).u32(0).bytes());
}

TEST(DescriptorWriter, WritesAnInfoOfTheConfigurationItself) {
    DecoderConfigDescriptor config;
    config.dec_specific_info = std::make_shared<DecoderSpecificInfo>();
    config.dec_specific_info->data = {9};
    config.dec_specific_info->size = 1;
    config.up_stream = 5;
    // Its header is not in the size: nobody counts it.
    EXPECT_EQ(written(config), box_builder().u8(4).u8(14).u8(0).u8(0x02).zeros(11).u8(5).u8(1).u8(9).bytes());
}

TEST(DescriptorWriter, FlagsOfAStreamAreReversed) {
    ES_Descriptor es;
    es.ES_ID = 1;
    es.stream_priority = 1;
    EXPECT_EQ(written(es), tagged(3, box_builder().u16(1).u8(0x08)).bytes());
    EXPECT_EQ(reading(tagged(3, box_builder().u16(1).u8(0x08))).at<ES_Descriptor>(0)->stream_priority, 8u);

    es.stream_dependence_flag = 0x80;
    es.depends_on_ES_ID = 0x0203;
    es.url_flag = 1;
    es.url_length = 2;
    es.url_string = {'a', 'b'};
    es.ocr_stream_flag = 1;
    es.OCR_ES_ID = 0x0405;
    EXPECT_EQ(written(es),
              tagged(3, box_builder().u16(1).u8(0x0F).u16(0x0203).u8(2).text("ab").zeros(30).u16(0x0405)).bytes());
}

TEST(DescriptorWriter, LaysOutTheOthers) {
    InitialObjectDescriptor iod;
    iod.object_descriptor_id = 1;
    iod.url_flag = 7;
    iod.include_inline_profile_level_flag = 1;
    iod.od_profile_level = 1;
    iod.scene_profile_level = 2;
    iod.audio_profile_level = 3;
    iod.visual_profile_level = 4;
    iod.graphics_profile_level = 5;
    const auto body = box_builder().u16(0x007F).u8(1).u8(2).u8(3).u8(4).u8(5);
    EXPECT_EQ(written(iod), tagged(2, body).bytes());
    MP4InitialObjectDescriptor mp4;
    EXPECT_EQ(written(mp4), tagged(16, box_builder().u16(0x000F).zeros(5)).bytes());
    ES_ID_Inc inc;
    inc.track_ID = 3;
    EXPECT_EQ(written(inc), tagged(14, box_builder().u32(3)).bytes());
    ExtendedSLConfigDescriptor sl;
    sl.predefined = 2;
    EXPECT_EQ(written(sl), tagged(100, box_builder().u8(2)).bytes());
    for (const auto& empty :
         {written(ObjectDescriptor()), written(ProfileLevelIndicationIndexDescriptor()), written(BaseDescriptor(0x7F))})
        EXPECT_THAT(bytes(empty.begin() + 1, empty.end()), ElementsAre(0, 0, 0, 0));
}

TEST(DescriptorReader, ReadsTheFlagsAndWhatTheyCallFor) {
    const auto read_es =
        reading(tagged(3, box_builder().u16(1).u8(0xE3).u16(0x0203).u8(2).text("abc").zeros(29).u16(0x0405).add(
                              tagged(6, box_builder().u8(2)))))
            .at<ES_Descriptor>(0);
    ASSERT_NE(read_es, nullptr);
    EXPECT_EQ(read_es->stream_dependence_flag, 0x80u);
    EXPECT_EQ(read_es->url_flag, 0x40u);
    EXPECT_EQ(read_es->ocr_stream_flag, 0x20u);
    EXPECT_EQ(read_es->stream_priority, 3u);
    EXPECT_EQ(read_es->depends_on_ES_ID, 0x0203);
    EXPECT_EQ(read_es->url_length, 2);
    EXPECT_EQ(read_es->url_string[2], 'c') << "32 bytes, whatever the length";
    EXPECT_EQ(read_es->OCR_ES_ID, 0x0405);
    EXPECT_NE(read_es->sl_config_descr, nullptr);
}

TEST(DescriptorReader, BufferSizeIsInFileOrder) {
    const auto config =
        reading(tagged(4, box_builder().u8(0x40).u8(0x16).u24(0x010203).u32(0).u32(0))).at<DecoderConfigDescriptor>(0);
    EXPECT_EQ(config->buffer_size_db, 0x030201u);
    EXPECT_EQ(config->up_stream, 1u);
    EXPECT_EQ(config->reserved, 0u);
}

TEST(DescriptorReader, SizesHaveUpToFourGroups) {
    reading padded(box_builder().u8(5).u8(0x80).u8(0x80).u8(0x80).u8(34).fill(34, 1));
    ASSERT_NE(padded.at<DecoderSpecificInfo>(0), nullptr);
    EXPECT_EQ(padded.at<DecoderSpecificInfo>(0)->header_size, 5u);
    EXPECT_EQ(padded.at<DecoderSpecificInfo>(0)->data.size(), 34u);

    reading stopped(box_builder().u8(5).u8(0x80).u8(0x80).u8(0x80).u8(0x82).u8(0xAA).u8(0xBB));
    ASSERT_NE(stopped.at<DecoderSpecificInfo>(0), nullptr) << "the byte behind the fourth is body";
    EXPECT_THAT(stopped.at<DecoderSpecificInfo>(0)->data, ElementsAre(0xAA, 0xBB));

    const auto two_groups = box_builder().u8(5).u8(0x81).u8(0x48).fill(200, 3);
    EXPECT_EQ(reading(two_groups).at<DecoderSpecificInfo>(0)->data.size(), 200u);
}

TEST(DescriptorReader, PassesOverWhatItDoesNotKnow) {
    reading read(box_builder().add(tagged(0x7F, box_builder().zeros(4))).add(tagged(5, box_builder().u8(1))));
    ASSERT_NE(read.at<BaseDescriptor>(0), nullptr);
    EXPECT_EQ(read.at<BaseDescriptor>(0)->tag, 0x7Fu);
    EXPECT_NE(read.at<DecoderSpecificInfo>(6), nullptr);
    std::uint64_t at = 0;
    EXPECT_EQ(read.parser.find_descriptor(5, 0, at, read.size()), read.at<DecoderSpecificInfo>(6));
    at = 0;
    EXPECT_EQ(read.parser.find_descriptor(5, 1, at, read.size()), nullptr);
    at = 1000;
    EXPECT_EQ(read.parser.find_descriptor(5, 0, at, read.size()), nullptr) << "behind the end";
    at = 6;
    EXPECT_EQ(read.parser.find_descriptor(4, 0, at, 1), nullptr) << "a step over the end would wrap";
}

TEST(DescriptorReader, ScansFromAnOffsetWithoutReadingOn) {
    const auto built = box_builder().add(tagged(0x7F, box_builder().zeros(4))).add(tagged(5, box_builder().u8(1)));
    failing_stream stream(built.bytes());
    es_parser_base parser(stream);
    EXPECT_TRUE(parser.scan(6, 3, true));
    EXPECT_EQ(parser.descriptors.size(), 1u);
    EXPECT_LE(stream.reads, 10u) << "the chunk is longer than what is left of the stream";
}

TEST(DescriptorReader, AConfigurationKeepsItsFirstFieldsWhenCut) {
    const auto config = reading(tagged(4, box_builder().u8(0x40).u8(0x15).u8(7))).at<DecoderConfigDescriptor>(0);
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config->object_type_indication, 0x40);
    EXPECT_EQ(config->stream_type, 5);
    EXPECT_EQ(config->max_bitrate, 0u);
}

TEST(DescriptorReader, KeepsProfileIndications) {
    const auto profile = tagged(20, box_builder().u8(1));
    const auto config =
        reading(tagged(4, aac_config(box_builder().add(profile).add(profile)))).at<DecoderConfigDescriptor>(0);
    EXPECT_EQ(config->profile_level_indication_index_descrs.size(), 2u);
}

TEST(DescriptorReader, SurvivesCutsAndDamage) {
    const auto whole = tagged(3, box_builder()
                                     .u16(2)
                                     .u8(0xE0)
                                     .zeros(2 + 33 + 2)
                                     .add(tagged(4, aac_config(tagged(5, box_builder().zeros(5)))))
                                     .add(tagged(6, box_builder().u8(2))))
                           .bytes();
    std::size_t read_whole = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length)
        for (std::size_t damaged = 0; damaged < length; ++damaged)
            for (const std::uint8_t value : {0x00, 0x03, 0x04, 0x7F, 0xFF}) {
                bytes content(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
                content[damaged] = value;
                try {
                    read_whole += reading(box_builder().add(content)).at<ES_Descriptor>(0) != nullptr;
                } catch (const core::exception&) {
                }
            }
    EXPECT_GT(read_whole, whole.size());
}

TEST(DescriptorReader, BoundsNesting) {
    box_builder deep;
    for (int level = 0; level < 100'000; ++level) deep.u8(4).u8(0xFF).u8(0xFF).u8(0xFF).u8(0x7F).zeros(13);
    EXPECT_NO_THROW(reading{deep}) << "each claims more than there is";

    // Configurations in configurations, each of the right size.
    box_builder nested;
    constexpr std::uint32_t levels = 1000;
    constexpr std::uint32_t each = 5 + 13;
    for (std::uint32_t level = 0; level < levels; ++level) {
        const std::uint32_t body = each * (levels - level) - 5;
        nested.u8(4).u8(0x80).u8(0x80 | (body >> 14 & 0x7F)).u8(0x80 | (body >> 7 & 0x7F)).u8(body & 0x7F).zeros(13);
    }
    EXPECT_THROW(reading{nested}, core::exception);
}

}  // namespace
}  // namespace vio::es
