// What the program says and does when something is wrong.
#include "Testing/Tool/recording_check.h"

#include <gmock/gmock.h>

namespace mediakit_test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

class BadInput : public testing::Test {
protected:
    BadInput() {
        for (const char* clip : {"clip.h264", "clip.h265", "clip.aac"})
            std::filesystem::copy_file(std::string(MEDIAKIT_SAMPLES "/") + clip, m_folder.Path(clip));
    }
    /// Runs, expects status 1 and a message with the text, and no output left behind.
    void ExpectFailure(const std::string& arguments, const std::string& text) {
        const RunResult run = m_folder.Tool("record -o out.mp4 " + arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_THAT(run.err, HasSubstr("mediakit: ")) << arguments;
        EXPECT_THAT(run.err, HasSubstr(text)) << arguments;
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_FALSE(m_folder.Has("out.mp4")) << arguments;
    }
    WorkFolder m_folder;
};

TEST_F(BadInput, SaysWhatIsWrongAndLeavesNothingBehind) {
    m_folder.Write("empty", "");
    m_folder.Write("zeros", std::string(100'000, '\0'));
    m_folder.Write("text", "All work and no play makes Jack a dull boy.\n");
    m_folder.Ffmpeg("-i clip.h264 -c copy -f mp4 movie.mp4 2>/dev/null");
    m_folder.Ffmpeg("-i clip.h264 -c copy -bsf:v filter_units=remove_types=7 -f h264 nosps.h264 2>/dev/null");
    m_folder.Ffmpeg("-i clip.h264 -c copy -bsf:v filter_units=remove_types=8 -f h264 nopps.h264 2>/dev/null");
    m_folder.Ffmpeg("-i clip.h265 -c copy -bsf:v filter_units=remove_types=33 -f hevc nosps.h265 2>/dev/null");
    m_folder.Ffmpeg("-i clip.h264 -c copy -bsf:v filter_units=remove_types=5 -f h264 noidr.h264 2>/dev/null");
    m_folder.Ffmpeg("-f lavfi -i testsrc=size=64x64:rate=5 -frames:v 3 -c:v libx264 -pix_fmt yuv444p -f h264 444.h264");

    ExpectFailure("--video missing.h264", "missing.h264: cannot be opened: no such file");
    ExpectFailure("--video .", "cannot be opened");
    ExpectFailure("--video empty", "empty: the input is empty");
    ExpectFailure("--audio empty", "empty: the input is empty");
    ExpectFailure("--video zeros", "no H.264 or H.265 video in Annex B form in 100000 bytes");
    ExpectFailure("--video text", "no H.264 or H.265 video");
    ExpectFailure("--audio text", "no AAC frame in ADTS form");
    ExpectFailure("--video movie.mp4", "looks like an MP4 file");
    ExpectFailure("--audio movie.mp4", "looks like an MP4 file");
    ExpectFailure("--video clip.aac", "give it with --audio");
    ExpectFailure("--audio clip.h265", "give it with --video");
    ExpectFailure("--video nosps.h264", "no sequence parameter set");
    ExpectFailure("--video nosps.h265", "no sequence parameter set");
    ExpectFailure("--video nopps.h264", "no slice whose parameter sets are there");
    ExpectFailure("--video noidr.h264", "no picture to start at");
    ExpectFailure("--video 444.h264", "High 4:4:4 Predictive cannot be recorded");
    ExpectFailure("--video clip.h264 --audio empty", "empty: the input is empty");
    ExpectFailure("--video - </dev/null", "standard input: the input is empty");
}

TEST_F(BadInput, WrongUsage) {
    for (const char* arguments :
         {"", "record", "record -o out.mp4", "record -o out.mp4 --video clip.h264 --fps 0",
          "record -o out.mp4 --video - --audio -", "record -o out.mp4 --video clip.h264 --what"}) {
        const RunResult run = m_folder.Tool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_NE(run.err, "") << arguments;
    }
}

TEST_F(BadInput, TheOutputIsNeverAnInput) {
    const std::string before = m_folder.Read("clip.h264");
    m_folder.Run("ln clip.h264 same.mp4; ln -s clip.aac sound.mp4");
    for (const char* arguments :
         {"--force -o clip.h264 --video clip.h264", "--force -o same.mp4 --video clip.h264",
          "--force -o same.mp4 --video - <clip.h264", "--force -o sound.mp4 --video clip.h264 --audio clip.aac"}) {
        const RunResult run = m_folder.Tool(std::string("record ") + arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err, HasSubstr("is an input as well")) << arguments;
    }
    EXPECT_EQ(m_folder.Read("clip.h264"), before);
    EXPECT_EQ(m_folder.Read("clip.aac"), m_folder.Read("sound.mp4"));
}

TEST_F(BadInput, AnExistingOutputStaysWithoutForce) {
    m_folder.Write("out.mp4", "precious");
    const RunResult run = m_folder.Tool("record -o out.mp4 --video clip.h264");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("--force"));
    EXPECT_EQ(m_folder.Tool("record --force -o out.mp4 --video missing").status, 1);
    EXPECT_EQ(m_folder.Read("out.mp4"), "precious");
    EXPECT_EQ(m_folder.Tool("record --force -o out.mp4 --video clip.h264").status, 0);
    ExpectSameVideo(m_folder, "out.mp4", {"clip.h264"});
}

TEST_F(BadInput, AnOutputThatCannotBeMade) {
    const RunResult run = m_folder.Tool("record -o nowhere/out.mp4 --video clip.h264");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("nowhere/out.mp4: cannot be created: no such folder"));
    EXPECT_THAT(m_folder.Tool("record --force -o /proc/out.mp4 --video clip.h264").err, HasSubstr("/proc/out.mp4: "));
}

TEST_F(BadInput, JunkInFrontAndACutTail) {
    m_folder.Run("(printf 'some junk'; head -c -100 clip.h264) >in.h264");
    const RunResult run = m_folder.Tool("record -o out.mp4 --video in.h264");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("warning: in.h264: byte 0: 9 bytes"));
    const auto probe = m_folder.Probe("out.mp4", "-count_packets -show_streams");
    EXPECT_THAT(probe["streams"][0]["nb_read_packets"], AnyOf("149", "150"));
}

// Cut in the middle of a group of pictures: what is left decodes to the end of the whole.
TEST_F(BadInput, AStreamThatBeginsInTheMiddle) {
    for (const char* clip : {"clip.h264", "clip.h265"}) {
        m_folder.Run("tail -c $(($(wc -c <" + std::string(clip) + ") * 7 / 10)) " + clip + " >in");
        const RunResult run = m_folder.Tool("record --force -o out.mp4 --video in");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr("the recording starts here"));
        const DecodedPictures whole = Decode(m_folder, clip), got = Decode(m_folder, "out.mp4");
        ASSERT_GT(got.hashes.size(), 20u);
        ASSERT_LT(got.hashes.size(), whole.hashes.size());
        EXPECT_EQ(got.hashes,
                  std::vector(whole.hashes.end() - static_cast<std::ptrdiff_t>(got.hashes.size()), whole.hashes.end()));
        EXPECT_NEAR(got.times.back(), static_cast<double>(got.hashes.size() - 1) / 25, 1e-4);
    }
}

TEST_F(BadInput, DamageInsideIsPassedOverWithOneWarning) {
    std::string bytes = m_folder.Read("clip.aac");
    for (std::size_t at : {bytes.size() / 3, bytes.size() / 2}) bytes.replace(at, 600, 600, 'x');
    m_folder.Write("in.aac", bytes);
    const RunResult run = m_folder.Tool("record -o out.mp4 --audio in.aac");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("that are no AAC frame are passed over"));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    const auto packets = m_folder.Probe("out.mp4", "-count_packets -show_streams")["streams"][0]["nb_read_packets"];
    EXPECT_GT(std::stoi(packets.get<std::string>()), 250);
}

TEST_F(BadInput, AFailingWriteEndsTheRecording) {
    m_folder.Run("for i in 1 2 3 4 5 6 7 8 9; do cat clip.h264; done >in.h264");
    const RunResult run = m_folder.Run("ulimit -f 400\n" MEDIAKIT_PROGRAM " record -o out.mp4 --video in.h264");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("out.mp4: byte "));
    EXPECT_THAT(run.err, HasSubstr("writing failed: the file would be larger than the system allows"));
    EXPECT_GT(std::filesystem::file_size(m_folder.Path("out.mp4")), 100'000u);
}

TEST_F(BadInput, AFullDiskLeavesAPlayableFile) {
    if (m_folder.Run("unshare -rm true").status != 0) GTEST_SKIP() << "no small disk can be made here";
    m_folder.Run(
        "mkdir disk; for i in 1 2 3 4 5 6 7 8 9 0; do cat clip.h264; done >ten; cat ten ten ten ten ten ten >in.h264");
    const RunResult run = m_folder.Run("unshare -rm sh -c 'mount -t tmpfs -o size=4m none disk && " MEDIAKIT_PROGRAM
                                       " record -o disk/out.mp4 --json --video in.h264; status=$?; "
                                       "cp disk/out.mp4 out.mp4; exit $status'");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("disk/out.mp4: byte "));
    EXPECT_THAT(run.err, HasSubstr("the disk is full; the recording ends where its index still fits"));
    EXPECT_GT(std::filesystem::file_size(m_folder.Path("out.mp4")), 2'500'000u);
    const DecodedPictures got = Decode(m_folder, "out.mp4");
    EXPECT_EQ(nlohmann::json::parse(run.out)["tracks"][0]["samples"], got.hashes.size());
}

}  // namespace
}  // namespace mediakit_test
