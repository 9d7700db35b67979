// Recordings of what encoders make, compared picture by picture with the input decoded directly.
#include "Testing/Kit/h264_units.h"
#include "Testing/Tool/reading_check.h"
#include "Testing/Tool/recording_check.h"

#include <gtest/gtest.h>

namespace mediakit_test {
namespace {

struct VideoCase {
    const char* name;
    const char* format;  ///< h264 or hevc
    const char* size;
    Rate rate;
    int pictures;
    const char* encoder;  ///< options
    bool compareKeys = true;
};

std::ostream& operator<<(std::ostream& out, const VideoCase& one) { return out << one.name; }

constexpr const char* kX265 = "-c:v libx265 -preset ultrafast -x265-params log-level=none:pools=none:frame-threads=1:";

// clang-format off: a row a case
const VideoCase kVideoCases[] = {
    {"Baseline", "h264", "64x48", {25, 1}, 60, "-c:v libx264 -profile:v baseline -g 20"},
    {"MainOneB", "h264", "96x64", {30, 1}, 60, "-c:v libx264 -profile:v main -bf 1 -g 30"},
    {"HighTwoBNoPyramid",
     "h264",
     "128x96",
     {50, 1},
     75,
     "-c:v libx264 -profile:v high -bf 2 -x264-params b-pyramid=none:b-adapt=0:keyint=25"},
    {"HighPyramidFilm",
     "h264",
     "128x96",
     {24000, 1001},
     72,
     "-c:v libx264 -bf 3 -x264-params b-pyramid=normal:b-adapt=0:ref=4:keyint=24"},
    // Random access pictures here are no IDR pictures, which the peer calls keys all the same.
    {"OpenGop",
     "h264",
     "96x64",
     {25, 1},
     80,
     "-c:v libx264 -bf 3 -x264-params open-gop=1:b-pyramid=strict:b-adapt=0:keyint=16:min-keyint=4",
     false},
    {"Interlaced",
     "h264",
     "96x96",
     {25, 1},
     50,
     "-c:v libx264 -flags +ilme+ildct -bf 2 -x264-params tff=1:keyint=20:weightp=0"},
    {"FourSlicesWithDelimiters",
     "h264",
     "128x128",
     {30000, 1001},
     60,
     "-c:v libx264 -bf 2 -x264-params slices=4:aud=1:keyint=15"},
    {"SixtyVariableGops",
     "h264",
     "64x48",
     {60, 1},
     120,
     "-c:v libx264 -bf 3 -force_key_frames 'expr:eq(n,7)+eq(n,11)+eq(n,64)'"},
    {"CroppedIntraOnly", "h264", "130x98", {60000, 1001}, 40, "-c:v libx264 -g 1"},
    {"OneLongGop", "h264", "64x48", {25, 1}, 400, "-c:v libx264 -preset ultrafast -bf 2 -g 1000 -sc_threshold 0"},
    {"High422TenBit", "h264", "96x64", {25, 1}, 40, "-c:v libx264 -pix_fmt yuv422p10le -bf 2 -g 20"},
    {"High10", "h264", "96x64", {12, 1}, 30, "-c:v libx264 -pix_fmt yuv420p10le -bf 3 -g 20"},
    {"WidePixels", "h264", "64x48", {15, 1}, 30, "-c:v libx264 -vf setsar=16/11 -bf 1 -g 10"},
    {"H265NoB", "hevc", "128x96", {25, 1}, 50, "bframes=0:keyint=20"},
    {"H265ManyB", "hevc", "128x96", {30000, 1001}, 60, "bframes=4:b-adapt=0:b-pyramid=1:keyint=24:open-gop=1"},
    {"H265ClosedGopsCropped", "hevc", "130x98", {50, 1}, 60, "bframes=3:keyint=15:open-gop=0:aud=1"},
    {"H265TwoSlices", "hevc", "192x162", {25, 1}, 30, "bframes=2:keyint=15:slices=2"},
    {"H265Main10", "hevc", "128x96", {24000, 1001}, 50, "bframes=3:b-adapt=0:keyint=25 -pix_fmt yuv420p10le"},
};
// clang-format on

/// The units that recordings keep: no delimiters, parameter sets, messages and fillers. ISO/IEC 14496-10, table 7-1,
/// and ISO/IEC 23008-2, table 7-1.
std::vector<byte_vector> KeptUnits(const std::string& stream, bool h265) {
    std::vector<byte_vector> units = split_annex_b({stream.begin(), stream.end()});
    std::erase_if(units, [h265](const byte_vector& unit) {
        const unsigned type = h265 ? unit[0] >> 1 & 0x3F : unit[0] & 0x1F;
        return type >= (h265 ? 32u : 6u);
    });
    return units;
}

void ExpectReadBack(const WorkFolder& folder, const std::string& recording, const std::string& input, bool h265) {
    ExpectSamplesAsPeer(folder, recording);
    const RunResult run = folder.Tool("extract -q " + recording + " -o extracted");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(KeptUnits(folder.Read("extracted"), h265) == KeptUnits(folder.Read(input), h265));
    EXPECT_EQ(Decode(folder, "extracted").hashes, Decode(folder, input).hashes);
}

class RecordsVideo : public testing::TestWithParam<VideoCase> {};

TEST_P(RecordsVideo, AsDecodedDirectly) {
    const VideoCase& one = GetParam();
    const WorkFolder folder;
    const bool h265 = std::string(one.format) == "hevc";
    const std::string rate = std::to_string(one.rate.num) + "/" + std::to_string(one.rate.den);
    const std::string pixels =
        std::string(one.encoder).find("pix_fmt") == std::string::npos ? " -pix_fmt yuv420p " : " ";
    folder.Ffmpeg("-f lavfi -i testsrc2=size=" + std::string(one.size) + ":rate=" + rate + " -frames:v " +
                  std::to_string(one.pictures) + pixels + "-threads 1 " + (h265 ? kX265 : "") + one.encoder + " -f " +
                  one.format + " in.bin");
    const RunResult run = folder.Tool("record -o out.mp4 --video in.bin --json");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const auto summary = nlohmann::json::parse(run.out);
    EXPECT_EQ(summary["tracks"][0]["samples"], one.pictures);
    EXPECT_EQ(summary["tracks"][0]["codec"], h265 ? "H.265" : "H.264");
    EXPECT_EQ(summary["tracks"][0]["frame_rate"], rate);
    EXPECT_EQ(summary["size"], std::filesystem::file_size(folder.Path("out.mp4")));
    ExpectSameVideo(folder, "out.mp4", {"in.bin", one.rate, one.compareKeys});
    const auto stream = folder.Probe("out.mp4", "-show_streams")["streams"][0];
    EXPECT_EQ(std::to_string(stream["width"].get<int>()) + "x" + std::to_string(stream["height"].get<int>()), one.size);
    EXPECT_EQ(summary["tracks"][0]["width"], stream["width"]);
    EXPECT_EQ(summary["tracks"][0]["height"], stream["height"]);
    ExpectReadBack(folder, "out.mp4", "in.bin", h265);
}

INSTANTIATE_TEST_SUITE_P(Encoders, RecordsVideo, testing::ValuesIn(kVideoCases),
                         [](const auto& one) { return std::string(one.param.name); });

struct AudioCase {
    const char* name;
    const char* rate;
    const char* layout;
    int channels;
};

std::ostream& operator<<(std::ostream& out, const AudioCase& one) { return out << one.name; }

// clang-format off: a row a case
const AudioCase kAudioCases[] = {
    {"Mono", "44100", "mono", 1},         {"Stereo", "48000", "stereo", 2},
    {"Low", "16000", "stereo", 2},        {"FivePointOne", "48000", "5.1", 6},
    {"SevenPointOne", "48000", "7.1", 8}, {"Quad", "48000", "quad", 4},  // has its channels in a program configuration
};
// clang-format on

class RecordsAudio : public testing::TestWithParam<AudioCase> {};

TEST_P(RecordsAudio, AsDecodedDirectly) {
    const AudioCase& one = GetParam();
    const WorkFolder folder;
    std::string tones;
    for (int i = 0; i < one.channels; ++i)
        tones += (i > 0 ? "|" : "") + ("sin(" + std::to_string(700 + 400 * i)) + "*t)";
    folder.Ffmpeg("-f lavfi -i aevalsrc='" + tones + "':s=" + one.rate + ":c=" + one.layout +
                  ":d=2 -c:a aac -b:a 96k -f adts in.aac");
    const RunResult run = folder.Tool("record -o out.mp4 --audio in.aac --json");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    ExpectSameAudio(folder, "out.mp4", 0, "in.aac");
    ExpectSamplesAsPeer(folder, "out.mp4");
    ASSERT_EQ(folder.Tool("extract -q out.mp4 -o extracted").status, 0);
    EXPECT_TRUE(folder.Read("extracted") == folder.Read("in.aac"));
}

INSTANTIATE_TEST_SUITE_P(Encoders, RecordsAudio, testing::ValuesIn(kAudioCases),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace mediakit_test
