// Files as another writer makes them: read as that writer's own reader reads them.
#include "Testing/Tool/reading_check.h"

#include <gmock/gmock.h>

namespace mediakit_test {
namespace {

struct FileCase {
    const char* name;
    const char* file;       ///< its ending chooses the form
    const char* arguments;  ///< inputs stand in front: 0 pictures, 1 sound
    PeerExpectation expectation = {};
};

std::ostream& operator<<(std::ostream& out, const FileCase& one) { return out << one.name; }

constexpr const char* kInputs =
    "-f lavfi -i testsrc2=size=64x48:rate=25:duration=1.5 -f lavfi -i sine=sample_rate=44100:duration=1.5 ";
#define X264 "-c:v libx264 -preset ultrafast -threads 1 -pix_fmt yuv420p -g 12 -bf 2 "
#define X265                                                        \
    "-c:v libx265 -preset ultrafast -pix_fmt yuv420p -x265-params " \
    "log-level=none:pools=none:frame-threads=1:keyint=12 "
#define BOTH X264 "-c:a aac -b:a 64k "

// clang-format off: a row a case
const FileCase kCases[] = {
    {"Plain", "in.mp4", BOTH},
    {"IndexInFront", "in.mp4", BOTH "-movflags +faststart"},
    {"NoReordering", "in.mp4", X264 "-bf 0 -c:a aac -video_track_timescale 90000"},
    {"EverySampleSync", "in.mp4", X264 "-g 1"},
    {"SecondsPerPicture", "in.mp4", "-vf setpts=N*3/TB " X264 "-an -r 1/3"},
    {"FragmentsAtKeys", "in.mp4", BOTH "-movflags frag_keyframe+empty_moov"},
    {"FragmentsDefaultBase", "in.mp4", BOTH "-movflags frag_keyframe+empty_moov+default_base_moof"},
    // The data of the second track begin behind those of the first.
    {"FragmentsNoBase", "in.mp4", BOTH "-movflags frag_keyframe+empty_moov+omit_tfhd_offset"},
    {"FragmentsBehindSamples", "in.mp4", BOTH "-movflags frag_keyframe"},
    {"FragmentsOfOneTrack", "in.mp4", BOTH "-movflags frag_keyframe+empty_moov+separate_moof"},
    {"FragmentPerPicture", "in.mp4", BOTH "-movflags frag_every_frame+delay_moov"},
    // Keys that do not begin a fragment are not marked in the file; the peer finds them all the same.
    {"FragmentsInterleaved",
     "in.mp4",
     BOTH "-frag_duration 500000 -frag_interleave 3 -movflags empty_moov",
     {.keys = false}},
    {"Dash", "in.mp4", BOTH "-movflags dash+frag_keyframe+delay_moov+default_base_moof"},
    {"GlobalIndexOfSegments", "in.mp4", BOTH "-movflags dash+frag_keyframe+empty_moov+global_sidx"},
    // The peer moves decode times until no picture is shown before it is decoded.
    {"NegativeOffsets", "in.mp4", BOTH "-movflags negative_cts_offsets", {.origin = false}},
    {"Cmaf", "in.mp4", BOTH "-movflags cmaf+frag_keyframe+delay_moov", {.origin = false}},
    {"EmptyEdit", "in.mp4", "-itsoffset 0.5 -f lavfi -i sine=duration=1 -map 0:v -map 2:a " BOTH},
    {"SeveralTracks", "in.mp4",
     "-map 0:v -map 1:a -map 0:v -map 1:a -map 1:a " X264 "-s:v:1 32x32 -c:a:0 aac "
     "-c:a:1 libmp3lame -c:a:2 ac3"},
    {"H265Hev1", "in.mp4", X265 "-c:a ac3"},
    {"H265Hvc1Fragments", "in.mp4", X265 "-tag:v hvc1 -movflags frag_keyframe+empty_moov"},
    {"Avc3", "in.mp4", X264 "-tag:v avc3 -bsf:v dump_extra"},
    {"Mpeg4", "in.mp4", "-c:v mpeg4 -g 10 -bf 2 -c:a libmp3lame"},
    {"Mpeg4LowRates", "in.mp4", "-c:v mpeg4 -vf setsar=16/11 -c:a mp2 -ar 22050 -ac 2"},
    {"MotionJpeg", "in.mp4", "-c:v mjpeg -pix_fmt yuvj420p -c:a aac -ac 6 -b:a 200k"},
    {"MovTwos", "in.mov", X264 "-c:a pcm_s16be"},
    {"MovSowtStereo", "in.mov", X264 "-c:a pcm_s16le -ac 2"},
    {"MovSoundVersion1", "in.mov", BOTH},
    {"MovFragments", "in.mov", X264 "-c:a pcm_s16le -movflags frag_keyframe+empty_moov"},
    {"MovTimecode", "in.mov", BOTH "-timecode 01:00:00:00"},
    {"UnknownSound", "in.mp4", X264 "-c:a libopus", {.leftOut = 1}},
};
// clang-format on

class FilesOfOtherWriters : public testing::TestWithParam<FileCase> {};

TEST_P(FilesOfOtherWriters, AreReadAsTheyReadThemselves) {
    const FileCase& one = GetParam();
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + one.arguments + " " + one.file);
    ExpectSamplesAsPeer(folder, one.file, one.expectation);
    ExpectExtractsAsPeer(folder, one.file);
}

// The peer writes the matrix of a stream that it copies, and counts its rotation against the clock.
TEST(OtherWriters, TurnsOfPicturesAreTold) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + BOTH "in.mp4");
    for (const char* turn : {"0", "90", "180", "270"}) {
        folder.Ffmpeg(std::string("-i in.mp4 -c copy -metadata:s:v rotate=") + turn + " turned.mp4");
        const auto stream = folder.Probe("turned.mp4", "-show_streams")["streams"][0];
        const int wanted = stream.contains("side_data_list") ? stream["side_data_list"][0]["rotation"].get<int>() : 0;
        const auto info = nlohmann::json::parse(folder.Tool("info --json turned.mp4").out, nullptr, false);
        EXPECT_EQ(info["tracks"][0]["rotation"], (360 - wanted) % 360) << turn;
        EXPECT_EQ(std::string(turn) == "0", wanted == 0);
    }
}

// By itself the demultiplexer knows sync samples by their table alone, and no avc3.
TEST(OtherWriters, AreReadToTheLetterWhenAskedTo) {
    const WorkFolder folder;
    folder.Ffmpeg(std::string(kInputs) + BOTH "in.mp4");
    std::vector<ReadPin> pins = ReadSamples(folder, "in.mp4", "--strict");
    ASSERT_EQ(pins.size(), 2u);
    EXPECT_EQ(pins[0], ReadSamples(folder, "in.mp4")[0]);
    ReadPin sound = ReadSamples(folder, "in.mp4")[1];
    for (ReadSample& one : sound.samples) one.sync = false;
    EXPECT_EQ(pins[1], sound);

    folder.Ffmpeg(std::string(kInputs) + BOTH "-tag:v avc3 in.mp4");
    pins = ReadSamples(folder, "in.mp4", "--strict");
    ASSERT_EQ(pins.size(), 1u);
    EXPECT_EQ(pins[0].entry, "mp4a");
}

INSTANTIATE_TEST_SUITE_P(Peer, FilesOfOtherWriters, testing::ValuesIn(kCases),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace mediakit_test
