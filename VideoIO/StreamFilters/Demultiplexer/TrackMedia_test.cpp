#include "VideoIO/StreamFilters/Demultiplexer/TrackMedia.h"

#include "MediaKit/Results.h"
#include "Testing/Kit/failing_stream.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/movie_entries.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace mediakit_test;
using testing::ElementsAre;
using vio::mp4::fourcc;

constexpr DWORD kVideo = fourcc("vide");
constexpr DWORD kSound = fourcc("soun");

/// One second of three samples at 25 a second, the middle one sync, 1000 bytes in all.
TrackTables Tables() {
    TrackTables tables;
    const auto mdhd = std::make_shared<vio::mp4::media_header_box>();
    mdhd->timescale = 90000;
    tables.mdhd = mdhd;
    tables.index_ = {{0, 0, 0, 0, 500, 3600}, {500, 1, 45000, 45000, 300, 3600}, {800, 0, 90000, 90000, 200, 3600}};
    tables.typical_duration = 3600;
    tables.total_duration = 90000;
    tables.total_bytes = 1000;
    return tables;
}

TrackTables TablesWithoutDuration() {
    TrackTables tables = Tables();
    tables.total_duration = 0;
    return tables;
}

struct Built {
    HRESULT result = S_OK;
    TrackMedia media;
    std::vector<std::uint64_t> sync_samples;
    std::vector<log_capture::message> log;

    template <class Block>
    const Block& format() const {
        const Block* block = qz_DSFilters::FormatBlock<Block>(media.mediaType);
        if (block == nullptr) throw std::runtime_error("no such format block");
        return *block;
    }
    bool said(int level, std::wstring_view text) const {
        return std::ranges::any_of(log,
                                   [&](const auto& m) { return m.level == level && m.text.find(text) != m.text.npos; });
    }
};

Built BuildFrom(vio::mp4::mp4_parser& parser, DWORD handler, const vio::mp4::sample_description_box& stsd,
                const ReadingOptions& options, TrackTables tables) {
    const log_capture log;
    Built built;
    ReadingFindings findings;
    built.result = BuildTrackMedia(parser, handler, stsd, {options, findings}, tables, built.media);
    for (const SyncRecord& record : tables.sync_index) built.sync_samples.push_back(record.sample);
    built.log = log.messages();
    return built;
}

/// From a file that is a sample description of one entry.
Built Build(DWORD handler, const box_builder& entry, const ReadingOptions& options = {},
            TrackTables tables = Tables()) {
    failing_stream stream(make_full_box("stsd", 0, 0, box_builder().u32(1).add(entry)).bytes());
    vio::mp4::mp4_parser parser(stream);
    {
        const log_capture quiet;
        parser.parse();
    }
    const auto stsd = std::dynamic_pointer_cast<vio::mp4::sample_description_box>(parser.boxes.at(0));
    return BuildFrom(parser, handler, *stsd, options, std::move(tables));
}

struct Refused {
    const char* name;
    DWORD handler;
    box_builder entry;
    HRESULT result;
    int level;
    const wchar_t* message;
};

void ExpectRefused(const Refused& refused) {
    SCOPED_TRACE(refused.name);
    const Built built = Build(refused.handler, refused.entry);
    EXPECT_EQ(built.result, refused.result);
    EXPECT_TRUE(built.said(refused.level, refused.message)) << (built.log.empty() ? 0 : built.log[0].level);
    EXPECT_EQ(built.media.handler, nullptr);
}

TEST(TrackMedia, RefusesEntriesOfAnotherKind) {
    const Refused cases[] = {
        {"text", fourcc("text"), avc1_entry(), E_FAIL, 3, L"Unknown handler type text"},
        {"sound as video", kVideo, aac_entry(), E_UNEXPECTED, 1, L"visual_sample_entry != nullptr"},
        {"systems as video", kVideo, make_box("mp4s", box_builder().zeros(8)), E_UNEXPECTED, 1,
         L"visual_sample_entry != nullptr"},
        {"video as sound", kSound, avc1_entry(), E_UNEXPECTED, 1, L"audio_sample_entry != nullptr"},
        {"avc2", kVideo, visual_entry("avc2", 16, 16), E_FAIL, 3, L"Unknown visual sample entry type avc2"},
        {"avc3", kVideo, visual_entry("avc3", 16, 16), E_FAIL, 3, L"Unknown visual sample entry type avc3"},
        {"icod", kVideo, visual_entry("icod", 16, 16), E_FAIL, 3, L"Unknown visual sample entry type icod"},
        {"short avcC", kVideo, visual_entry("avc1", 16, 16, make_box("avcC", box_builder().u32(0x014D000A))),
         QZ_E_BAD_DATA, 1, L"QZCheckHRESULT: "},
        {"rate 0", kSound, ac3_entry(2, 0), E_FAIL, 1, L"sound.samplesPerSecond > 0"},
        {"AAC of rate 0", kSound, mp4a_entry(0x40, {}, 2, 0), E_FAIL, 1, L"sound.samplesPerSecond > 0"},
        {"DTS", kSound, mp4a_entry(0xA9, {}), E_FAIL, 1, L"Failed to identify object type indication 169"},
        {"12 bits", kSound, audio_entry("mp4a", 2, 12, 48000, esds_box(0x40, {})), E_INVALIDARG, 1,
         L"(nbrOfBitsPerSample % 8) == 0"},
    };
    for (const Refused& refused : cases) ExpectRefused(refused);

    // Entries that no parser makes: codes with a class that is not theirs.
    failing_stream nothing;
    vio::mp4::mp4_parser parser(nothing);
    const auto build = [&](DWORD handler, std::shared_ptr<vio::mp4::sample_entry> entry) {
        vio::mp4::sample_description_box stsd;
        stsd.entries.push_back(std::move(entry));
        return BuildFrom(parser, handler, stsd, {}, Tables());
    };
    const Built av1 = build(kVideo, std::make_shared<vio::mp4::visual_sample_entry>(fourcc("av01")));
    EXPECT_EQ(av1.result, QZ_E_UNSUPPORTED_FORMAT);
    EXPECT_TRUE(av1.log.empty());
    const Built avc = build(kVideo, std::make_shared<vio::mp4::visual_sample_entry>(fourcc("avc1")));
    EXPECT_EQ(avc.result, E_UNEXPECTED);
    EXPECT_TRUE(avc.said(1, L"avc_sample_entry != nullptr"));
    const Built hevc = build(kVideo, std::make_shared<vio::mp4::visual_sample_entry>(fourcc("hvc1")));
    EXPECT_EQ(hevc.result, E_UNEXPECTED);
    EXPECT_TRUE(hevc.said(1, L"hevc_sample_entry != nullptr"));
    const Built alac = build(kSound, std::make_shared<vio::mp4::audio_sample_entry>(fourcc("alac")));
    EXPECT_EQ(alac.result, E_FAIL);
    EXPECT_TRUE(alac.said(3, L"Unknown audio sample entry type alac"));
}

void ExpectVideo(const Built& built, const GUID& subtype, const SIZE& size, const SIZE& aspect, DWORD bitRate) {
    ASSERT_EQ(built.result, S_OK);
    EXPECT_EQ(built.media.mediaType.majortype, MEDIATYPE_Video);
    EXPECT_EQ(built.media.mediaType.subtype, subtype);
    EXPECT_THAT(built.sync_samples, ElementsAre(1)) << "the samples with the sync bit";
    EXPECT_EQ(built.media.rate, (qz_DSFilters::StreamRate{25, 1}));
    EXPECT_EQ(built.media.handler, nullptr);
    const auto& header = built.format<VIDEOINFOHEADER2>();
    EXPECT_EQ(header.bmiHeader.biWidth, size.cx);
    EXPECT_EQ(header.bmiHeader.biHeight, size.cy);
    EXPECT_EQ(header.dwPictAspectRatioX, static_cast<DWORD>(aspect.cx));
    EXPECT_EQ(header.dwPictAspectRatioY, static_cast<DWORD>(aspect.cy));
    EXPECT_EQ(header.AvgTimePerFrame, 400000);
    EXPECT_EQ(header.dwBitRate, bitRate);
}

TEST(VideoTrackMedia, ReadsAvc) {
    const h264_units units(20, 15);
    const Built avc1 = Build(kVideo, avc1_entry(units));
    ExpectVideo(avc1, MEDIASUBTYPE_AVC1, {320, 240}, {4, 3}, 8000);
    EXPECT_EQ(avc1.media.sampleEntry, fourcc("avc1"));
    EXPECT_EQ(avc1.format<MPEG2VIDEOINFO>().dwFlags, 4u);

    const Built avc3 =
        Build(kVideo, visual_entry("avc3", 9, 9, make_box("avcC", avcc_record(units))), {.avc3AsAvc1 = true});
    ExpectVideo(avc3, MEDIASUBTYPE_AVC1, {320, 240}, {4, 3}, 8000);
    EXPECT_EQ(avc3.media.sampleEntry, fourcc("avc3"));

    // All parameter sets in the samples: the record holds none, and the entry tells the size.
    const box_builder noSets = make_box("avcC", box_builder().add({1, 100, 0, 31, 0xFF, 0xE0, 0}));
    const Built inBand = Build(kVideo, visual_entry("avc3", 64, 48, noSets), {.avc3AsAvc1 = true});
    ExpectVideo(inBand, MEDIASUBTYPE_AVC1, {64, 48}, {64, 48}, 8000);
    EXPECT_TRUE(inBand.log.empty());
    EXPECT_EQ(inBand.format<MPEG2VIDEOINFO>().dwProfile, 100u);
    EXPECT_EQ(inBand.format<MPEG2VIDEOINFO>().dwLevel, 31u);
    EXPECT_EQ(inBand.format<MPEG2VIDEOINFO>().dwFlags, 4u);
    // A record that says that it holds sets is held to it, and `avc1` has none in the samples.
    const box_builder cutOff = make_box("avcC", box_builder().add({1, 100, 0, 31, 0xFF, 0xE1, 0, 9, 0x67}));
    EXPECT_EQ(Build(kVideo, visual_entry("avc3", 64, 48, cutOff), {.avc3AsAvc1 = true}).result, E_FAIL);
    EXPECT_EQ(Build(kVideo, visual_entry("avc1", 64, 48, noSets), {.avc3AsAvc1 = true}).result, E_FAIL);
    EXPECT_EQ(Build(kVideo, visual_entry("avc4", 9, 9), {.avc3AsAvc1 = true}).result, E_FAIL);

    const Built bare = Build(kVideo, visual_entry("avc1", 320, 240));
    EXPECT_EQ(bare.result, S_OK);
    EXPECT_FALSE(bare.media.mediaType.IsValid()) << "without a record there is no type";
    EXPECT_EQ(bare.media.rate, (qz_DSFilters::StreamRate{25, 1}));

    TrackTables unknown = TablesWithoutDuration();
    unknown.typical_duration = 0;
    const Built still = Build(kVideo, avc1_entry(units), {}, unknown);
    EXPECT_EQ(still.result, S_OK);
    EXPECT_EQ(still.format<VIDEOINFOHEADER2>().AvgTimePerFrame, 0);
    EXPECT_EQ(still.media.rate, (qz_DSFilters::StreamRate{0, 1}));
}

TEST(VideoTrackMedia, ReadsHevc) {
    const h265_units units(320, 240);
    for (const char* type : {"hvc1", "hev1"}) {
        SCOPED_TRACE(type);
        // The size is the entry's.
        const Built built = Build(kVideo, visual_entry(type, 300, 200, make_box("hvcC", hvcc_record(units))));
        ExpectVideo(built, MEDIASUBTYPE_HVC1, {300, 200}, {300, 200}, 8000);
        const auto& info = built.format<MPEG2VIDEOINFO>();
        EXPECT_EQ(info.dwProfile, 1u);
        EXPECT_EQ(info.dwLevel, 93u);
        EXPECT_EQ(info.dwFlags, 4u);
        EXPECT_GT(info.cbSequenceHeader, 6u);

        const Built bare = Build(kVideo, visual_entry(type, 300, 200));
        ExpectVideo(bare, MEDIASUBTYPE_HVC1, {300, 200}, {300, 200}, 8000);
        EXPECT_EQ(bare.format<VIDEOINFOHEADER2>().dwInterlaceFlags, 0u);
        const ULONG fixed = qz_DSFilters::MPEG2VideoInfoLength;
        EXPECT_LT(bare.media.mediaType.cbFormat, fixed + 8) << "no parameter sets";
    }
    const auto without = [](const char* type) {
        return Build(kVideo, visual_entry(type, 300, 200), {}, TablesWithoutDuration()).format<VIDEOINFOHEADER2>();
    };
    EXPECT_EQ(without("hev1").dwBitRate, 25u);
    EXPECT_EQ(without("hvc1").dwBitRate, 0u);
}

/// A video object layer of 352 x 288 behind the start of its sequence.
byte_vector VideoHeader(unsigned aspect, bool interlaced) {
    bit_writer w;
    w.u(32, 0x1B0).u(8, 1).u(32, 0x120).u(1, 0).u(8, 1).u(1, 0).u(4, aspect).u(1, 0).u(2, 0).u(1, 1).u(16, 25);
    return w.u(1, 1).u(1, 0).u(1, 1).u(13, 352).u(1, 1).u(13, 288).u(1, 1).u(1, interlaced).u(1, 1).bytes();
}

TEST(VideoTrackMedia, ReadsMpeg4WithTheStreamsOwnHeader) {
    const byte_vector progressive = VideoHeader(1, false);
    const byte_vector cut(progressive.begin(), progressive.end() - 2);
    const wchar_t* const failed = L"Failed to parse the decoder specific info";
    const wchar_t* const other_size =
        L"mp4check: video size in header (320x240) does not match decoder spec info (352x288)";
    const struct {
        box_builder entry;
        SIZE size;
        SIZE aspect;
        DWORD interlace;
        const GUID& subtype;
        ULONG extra;
        const wchar_t* message;
    } cases[] = {
        {mp4v_entry(320, 240), {320, 240}, {320, 240}, 0, MEDIASUBTYPE_MP4V, 0, nullptr},
        {mp4v_entry(320, 240, {}, 0x6C), {320, 240}, {320, 240}, 0, MEDIASUBTYPE_MJPG, 0, nullptr},
        {mp4v_entry(320, 240, progressive), {352, 288}, {11, 9}, 0, MEDIASUBTYPE_MP4V, 18, other_size},
        {mp4v_entry(352, 288, VideoHeader(2, true)), {352, 288}, {4, 3}, 1, MEDIASUBTYPE_MP4V, 18, nullptr},
        {mp4v_entry(352, 288, cut), {352, 288}, {352, 288}, 0, MEDIASUBTYPE_MP4V, 16, failed},
        {mp4v_entry(352, 288, {0, 0, 0x80, 2, 8}), {352, 288}, {352, 288}, 0, MEDIASUBTYPE_MP4V, 5, failed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Built built = Build(kVideo, c.entry);
        ExpectVideo(built, c.subtype, c.size, c.aspect, 8000);
        EXPECT_EQ(built.format<VIDEOINFOHEADER2>().dwInterlaceFlags, c.interlace);
        EXPECT_EQ(built.media.mediaType.cbFormat, sizeof(VIDEOINFOHEADER2) + c.extra);
        if (c.message == nullptr)
            EXPECT_TRUE(built.log.empty());
        else
            EXPECT_TRUE(built.said(2, c.message));
    }
    const Built kept = Build(kVideo, mp4v_entry(352, 288, progressive));
    EXPECT_TRUE(
        std::equal(progressive.begin(), progressive.end(), kept.media.mediaType.pbFormat + sizeof(VIDEOINFOHEADER2)));
    const Built told = Build(kVideo, visual_entry("mp4v", 352, 288, esds_box(0x20, {}, 123456)));
    EXPECT_EQ(told.format<VIDEOINFOHEADER2>().dwBitRate, 123456u);

    TrackTables no_duration = Tables();
    no_duration.typical_duration = 0;
    EXPECT_EQ(Build(kVideo, mp4v_entry(352, 288), {}, no_duration).result, E_INVALIDARG);
}

TEST(TrackMedia, LooksForDescriptorsInTheEntryAndInItsWave) {
    const auto esds = [](const box_builder& bytes) { return make_full_box("esds", 0, 0, bytes); };
    const box_builder good = esds_box(0x40, audio_specific_config());
    const byte_vector good_bytes(good.bytes().begin() + 12, good.bytes().end());
    const box_builder wave = make_box("frma", box_builder().text("mp4a")).add(make_box("mp4a", box_builder().u32(0)));
    const struct {
        const char* name;
        box_builder children;
        const wchar_t* missing;
    } cases[] = {
        {"entry", good, nullptr},
        {"wave", make_box("wave", box_builder(wave).add(good).add(box_builder().words({8, 0}))), nullptr},
        {"wave without", make_box("wave", wave), L"esds != nullptr"},
        {"behind others", make_box("chan", box_builder().zeros(12)).add(good), nullptr},
        {"in front of much else", esds(box_builder().add(good_bytes).zeros(1 << 17)), nullptr},
        {"huge", esds(box_builder().u8(3).u8(0x86).u8(0x8D).u8(0x20).zeros(100000)), L"es_descr != nullptr"},
        {"none", {}, L"esds != nullptr"},
        {"empty wave", make_box("wave"), L"esds != nullptr"},
        {"empty", esds({}), L"!esds->es_.empty()"},
        {"other tag", esds(box_builder().u8(4).u8(13).zeros(13)), L"es_descr != nullptr"},
        {"cut", esds(box_builder().u8(3).u8(9).zeros(8)), L"es_descr != nullptr"},
        {"no configuration", esds(box_builder().u8(3).u8(3).zeros(3)), L"decoder_config_descr != nullptr"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const bool video : {false, true}) {
            const box_builder entry =
                video ? visual_entry("mp4v", 64, 64, c.children) : audio_entry("mp4a", 2, 16, 48000, c.children);
            const Built built = Build(video ? kVideo : kSound, entry);
            EXPECT_EQ(built.result, c.missing == nullptr ? S_OK : E_FAIL);
            EXPECT_TRUE(c.missing == nullptr || built.said(1, c.missing));
        }
    }
}

/// The entry with QuickTime's version, behind whose common fields come `extra` bytes.
box_builder QuickTimeEntry(std::uint16_t version, std::size_t extra, const box_builder& children) {
    box_builder entry;
    entry.zeros(6).u16(1).u16(version).zeros(6).u16(2).u16(16).zeros(4).u32(22050u << 16);
    return make_box("mp4a", entry.fill(extra, 0x11).add(children));
}

TEST(AudioTrackMedia, MakesTheWaveFormat) {
    adts_options six;
    six.channels = 6;
    adts_options mono;
    mono.channels = 1;
    mono.rate_index = 4;
    const box_builder wave = make_box("wave", esds_box(0x40, audio_specific_config()));
    const struct {
        const char* name;
        box_builder entry;
        GUID subtype;
        WAVEFORMATEX format;
        std::vector<std::uint64_t> sync;
    } cases[] = {
        {"AC-3", ac3_entry(6), MEDIASUBTYPE_DOLBY_AC3, {0x50, 6, 48000, 576000, 12, 16, 0}, {}},
        {"little-endian", pcm_entry("sowt"), MEDIASUBTYPE_PCM, {1, 2, 48000, 192000, 4, 16, 0}, {}},
        {"big-endian", pcm_entry("twos", 8, 44100), MEDIASUBTYPE_PCM, {1, 8, 44100, 705600, 16, 16, 0}, {}},
        {"nothing told", audio_entry("sowt", 0, 0, 1), MEDIASUBTYPE_PCM, {1, 0, 1, 0, 0, 0, 0}, {}},
        {"most told",
         audio_entry("sowt", 65535, 65535, 65535),
         MEDIASUBTYPE_PCM,
         {1, 65535, 65535, 65535u * 49152u, 49152, 65535, 0},
         {}},
        // The bit rate is the track's; rate and channels are the specific info's where it has them.
        {"AAC", aac_entry({}, 44100), subtype_of(0xFF), {0xFF, 2, 48000, 1000, 4, 16, 2}, {0, 2}},
        {"AAC beyond 16 bits of rate",
         mp4a_entry(0x66, {0x10, 0x10}, 2, 0),
         subtype_of(0xFF),
         {0xFF, 2, 96000, 1000, 4, 16, 2},
         {0, 2}},
        {"AAC mono in stereo",
         mp4a_entry(0x67, audio_specific_config(mono)),
         subtype_of(0xFF),
         {0xFF, 1, 44100, 1000, 2, 16, 2},
         {0, 2}},
        {"AAC without info", mp4a_entry(0x68, {}), subtype_of(0xFF), {0xFF, 2, 44100, 1000, 4, 16, 0}, {0, 2}},
        {"AAC with info that tells nothing",
         mp4a_entry(0x40, {0x12, 0x00}),
         subtype_of(0xFF),
         {0xFF, 2, 44100, 1000, 4, 16, 2},
         {0, 2}},
        {"AAC 5.1", aac_entry(six), subtype_of(0xFF), {0xFFFE, 6, 48000, 1000, 12, 16, 24}, {0, 2}},
        {"MPEG-1 audio", mp3_entry(), subtype_of(0x50), {0x50, 2, 44100, 1000, 4, 16, 22}, {0, 2}},
        {"MPEG-2 audio with info",
         mp4a_entry(0x69, {7, 7, 7}),
         subtype_of(0x50),
         {0x50, 2, 44100, 1000, 4, 16, 25},
         {0, 2}},
        {"QuickTime 1", QuickTimeEntry(1, 16, wave), subtype_of(0xFF), {0xFF, 2, 48000, 1000, 4, 16, 2}, {0, 2}},
        {"QuickTime 2", QuickTimeEntry(2, 36, wave), subtype_of(0xFF), {0xFF, 2, 48000, 1000, 4, 16, 2}, {0, 2}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Built built = Build(kSound, c.entry);
        ASSERT_EQ(built.result, S_OK);
        EXPECT_EQ(built.media.mediaType.majortype, MEDIATYPE_Audio);
        EXPECT_EQ(built.media.mediaType.subtype, c.subtype);
        EXPECT_EQ(built.media.mediaType.formattype, FORMAT_WaveFormatEx);
        EXPECT_EQ(built.media.mediaType.cbFormat, sizeof(WAVEFORMATEX) + c.format.cbSize);
        const auto& format = built.format<WAVEFORMATEX>();
        EXPECT_EQ(std::memcmp(&format, &c.format, sizeof format), 0)
            << format.wFormatTag << ' ' << format.nChannels << ' ' << format.nSamplesPerSec << ' '
            << format.nAvgBytesPerSec << ' ' << format.nBlockAlign << ' ' << format.wBitsPerSample;
        EXPECT_EQ(built.sync_samples, c.sync);
        EXPECT_EQ(built.media.rate, (qz_DSFilters::StreamRate{0, 1}));
        const auto* swapping = dynamic_cast<pcm16be_byte_stream_handler*>(built.media.handler.get());
        EXPECT_EQ(swapping != nullptr, built.media.sampleEntry == fourcc("twos"));
    }
}

TEST(AudioTrackMedia, TellsPlacesLayersAndInfo) {
    const auto mask = [](unsigned channels) {
        return Build(kSound, mp4a_entry(0x40, {}, channels)).format<WAVEFORMATEXTENSIBLE>().dwChannelMask;
    };
    EXPECT_THAT((std::vector{mask(3), mask(4), mask(5), mask(6), mask(7), mask(8), mask(9)}),
                ElementsAre(3u, 0xFu, 0xFu, 0x3Fu, 0x3Fu, 0xFFu, 0u));

    const Built aac = Build(kSound, aac_entry());
    const byte_vector info = audio_specific_config();
    EXPECT_TRUE(std::equal(info.begin(), info.end(), aac.media.mediaType.pbFormat + sizeof(WAVEFORMATEX)));

    const Built mpeg = Build(kSound, mp4a_entry(0x6B, {7, 7, 7}));
    const MPEG1WAVEFORMAT& format = mpeg.format<MPEG1WAVEFORMAT>();
    EXPECT_EQ(format.fwHeadLayer, 1);
    EXPECT_EQ(format.dwHeadBitrate, 0u);
    const BYTE* const rest = mpeg.media.mediaType.pbFormat + sizeof(MPEG1WAVEFORMAT);
    EXPECT_EQ(std::count(rest, rest + 3, 0), 3) << "room for the info, not its bytes";
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
