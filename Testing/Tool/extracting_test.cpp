// What `extract` says and does: options, outputs that fail, tracks that are damaged or have no such stream.
#include "Testing/Kit/movie_file.h"
#include "Testing/Tool/tool_run.h"

#include <gmock/gmock.h>

namespace mediakit_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Extracting : public testing::Test {
protected:
    Extracting() {
        for (const char* clip : {"clip.h264", "clip.aac"})
            std::filesystem::copy_file(std::string(MEDIAKIT_SAMPLES "/") + clip, m_folder.Path(clip));
        EXPECT_EQ(m_folder.Tool("record -q -o in.mp4 --video clip.h264 --audio clip.aac").status, 0);
    }
    /// Runs, expects status 1, the text on standard error, and no output left behind.
    void ExpectFailure(const std::string& arguments, const std::string& text) {
        const RunResult run = m_folder.Tool("extract -o out " + arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_THAT(run.err, AllOf(StartsWith("mediakit: "), HasSubstr(text))) << arguments;
        EXPECT_THAT(run.out, IsEmpty()) << arguments;
        EXPECT_FALSE(m_folder.Has("out")) << arguments;
    }
    void WriteMovie(const std::string& name, const movie_file& file) {
        const auto bytes = file.bytes();
        m_folder.Write(name, {bytes.begin(), bytes.end()});
    }
    WorkFolder m_folder;
};

TEST_F(Extracting, TakesTheVideoUnlessAskedForAnother) {
    const RunResult run = m_folder.Tool("extract in.mp4 -o out");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, IsEmpty());
    EXPECT_THAT(run.out, AllOf(HasSubstr("extracted out"), HasSubstr("Output_0, track 1 (avc1): H.264 in Annex B form, "
                                                                     "150 samples")));
    ASSERT_EQ(m_folder.Tool("extract -q in.mp4 --pin 1 -o out.aac").out, "");
    EXPECT_EQ(m_folder.Read("out.aac"), m_folder.Read("clip.aac"));
    // The stream itself, and the summary out of its way.
    const RunResult piped = m_folder.Tool("extract in.mp4 -o - | cmp - out");
    EXPECT_EQ(piped.status, 0) << piped.out;
    EXPECT_THAT(piped.err, HasSubstr("extracted standard output"));
    // A track of sound alone.
    ASSERT_EQ(m_folder.Tool("record -q -o sound.mp4 --audio clip.aac").status, 0);
    EXPECT_THAT(m_folder.Tool("extract sound.mp4 -o - | cmp - clip.aac").out, IsEmpty());
}

TEST_F(Extracting, RawIsTheSamplesAsTheyLieInTheFile) {
    WriteMovie("built.mp4", {.tracks = {{.samples = {{{0, 0, 0, 2, 0x65, 1}}, {{9, 9, 9}}}}}});
    EXPECT_EQ(m_folder.Tool("extract -q --raw built.mp4 -o out").status, 0);
    EXPECT_EQ(m_folder.Read("out"), std::string({0, 0, 0, 2, 0x65, 1, 9, 9, 9}));
}

TEST_F(Extracting, WhatEditsHideIsThereToo) {
    movie_track track{.handler = "soun", .timescale = 48000, .entry = mp4a_entry(0x6B, {}), .with_stss = false};
    std::string wanted;
    for (char c = 'a'; c < 'k'; ++c) {
        track.samples.push_back({{static_cast<std::uint8_t>(c)}, 1152});
        wanted += c;
    }
    track.edits = {{100, 1152 * 5}};
    WriteMovie("edited.mp4", {.tracks = {track}});
    EXPECT_THAT(m_folder.Tool("extract edited.mp4 -o out").out, HasSubstr("MPEG audio, 10 samples"));
    EXPECT_EQ(m_folder.Read("out"), wanted);
}

TEST_F(Extracting, SaysWhatIsWrongAndLeavesNothingBehind) {
    m_folder.Write("text", "All work and no play makes Jack a dull boy.\n");
    m_folder.Write("empty", "");
    movie_file unknown{.tracks = {{.handler = "soun", .samples = {{{1, 2}, 1}}}}};
    unknown.tracks[0].entry = audio_entry("Opus", 2, 16, 48000);
    WriteMovie("unknown.mp4", unknown);
    unknown.tracks[0].entry = mp4a_entry(0x40, bit_writer().u(5, 31).u(6, 7).u(4, 3).u(4, 2).u(16, 0).bytes());
    WriteMovie("lowdelay.mp4", unknown);

    movie_file larger{.tracks = {{.samples = {{{1, 2}, 1}}}}};
    larger.replace = [](std::string_view type, std::size_t, const box_builder& box) {
        return type == "stsz" ? make_full_box("stsz", 0, 0, box_builder().words({0, 1, 1'000'000})) : box;
    };
    WriteMovie("larger.mp4", larger);

    ExpectFailure("larger.mp4", "larger.mp4: reading failed: a sample is not in the file, which may be cut off");
    ExpectFailure("missing.mp4", "missing.mp4: cannot be opened: no such file");
    ExpectFailure("empty", "empty: is empty");
    ExpectFailure("text", "text: cannot be played");
    ExpectFailure("unknown.mp4", "unknown.mp4: no track that can be played: track 1 (Opus)");
    ExpectFailure("in.mp4 --pin 2", "in.mp4: there is no pin 2; the last one is 1");
    ExpectFailure("lowdelay.mp4", "Output_0 (mp4a): ADTS cannot tell audio object type 39; --raw writes");
    EXPECT_EQ(m_folder.Tool("extract -q lowdelay.mp4 --raw -o raw").status, 0);
    for (const char* arguments :
         {"extract in.mp4", "extract -o out", "extract in.mp4 -o - --json", "extract in.mp4 -o out --pin x"})
        EXPECT_EQ(m_folder.Tool(arguments).status, 2) << arguments;
}

TEST_F(Extracting, ReplacesNothingUnasked) {
    const std::string before = m_folder.Read("in.mp4");
    EXPECT_THAT(m_folder.Tool("extract in.mp4 -o clip.aac").err, HasSubstr("clip.aac: exists; --force replaces it"));
    EXPECT_THAT(m_folder.Tool("extract --force in.mp4 -o in.mp4").err, HasSubstr("is an input as well"));
    EXPECT_THAT(m_folder.Tool("extract in.mp4 -o nowhere/out").err, HasSubstr("no such folder"));
    m_folder.Run("ln in.mp4 hard; ln -s in.mp4 soft; ln -s . here");
    for (const char* output : {"hard", "soft", "here/in.mp4", "./in.mp4"})
        EXPECT_THAT(m_folder.Tool(std::string("extract --force in.mp4 -o ") + output).err,
                    HasSubstr(std::string(output) + ": is an input as well"));
    EXPECT_EQ(m_folder.Read("in.mp4"), before);
    EXPECT_EQ(m_folder.Tool("extract -q --force --pin 0 in.mp4 -o clip.aac").status, 0);
    EXPECT_NE(m_folder.Read("clip.aac").substr(0, 2), "\xFF\xF1");
}

TEST_F(Extracting, DamageIsToldOnceAndCounted) {
    movie_track track;
    for (const byte_vector& unit : h264_units().units(6, 3))
        track.samples.push_back({with_lengths(split_annex_b(unit)), 1, 0, track.samples.size() % 3 == 0});
    for (const std::size_t i : {2, 4}) track.samples[i].bytes.resize(track.samples[i].bytes.size() - 9);
    WriteMovie("damaged.mp4", {.tracks = {track}});
    const RunResult run = m_folder.Tool("extract damaged.mp4 -o out --json");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "mediakit: warning: damaged.mp4: Output_0: sample 2: a NAL unit reaches past the sample's end; the rest "
              "is left out\n");
    const auto summary = nlohmann::json::parse(run.out);
    EXPECT_EQ(summary["samples"], 6);
    EXPECT_EQ(summary["damaged_samples"], 2);
    EXPECT_EQ(summary["warnings"].size(), 1u);
    // The delimiters of the damaged ones are whole.
    const std::string bytes = m_folder.Read("out");
    EXPECT_EQ(split_annex_b({bytes.begin(), bytes.end()}).size(), 4u + 2 + 1 + 4 + 1 + 2);
}

TEST_F(Extracting, AFailingWriteNamesFileAndByte) {
    const RunResult run = m_folder.Run("ulimit -f 100\n" MEDIAKIT_PROGRAM " extract in.mp4 -o out --json");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("out: byte 51200: writing failed: the file would be larger than the system allows"));
    EXPECT_EQ(nlohmann::json::parse(run.out)["status"], "failed");
    EXPECT_EQ(std::filesystem::file_size(m_folder.Path("out")), 51200u);
    const RunResult full = m_folder.Tool("extract -q in.mp4 -o - >/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("standard output: byte 0: writing failed: no space left on the disk"));
}

// Who reads the stream has stopped for now, with more to come than a pipe holds.
TEST_F(Extracting, AnInterruptEndsIt) {
    m_folder.Run("for i in 1 2 3 4 5 6 7 8 9; do cat clip.h264; done >long.h264");
    ASSERT_EQ(m_folder.Tool("record -q -o long.mp4 --video long.h264").status, 0);
    const RunResult run =
        m_folder.Run("mkfifo pipe\n" MEDIAKIT_PROGRAM
                     " extract long.mp4 -o - >pipe &\nprogram=$!\nexec 3<pipe\nhead -c 1 <&3 >got\nkill -INT $program\n"
                     "(sleep 1; cat) <&3 >>got &\nwait $program\nstatus=$?\nwait\nexit $status");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("interrupted; extracted standard output"));
    const auto got = std::filesystem::file_size(m_folder.Path("got"));
    EXPECT_GT(got, 100'000u);
    EXPECT_LT(got, std::filesystem::file_size(m_folder.Path("long.h264")) * 9 / 10);
}

// The data end in the middle of a sample: what is in front of it is there, and the error is told.
TEST_F(Extracting, AFileThatIsCutEndsTheTrack) {
    ASSERT_EQ(m_folder.Tool("record -q --faststart -o front.mp4 --video clip.h264").status, 0);
    m_folder.Run("head -c 60000 front.mp4 >cut.mp4");
    const RunResult run = m_folder.Tool("extract cut.mp4 -o out --json");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("cut.mp4: reading failed"));
    EXPECT_GT(nlohmann::json::parse(run.out)["samples"], 10);
    EXPECT_GT(std::filesystem::file_size(m_folder.Path("out")), 20'000u);
}

}  // namespace
}  // namespace mediakit_test
