// A copy has the packets, times and pictures of its source, as another reader finds them in both.
#include "Testing/Kit/h264_units.h"
#include "Testing/Kit/movie_file.h"
#include "Testing/Tool/recording_check.h"

#include <gmock/gmock.h>

#include <cmath>

namespace mediakit_test {
namespace {

using nlohmann::json;

struct CopyCase {
    const char* name;
    const char* file;
    const char* arguments;  ///< inputs stand in front: 0 pictures, 1 sound
    bool sameBytes = true;  ///< else the first picture gets parameter sets
    const char* leftOut = "";
    const char* reason = "";
};

std::ostream& operator<<(std::ostream& out, const CopyCase& one) { return out << one.name; }

constexpr const char* kInputs =
    "-f lavfi -i testsrc2=size=64x48:rate=25:duration=2 -f lavfi -i sine=sample_rate=44100:duration=2 ";
#define X264 "-c:v libx264 -preset ultrafast -threads 1 -pix_fmt yuv420p -g 12 -bf 3 "
#define X265                                                        \
    "-c:v libx265 -preset ultrafast -pix_fmt yuv420p -x265-params " \
    "log-level=none:pools=none:frame-threads=1:keyint=12:bframes=3:open-gop=0 "
#define BOTH X264 "-c:a aac -b:a 64k "

// clang-format off: a row a case
const CopyCase kCases[] = {
    {"Plain", "in.mp4", BOTH},
    {"NoReordering", "in.mp4", X264 "-bf 0 -c:a aac -video_track_timescale 90000"},
    {"UnevenPictures", "in.mp4", "-vf \"select='mod(n,7)-3',setpts=PTS+0.004*random(1)/TB\" -fps_mode vfr " BOTH},
    {"ManyPicturesASecond", "in.mp4", "-r 960 " BOTH "-ac 6"},
    {"SecondsPerPicture", "in.mp4", "-vf setpts=N*3/TB " X264 "-an -r 1/3"},
    {"SoundAlone", "in.mp4", "-vn -c:a aac"},
    {"Fragments", "in.mp4", BOTH "-movflags frag_keyframe+empty_moov+default_base_moof"},
    {"LateSound", "in.mp4", "-itsoffset 0.5 -f lavfi -i sine=duration=1 -map 0:v -map 2:a " BOTH},
    {"LatePictures", "in.mp4",
     "-itsoffset 0.7 -f lavfi -i testsrc2=size=64x48:rate=25:duration=1 -map 2:v -map 1:a " BOTH},
    {"SeveralTracks", "in.mp4", "-map 0:v -map 1:a -map 0:v -map 1:a " X264 "-s:v:1 32x32 -c:a aac"},
    {"OnePicture", "in.mp4", X264 "-frames:v 1 -an"},
    {"SoundThatIsNotTaken", "in.mp4", X264 "-c:a ac3", true, "ac-3", "H.264, H.265 and AAC"},
    {"SoundThatIsNotRead", "in.mp4", X264 "-c:a alac", true, "alac", "no reader for 'alac'"},
    {"H265Hvc1", "in.mp4", X265 "-tag:v hvc1 -c:a aac", false},
    {"H265Hev1", "in.mp4", X265 "-tag:v hev1 -an", false},
    {"Avc3", "in.mp4", X264 "-tag:v avc3 -bsf:v dump_extra"},
};
// clang-format on

double Time(const json& packet, const char* name) { return std::stod(packet.value(name, "nan")); }

json StreamsTaken(const json& probe) {
    json taken = json::array();
    for (const json& stream : probe["streams"])
        if (stream["codec_name"] != "ac3" && stream["codec_name"] != "alac") taken.push_back(stream);
    return taken;
}

std::vector<json> PacketsOf(const json& probe, const json& stream) {
    std::vector<json> packets;
    for (const json& packet : probe["packets"])
        if (packet["stream_index"] == stream["index"]) packets.push_back(packet);
    return packets;
}

void ExpectSamePackets(const WorkFolder& folder, const std::string& in, const std::string& out, bool sameBytes) {
    const std::string what = "-show_streams -show_packets -show_data_hash crc32";
    const json source = folder.Probe(in, what), copy = folder.Probe(out, what);
    const json streams = StreamsTaken(source);
    ASSERT_EQ(copy["streams"].size(), streams.size());
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const auto expected = PacketsOf(source, streams[i]), found = PacketsOf(copy, copy["streams"][i]);
        ASSERT_FALSE(expected.empty());
        ASSERT_EQ(found.size(), expected.size()) << streams[i]["codec_name"];
        EXPECT_EQ(copy["streams"][i]["time_base"], streams[i]["time_base"]);
        for (std::size_t n = 0; n < found.size(); ++n) {
            EXPECT_NEAR(Time(found[n], "pts_time"), Time(expected[n], "pts_time"), 1e-6) << n;
            EXPECT_NEAR(Time(found[n], "dts_time"), Time(expected[n], "dts_time"), 1e-6) << n;
            // Of sound in fragments the other reader tells the codec's.
            if (streams[i].contains("nb_frames")) {
                EXPECT_NEAR(Time(found[n], "duration_time"), Time(expected[n], "duration_time"), 1e-6) << n;
            }
            EXPECT_EQ(found[n]["flags"], expected[n]["flags"]) << n;
            if (sameBytes || n > 0 || streams[i]["codec_type"] != "video") {
                EXPECT_EQ(found[n]["data_hash"], expected[n]["data_hash"]) << n;
            }
        }
    }
}

class Copies : public testing::TestWithParam<CopyCase> {};

TEST_P(Copies, HaveThePacketsOfTheirSource) {
    const CopyCase& one = GetParam();
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + one.arguments + " " + one.file);
    const RunResult result = folder.Tool(std::string("remux --json ") + one.file + " -o out.mp4");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const json summary = json::parse(result.out);
    EXPECT_EQ(summary["status"], "done");
    EXPECT_EQ(summary["warnings"], json::array());
    EXPECT_EQ(summary["left_out"].size(), *one.leftOut ? 1u : 0u);
    if (*one.leftOut) {
        EXPECT_EQ(summary["left_out"][0]["entry"], one.leftOut);
        EXPECT_THAT(summary["left_out"][0]["reason"].get<std::string>(), testing::HasSubstr(one.reason));
    }
    ExpectSamePackets(folder, one.file, "out.mp4", one.sameBytes);
    if (one.sameBytes) return;
    for (const char* seek : {"", "-ss 1.3"}) {
        const auto hashes = Decode(folder, one.file, seek).hashes;
        EXPECT_GT(hashes.size(), 10u);
        EXPECT_EQ(Decode(folder, "out.mp4", seek).hashes, hashes) << seek;
    }
}

INSTANTIATE_TEST_SUITE_P(Remux, Copies, testing::ValuesIn(kCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(Remux, KeepsWhatLiesBeforeTheStartAndTurnsAndCopiesOfCopies) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + BOTH "whole.mp4");
    // The cut begins between two keys: what is decoded and not shown lies in front of 0, of both tracks.
    folder.Ffmpeg("-ss 1.3 -i whole.mp4 -c copy -metadata:s:v rotate=90 in.mp4");
    ASSERT_EQ(folder.Tool("remux -q in.mp4 -o out.mp4").status, 0);
    ExpectSamePackets(folder, "in.mp4", "out.mp4", true);
    ASSERT_EQ(folder.Tool("remux -q out.mp4 -o again.mp4 --faststart").status, 0);
    ExpectSamePackets(folder, "in.mp4", "again.mp4", true);
    const json in = folder.Probe("in.mp4", "-show_streams"), out = folder.Probe("again.mp4", "-show_streams");
    const json::json_pointer turn("/streams/0/side_data_list/0/rotation");
    ASSERT_TRUE(in.contains(turn));
    EXPECT_EQ(out[turn], in[turn]);
    EXPECT_LT(folder.Read("again.mp4").find("moov"), folder.Read("again.mp4").find("mdat"));
}

TEST(Remux, SaysWhyNothingIsCopied) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + "-c:v mpeg4 -c:a ac3 other.mp4");
    folder.Ffmpeg(std::string(kInputs) + BOTH "in.mp4");
    const std::string before = folder.Read("in.mp4");
    ASSERT_EQ(folder.Run("ln in.mp4 hard.mp4 && ln -s in.mp4 soft.mp4").status, 0);
    folder.Write("there.mp4", "there");
    folder.Write("text.mp4", "this is no movie");
    const struct {
        const char* arguments;
        const char* error;
    } cases[] = {
        {"other.mp4 -o out.mp4", "other.mp4: has no track that can be copied: Output_0, track 1 (mp4v): "},
        {"text.mp4 -o out.mp4", "text.mp4: cannot be played"},
        {"none.mp4 -o out.mp4", "none.mp4: cannot be opened: no such file"},
        {"in.mp4 -o there.mp4", "there.mp4: exists; --force replaces it"},
        {"in.mp4 -o in.mp4 --force", "in.mp4: is an input as well"},
        {"in.mp4 -o hard.mp4 --force", "hard.mp4: is an input as well"},
        {"in.mp4 -o soft.mp4 --force", "soft.mp4: is an input as well"},
        {"in.mp4 -o none/out.mp4", "none/out.mp4: cannot be created: no such folder"},
    };
    for (const auto& one : cases) {
        const RunResult result = folder.Tool(std::string("remux ") + one.arguments);
        EXPECT_EQ(result.status, 1) << one.arguments;
        EXPECT_THAT(result.err, testing::StartsWith(std::string("mediakit: ") + one.error));
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(folder.Has("out.mp4")) << one.arguments;
    }
    EXPECT_EQ(folder.Read("in.mp4"), before);
    EXPECT_EQ(folder.Read("there.mp4"), "there");
    EXPECT_EQ(folder.Tool("remux -q in.mp4 -o there.mp4 --force").status, 0);
    for (const char* arguments : {"remux in.mp4 -o -", "remux in.mp4 -o ''", "extract in.mp4 -o ''",
                                  "record --video in.mp4 -o -", "record --video in.mp4 -o ''"})
        EXPECT_EQ(folder.Tool(arguments).status, 2) << arguments;
}

TEST(Remux, CopiesWhatIsThereOfAFileThatIsCutOff) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + BOTH "-movflags +faststart whole.mp4");
    const std::string whole = folder.Read("whole.mp4");
    folder.Write("in.mp4", whole.substr(0, whole.size() * 2 / 3));
    const RunResult result = folder.Tool("remux --json in.mp4 -o out.mp4");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, testing::StartsWith("mediakit: in.mp4: reading failed"));
    const json summary = json::parse(result.out);
    EXPECT_EQ(summary["status"], "failed");
    const json probe = folder.Probe("out.mp4", "-count_packets -show_streams");
    ASSERT_EQ(probe["streams"].size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        const std::uint64_t copied = summary["tracks"][i]["samples"];
        EXPECT_GT(copied, 10u);
        EXPECT_EQ(probe["streams"][i]["nb_read_packets"], std::to_string(copied));
    }
}

TEST(Remux, TakesNoMoreRoomThanItNeedsAndFinishesOnAFullDisk) {
    const WorkFolder folder;
    const std::string onSmallDisk = "unshare -rm sh -c 'mkdir -p disk && mount -t tmpfs -o size=2m none disk && ";
    if (folder.Run(onSmallDisk + "true'").status != 0) GTEST_SKIP() << "no disk of its own for a test";
    folder.Ffmpeg(std::string(kInputs) + BOTH "small.mp4");
    folder.Ffmpeg(
        "-f lavfi -i testsrc2=size=640x480:rate=25:duration=8 -f lavfi -i sine=duration=8 -c:v libx264 "
        "-preset ultrafast -b:v 3M -c:a aac big.mp4");
    const auto copy = [&](const std::string& file) {
        return folder.Run(onSmallDisk + MEDIAKIT_PROGRAM " remux --json " + file +
                          " -o disk/out.mp4; status=$?; cp disk/out.mp4 . && exit $status'");
    };
    EXPECT_EQ(copy("small.mp4").status, 0);
    ExpectSamePackets(folder, "small.mp4", "out.mp4", true);

    const RunResult full = copy("big.mp4");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, testing::HasSubstr("the disk is full; the copy ends where its index still fits"));
    EXPECT_GT(folder.Read("out.mp4").size(), 3u << 19) << "most of the disk is used";
    const json probe = folder.Probe("out.mp4", "-count_packets -show_streams"), summary = json::parse(full.out);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(probe["streams"][i]["nb_read_packets"], std::to_string(summary["tracks"][i]["samples"].get<int>()));
}

TEST(Remux, LeavesOutATrackOfWhichNothingCanBeRead) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + BOTH "-movflags frag_keyframe+empty_moov+default_base_moof whole.mp4");
    const json probe = folder.Probe("whole.mp4", "-select_streams a -show_packets -read_intervals %+#1");
    const std::string whole = folder.Read("whole.mp4");
    folder.Write("in.mp4", whole.substr(0, std::stoul(probe["packets"][0]["pos"].get<std::string>())));
    const RunResult result = folder.Tool("remux --json in.mp4 -o out.mp4");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, testing::StartsWith("mediakit: in.mp4: reading failed"));
    const json summary = json::parse(result.out);
    ASSERT_EQ(summary["left_out"].size(), 1u);
    EXPECT_EQ(summary["left_out"][0]["pin"], "Output_1");
    EXPECT_EQ(summary["left_out"][0]["reason"], "its first sample cannot be read");
    ASSERT_EQ(summary["tracks"].size(), 1u);
    EXPECT_EQ(summary["tracks"][0]["samples"], 12) << "a fragment's pictures lie in front of its sound";
    EXPECT_EQ(Decode(folder, "out.mp4").hashes.size(), 12u);
}

TEST(Remux, LeavesOutASampleOfWhichNothingIsLeft) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + X265 "-tag:v hvc1 -an whole.mp4");
    const json packet = folder.Probe("whole.mp4", "-show_packets")["packets"][12];
    std::string bytes = folder.Read("whole.mp4");
    bytes.replace(std::stoul(packet["pos"].get<std::string>()), 4, "\x7F\xFF\xFF\xFF");
    folder.Write("in.mp4", bytes);
    const RunResult result = folder.Tool("remux --json in.mp4 -o out.mp4");
    ASSERT_EQ(result.status, 0) << result.err;
    const json summary = json::parse(result.out);
    EXPECT_EQ(summary["tracks"][0]["samples"], 49);
    ASSERT_EQ(summary["warnings"].size(), 1u);
    EXPECT_EQ(summary["warnings"][0], "in.mp4: Output_0: 1 damaged sample; what could be read was copied");
    const json copy = folder.Probe("out.mp4", "-show_packets");
    ASSERT_EQ(copy["packets"].size(), 49u);
    for (const json& copied : copy["packets"]) EXPECT_NE(copied["size"], "0");
}

movie_track Pictures(std::size_t count, unsigned lengthSize) {
    const h264_units units(1, 1, 25);
    byte_vector record = avcc_record(units).bytes();
    record[4] = static_cast<std::uint8_t>(0xFC | (lengthSize - 1));
    movie_track track;
    track.timescale = 25;
    track.entry = visual_entry("avc1", units.width(), units.height(), make_box("avcC", box_builder().add(record)));
    for (const byte_vector& unit : units.units(count, 5))
        track.samples.push_back({with_lengths(split_annex_b(unit), lengthSize), 1, 0, track.samples.size() % 5 == 0});
    return track;
}

movie_track Sound(std::size_t count) {
    movie_track track;
    track.handler = "soun";
    track.timescale = 48000;
    track.entry = aac_entry();
    track.with_stss = false;
    for (std::size_t i = 0; i < count; ++i)
        track.samples.push_back({byte_vector(5 + i % 11, static_cast<std::uint8_t>(0x21)), 1024});
    return track;
}

std::string Text(const movie_file& file) {
    const auto bytes = file.bytes();
    return {bytes.begin(), bytes.end()};
}

TEST(Remux, GivesShortLengthPrefixesTheFormOfTheCopy) {
    const WorkFolder folder;
    folder.Write("in.mp4", Text({.tracks = {Pictures(12, 2)}}));
    ASSERT_EQ(folder.Tool("remux -q in.mp4 -o out.mp4").status, 0);
    const auto hashes = Decode(folder, "in.mp4").hashes;
    EXPECT_EQ(hashes.size(), 12u);
    EXPECT_EQ(Decode(folder, "out.mp4").hashes, hashes);
}

// The multiplexer keeps the pictures until their times have come as far as the sound: of pictures without durations
// that is all there are, many more than there are buffers.
TEST(Remux, TracksThatNeedEachOtherDoNotWaitForEachOther) {
    const WorkFolder folder;
    movie_file file{.tracks = {Pictures(900, 4), Sound(300)}};
    for (std::size_t i = 100; i < 800; ++i) file.tracks[0].samples[i].duration = 0;
    folder.Write("in.mp4", Text(file));
    const RunResult result = folder.Run("timeout 60 " MEDIAKIT_PROGRAM " remux --json in.mp4 -o out.mp4");
    ASSERT_EQ(result.status, 0) << result.err;
    const json summary = json::parse(result.out);
    EXPECT_EQ(summary["tracks"][0]["samples"], 900);
    EXPECT_EQ(summary["tracks"][1]["samples"], 300);
}

}  // namespace
}  // namespace mediakit_test
