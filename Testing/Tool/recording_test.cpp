// What the program does with options, several tracks, pipes and interruptions.
#include "Testing/Tool/recording_check.h"

#include <gmock/gmock.h>

namespace mediakit_test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class Recording : public testing::Test {
protected:
    Recording() {
        for (const char* clip : {"clip.h264", "clip.h265", "clip.aac"})
            std::filesystem::copy_file(std::string(MEDIAKIT_SAMPLES "/") + clip, m_folder.Path(clip));
    }
    nlohmann::json Record(const std::string& arguments) {
        const RunResult run = m_folder.Tool("record --json --progress never " + arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        return nlohmann::json::parse(run.out, nullptr, false);
    }
    WorkFolder m_folder;
};

TEST_F(Recording, SeveralTracksInOneFile) {
    m_folder.Ffmpeg("-f lavfi -i sine=frequency=300:sample_rate=44100:duration=3 -c:a aac -f adts short.aac");
    const auto summary = Record("-o out.mp4 --video clip.h264 --audio clip.aac --audio short.aac");
    ASSERT_EQ(summary["tracks"].size(), 3u);
    EXPECT_EQ(summary["status"], "done");
    EXPECT_THAT(summary["warnings"], IsEmpty());
    EXPECT_EQ(summary["tracks"][2]["sample_rate"], 44100);
    EXPECT_NEAR(summary["duration"].get<double>(), 6, 0.1);
    ExpectSameVideo(m_folder, "out.mp4", {"clip.h264"});
    ExpectSameAudio(m_folder, "out.mp4", 0, "clip.aac");
    ExpectSameAudio(m_folder, "out.mp4", 1, "short.aac");
}

TEST_F(Recording, IndexInFront) {
    Record("-o out.mp4 --video clip.h265 --audio clip.aac --faststart");
    const std::string bytes = m_folder.Read("out.mp4");
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat"));
    ExpectSameVideo(m_folder, "out.mp4", {"clip.h265"});
    ExpectSameAudio(m_folder, "out.mp4", 0, "clip.aac");
}

TEST_F(Recording, RotationAndTexts) {
    for (const int degrees : {90, 180, 270}) {
        Record("-o out.mp4 --force --video clip.h264 --rotate " + std::to_string(degrees) +
               " --title 'Grüße ✓' --software 'Recorder 7'");
        const auto probe = m_folder.Probe("out.mp4", "-show_streams -show_format");
        // The reader counts against the clock.
        const int rotation = probe["streams"][0]["side_data_list"][0]["rotation"].get<int>();
        EXPECT_EQ((360 - rotation) % 360, degrees);
        const std::string bytes = m_folder.Read("out.mp4");
        EXPECT_THAT(bytes, HasSubstr("Grüße ✓"));
        EXPECT_THAT(bytes, HasSubstr("Recorder 7"));
    }
}

TEST_F(Recording, GivenRateWinsOverTheStream) {
    const auto summary = Record("-o out.mp4 --video clip.h264 --fps 30000/1001");
    EXPECT_EQ(summary["tracks"][0]["frame_rate"], "30000/1001");
    ExpectSameVideo(m_folder, "out.mp4", {"clip.h264", {30000, 1001}});
}

TEST_F(Recording, WithoutTimingTwentyFiveAreTaken) {
    m_folder.Ffmpeg(
        "-f lavfi -i testsrc2=size=64x64:rate=10 -frames:v 10 -pix_fmt yuv420p -c:v libx265 "
        "-x265-params log-level=none:pools=none:vui-timing-info=0 -f hevc in.h265");
    const RunResult run = m_folder.Tool("record -o out.mp4 --video in.h265");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("warning: in.h265: the stream does not tell its frame rate; 25"));
    ExpectSameVideo(m_folder, "out.mp4", {"in.h265"});
}

TEST_F(Recording, FromAPipe) {
    const RunResult run =
        m_folder.Run("cat clip.h264 | " MEDIAKIT_PROGRAM " record -o out.mp4 --video - --audio clip.aac");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("H.264 High level"));
    ExpectSameVideo(m_folder, "out.mp4", {"clip.h264"});
}

TEST_F(Recording, TwoPipesOfOneWriter) {
    const RunResult run = m_folder.Run("mkfifo v a\n" MEDIAKIT_PROGRAM
                                       " record -q -o out.mp4 --video v --audio a &\n"
                                       "pid=$!\n" FFMPEG_PROGRAM
                                       " -v error -nostdin -y -i clip.h264 -i clip.aac -map 0 -c copy -f h264 v "
                                       "-map 1 -c copy -f adts a\nwait $pid");
    EXPECT_EQ(run.status, 0) << run.err;
    ExpectSameVideo(m_folder, "out.mp4", {"clip.h264"});
    ExpectSameAudio(m_folder, "out.mp4", 0, "clip.aac");
}

// The pipe stays open when its content is through: only the signal ends the recording.
TEST_F(Recording, AnInterruptFinishesTheFile) {
    for (const char* signal : {"INT", "TERM"}) {
        const RunResult run = m_folder.Run(
            "mkfifo pipe\n(cat clip.h264; sleep 20) >pipe &\nwriter=$!\n"
            "timeout --preserve-status -s " +
            std::string(signal) +
            " 1 " MEDIAKIT_PROGRAM
            " record --force -o out.mp4 --json --video pipe --audio clip.aac\n"
            "status=$?\nkill $writer\nrm pipe\nexit $status");
        EXPECT_EQ(run.status, 0) << run.err;
        const auto summary = nlohmann::json::parse(run.out);
        EXPECT_EQ(summary["interrupted"], true);
        // The last picture may not be known to be whole.
        const DecodedPictures got = Decode(m_folder, "out.mp4");
        EXPECT_GE(got.hashes.size(), 149u);
        EXPECT_EQ(summary["tracks"][0]["samples"], got.hashes.size());
    }
}

TEST_F(Recording, TheSummaryAgreesWithTheFile) {
    const auto summary = Record("-o out.mp4 --video clip.h265 --audio clip.aac");
    const auto probe = m_folder.Probe("out.mp4", "-count_packets -show_streams -show_format -show_packets");
    for (int i = 0; i < 2; ++i) {
        const auto& track = summary["tracks"][i];
        const auto& stream = probe["streams"][i];
        EXPECT_EQ(std::to_string(track["samples"].get<int>()), stream["nb_read_packets"]);
        // The last frame's length is not in the sample table.
        EXPECT_NEAR(track["duration"].get<double>(), std::stod(stream["duration"].get<std::string>()), 0.022);
    }
    int keys = 0;
    for (const auto& packet : probe["packets"])
        keys += packet["codec_type"] == "video" && packet["flags"].get<std::string>()[0] == 'K';
    EXPECT_EQ(summary["tracks"][0]["sync_samples"], keys);
    EXPECT_EQ(std::to_string(summary["size"].get<int>()), probe["format"]["size"]);
    EXPECT_NEAR(summary["bit_rate"].get<double>(), std::stod(probe["format"]["bit_rate"].get<std::string>()), 100);
}

TEST_F(Recording, ProgressAndSummaryInWords) {
    const RunResult run = m_folder.Tool("record -o out.mp4 --progress always --video clip.h264");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("recorded out.mp4"));
    EXPECT_THAT(run.out, HasSubstr("320x180, 25 fps, 150 pictures"));
    EXPECT_THAT(m_folder.Tool("record -q -o quiet.mp4 --video clip.h264").out, IsEmpty());
}

TEST_F(Recording, VersionAndHelp) {
    EXPECT_THAT(m_folder.Tool("--version").out, HasSubstr("mediakit 0."));
    EXPECT_THAT(m_folder.Tool("--help").out, HasSubstr("record"));
    const RunResult help = m_folder.Tool("record --help");
    EXPECT_EQ(help.status, 0);
    for (const char* option : {"--output", "--video", "--audio", "--fps", "--faststart", "--rotate", "--title",
                               "--software", "--progress", "--force", "--quiet", "--log-level", "--json"})
        EXPECT_THAT(help.out, HasSubstr(option));
}

}  // namespace
}  // namespace mediakit_test
