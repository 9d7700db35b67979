// What `info` and `samples` tell and how, of files that can be played and of others.
#include "Testing/Tool/tool_run.h"

#include <gmock/gmock.h>

namespace mediakit_test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Reading : public testing::Test {
protected:
    Reading() {
        for (const char* clip : {"clip.h264", "clip.h265", "clip.aac"})
            std::filesystem::copy_file(std::string(MEDIAKIT_SAMPLES "/") + clip, m_folder.Path(clip));
    }
    void Record(const std::string& arguments) {
        ASSERT_EQ(m_folder.Tool("record -q --force -o " + arguments).status, 0);
    }
    json Json(const std::string& arguments, int status = 0) {
        const RunResult run = m_folder.Tool(arguments + " --json");
        EXPECT_EQ(run.status, status) << run.err;
        json parsed = json::parse(run.out, nullptr, false);
        EXPECT_FALSE(parsed.is_discarded()) << run.out.substr(0, 500);
        return parsed;
    }
    WorkFolder m_folder;
};

TEST_F(Reading, TheListHasEachPinWithEachSample) {
    Record("out.mp4 --video clip.h265 --audio clip.aac");
    const json listed = Json("samples --hash out.mp4");
    EXPECT_EQ(listed["file"], "out.mp4");
    ASSERT_EQ(listed["pins"].size(), 2u);
    for (std::size_t n = 0; n < 2; ++n) {
        json pin = listed["pins"][n];
        const json first = pin["samples"][0];
        for (const char* field : {"dts", "start", "stop", "size", "crc32"})
            EXPECT_TRUE(first[field].is_number()) << field;
        for (const char* field : {"sync", "preroll", "discontinuity"}) EXPECT_TRUE(first[field].is_boolean()) << field;
        EXPECT_EQ(first.size(), 8u);
        EXPECT_EQ(pin["samples"].size(), n == 0 ? 150u : 283u);
        pin.erase("samples");
        const json expected[] = {
            {{"pin", "Output_0"}, {"track_id", 1}, {"entry", "hvc1"}, {"major", "vids"}, {"subtype", "HVC1"}},
            {{"pin", "Output_1"},
             {"track_id", 2},
             {"entry", "mp4a"},
             {"major", "auds"},
             {"subtype", "000000FF-0000-0010-8000-00AA00389B71"}}};
        EXPECT_EQ(pin, expected[n]);
    }
    EXPECT_FALSE(Json("samples out.mp4")["pins"][0]["samples"][0].contains("crc32"));
}

TEST_F(Reading, OnePinFromATimeOn) {
    Record("out.mp4 --video clip.h264 --audio clip.aac");
    const json whole = Json("samples out.mp4")["pins"];
    const json video = Json("samples out.mp4 --pin 0 --from 0:02.5")["pins"];
    ASSERT_EQ(video.size(), 1u);
    const json& first = video[0]["samples"][0];
    EXPECT_EQ(first["dts"], 20'000'000);  // the sync sample in front
    EXPECT_EQ(first["sync"], true);
    EXPECT_EQ(first["preroll"], true);
    EXPECT_LT(first["start"].get<int>(), 0);
    EXPECT_EQ(video[0]["samples"].size() + 50, whole[0]["samples"].size());
    const json sound = Json("samples out.mp4 --pin 1 --from 2.5")["pins"][0]["samples"];
    EXPECT_NEAR(sound[0]["start"].get<double>(), 0, 213'334);
    EXPECT_EQ(sound.back()["dts"], whole[1]["samples"].back()["dts"]);

    const RunResult text = m_folder.Tool("samples out.mp4 --pin 0 --hash");
    EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'), 150 + 2);
    EXPECT_THAT(text.out, StartsWith("Output_0: track 1, avc1"));
}

TEST_F(Reading, InfoTellsTheTracksOfAllKindsOfFiles) {
    struct Case {
        const char* make;  ///< options of ffmpeg behind two inputs: pictures of 64x48 at 30 a second, a tone
        json expected;     ///< of the tracks, in part
    };
    const Case cases[] = {
        {"-c:v libx264 -profile:v main -level 3.1 -pix_fmt yuv420p -c:a aac -ac 6 -shortest -f mp4",
         {{{"entry", "avc1"}, {"codec", "H.264"}, {"profile", "Main"}, {"level", "3.1"}, {"frame_rate", "30/1"}},
          {{"entry", "mp4a"}, {"codec", "AAC"}, {"profile", "LC"}, {"channels", 6}, {"sample_rate", 44100}}}},
        {"-c:v libx265 -x265-params log-level=none -pix_fmt yuv420p -tag:v hvc1 -r 30000/1001 -c:a ac3 -t 1 -f mp4",
         {{{"entry", "hvc1"}, {"codec", "H.265"}, {"profile", "Main"}, {"frame_rate", "30000/1001"}},
          {{"entry", "ac-3"}, {"codec", "AC-3"}, {"sample_rate", 44100}}}},
        {"-c:v mpeg4 -aspect 16:9 -c:a libmp3lame -t 1 -movflags +faststart -f mp4",
         {{{"entry", "mp4v"}, {"codec", "MPEG-4 Part 2"}, {"profile", "Simple"}, {"aspect_ratio", "16:9"}},
          {{"entry", "mp4a"}, {"codec", "MPEG audio"}}}},
        {"-vn -c:a pcm_s16be -f mov",
         {{{"entry", "twos"}, {"codec", "PCM"}, {"bits_per_sample", 16}, {"duration", 1.0}, {"bit_rate", 705600.0}}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.make);
        m_folder.Ffmpeg(std::string("-f lavfi -i testsrc=size=64x48:rate=30 -f lavfi -i sine=d=1 ") +
                        "-metadata creation_time=2024-05-06T07:08:09Z " + c.make + " made");
        const json info = Json("info made");
        const json streams = m_folder.Probe("made", "-count_packets -show_streams")["streams"];
        ASSERT_EQ(info["tracks"].size(), c.expected.size());
        EXPECT_EQ(info["container"]["creation_time"], "2024-05-06T07:08:09Z");
        EXPECT_EQ(info["container"]["order"],
                  std::string(c.make).find("faststart") != std::string::npos ? "moov, mdat" : "mdat, moov");
        for (std::size_t n = 0; n < streams.size(); ++n) {
            const json& track = info["tracks"][n];
            for (const auto& [field, value] : c.expected[n].items()) EXPECT_EQ(track[field], value) << field;
            EXPECT_NEAR(track["duration"].get<double>(), std::stod(streams[n]["duration"].get<std::string>()), 0.05);
            if (track["codec"] == "PCM") continue;  // in samples of their own
            EXPECT_EQ(std::to_string(track["samples"].get<int>()), streams[n]["nb_read_packets"]);
            if (track["type"] == "audio") continue;
            EXPECT_EQ(track["width"], streams[n]["width"]);
            EXPECT_EQ(track["height"], streams[n]["height"]);
            EXPECT_EQ(track["rotation"], 0);
        }
    }
}

TEST_F(Reading, InfoShowsARecordingAsText) {
    Record("out.mp4 --video clip.h264 --audio clip.aac --rotate 90 --faststart");
    const RunResult run = m_folder.Tool("info out.mp4");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, IsEmpty());
    for (const char* text :
         {"out.mp4: 15", " kB, plain, moov before mdat\n", "  brands: mp42 (version 0) mp42 isom\n",
          "  mp4_check: found 1 mdat box(es).\n",
          "  Output_0: track 1, avc1, H.264 High level 1.2, 320x180 (16:9), rotated 90, 25 fps, 150 samples (3 sync), "
          "0:06.000, 135 kbit/s\n",
          "  Output_1: track 2, mp4a, AAC LC, 48000 Hz, 2 channels, 283 samples (283 sync), 0:06.0"})
        EXPECT_THAT(run.out, HasSubstr(text));
}

TEST_F(Reading, WithoutStrictOtherWritersFilesPlay) {
    m_folder.Ffmpeg(
        "-i clip.h264 -c copy -tag:v avc3 -movflags frag_keyframe+empty_moov+default_base_moof -f mp4 segments.mp4");
    const json info = Json("info segments.mp4");
    EXPECT_EQ(info["container"]["fragmented"], true);
    EXPECT_EQ(info["container"]["fragments"], 3);
    EXPECT_EQ(info["tracks"][0]["samples"], 150);
    const RunResult strict = m_folder.Tool("info --strict segments.mp4");
    EXPECT_EQ(strict.status, 1);
    EXPECT_THAT(strict.err, HasSubstr("no track that can be played: track 1 (avc3)"));
}

TEST_F(Reading, TracksThatNobodyDecodesAreToldAndTheOthersPlay) {
    m_folder.Ffmpeg("-i clip.aac -c copy sound.mp4");
    m_folder.Ffmpeg("-i clip.h264 -c copy -an video.mp4");
    const struct {
        const char* make;
        const char* entry;  ///< of the track that is played
        json notPlayed;
    } cases[] = {
        {"-i sound.mp4 -f lavfi -i testsrc=size=64x64:rate=5:d=1 -map 0 -map 1 -c:a copy -c:v mjpeg -f mov",
         "mp4a",
         {{"track_id", 2}, {"handler", "vide"}, {"entry", "jpeg"}}},
        {"-f lavfi -i testsrc=size=64x64:rate=5:d=1 -i sound.mp4 -map 0 -map 1 -c:a copy -c:v prores -f mov",
         "mp4a",
         {{"track_id", 1}, {"handler", "vide"}, {"entry", "ap4h"}}},
        {"-i video.mp4 -f lavfi -i sine=d=1 -c:v copy -c:a alac -f mp4",
         "avc1",
         {{"track_id", 2}, {"handler", "soun"}, {"entry", "alac"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.make);
        m_folder.Ffmpeg(std::string(c.make) + " made");
        const json info = Json("info made");
        ASSERT_EQ(info["tracks"].size(), 1u);
        EXPECT_EQ(info["tracks"][0]["entry"], c.entry);
        EXPECT_GT(info["duration"], 0.9);
        EXPECT_EQ(info["not_played"], json::array({c.notPlayed}));
        EXPECT_THAT(m_folder.Tool("info made").out,
                    HasSubstr("  not played: track " + std::to_string(c.notPlayed["track_id"].get<int>()) + " (" +
                              c.notPlayed["entry"].get<std::string>() + ")\n"));
        EXPECT_GT(Json("samples made")["pins"][0]["samples"].size(), 100u);
    }
    EXPECT_EQ(Json("info video.mp4")["not_played"], json::array());
}

TEST_F(Reading, AFileThatCannotBePlayedSaysWhyInOneLine) {
    Record("whole.mp4 --video clip.h264");
    m_folder.Write("empty", "");
    m_folder.Write("short", "ftyp");
    m_folder.Write("text", "All work and no play makes Jack a dull boy.\n");
    m_folder.Write("nomoov", std::string("\0\0\0\x10"
                                         "ftypisom\0\0\0\0",
                                         16));
    m_folder.Write("nomvhd", std::string("\0\0\0\x8"
                                         "mdat\0\0\0\x8"
                                         "moov",
                                         16));
    m_folder.Run("head -c 100000 whole.mp4 >cut.mp4");
    m_folder.Ffmpeg("-f lavfi -i testsrc=size=64x64:rate=5:d=1 -f lavfi -i sine=d=1 -c:v mjpeg -c:a alac mjpeg.mov");
    const struct {
        const char* file;
        const char* text;
    } cases[] = {
        {"missing", "missing: cannot be opened: no such file"},
        {".", ".: is a folder"},
        {"empty", "empty: is empty"},
        {"short", "short: cannot be played: mp4_check: moov box not found."},
        {"text", "text: cannot be played: "},
        {"clip.aac", "clip.aac: cannot be played: "},
        {"nomoov", "nomoov: cannot be played: mp4_check: moov box not found."},
        {"nomvhd", "nomvhd: cannot be played: mp4check: error: mvhd box not found."},
        {"cut.mp4", "cut.mp4: cannot be played: mp4_check: moov box not found."},
        {"mjpeg.mov", "mjpeg.mov: no track that can be played: track 1 (jpeg), track 2 (alac)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        for (const std::string verb : {"info ", "samples "}) {
            const RunResult run = m_folder.Tool(verb + c.file);
            EXPECT_EQ(run.status, 1);
            EXPECT_THAT(run.err, StartsWith(std::string("mediakit: ") + c.text));
            EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
            EXPECT_THAT(run.out, IsEmpty());
            EXPECT_THAT(Json(verb + c.file, 1)["error"].get<std::string>(), Not(IsEmpty()));
        }
    }
}

// A file may lack its end though its index is whole.
TEST_F(Reading, ACutFileIsListedAsFarAsItGoes) {
    Record("whole.mp4 --video clip.h264 --audio clip.aac --faststart");
    m_folder.Run("head -c 100000 whole.mp4 >cut.mp4");
    const json whole = Json("samples --hash whole.mp4")["pins"];
    const json cut = Json("samples --hash cut.mp4", 1);
    EXPECT_THAT(cut["error"].get<std::string>(), HasSubstr("Output_0: reading failed: a sample is not in the file"));
    EXPECT_THAT(cut["error"].get<std::string>(), HasSubstr("; cut.mp4: Output_1: reading failed"));
    ASSERT_EQ(cut["pins"].size(), 2u);
    for (std::size_t pin = 0; pin < 2; ++pin) {
        const json &got = cut["pins"][pin]["samples"], &all = whole[pin]["samples"];
        ASSERT_GT(got.size(), 50u);
        ASSERT_LT(got.size(), all.size());
        for (std::size_t n = 0; n < got.size(); ++n) ASSERT_EQ(got[n], all[n]) << n;
    }
}

TEST_F(Reading, WrongUsageAndOutputsThatFail) {
    Record("out.mp4 --video clip.h264");
    for (const char* arguments : {"info", "samples", "info out.mp4 --what", "info a b", "samples out.mp4 --from x",
                                  "samples out.mp4 --from ''", "samples out.mp4 --pin -1", "samples out.mp4 --pin"})
        EXPECT_EQ(m_folder.Tool(arguments).status, 2) << arguments;
    const RunResult pin = m_folder.Tool("samples out.mp4 --pin 1");
    EXPECT_EQ(pin.status, 1);
    EXPECT_THAT(pin.err, HasSubstr("out.mp4: there is no pin 1; the last one is 0"));
    for (const char* arguments :
         {"info out.mp4", "info --json out.mp4", "samples out.mp4", "boxes out.mp4", "extract out.mp4 -o a",
          "extract --json out.mp4 -o b", "remux out.mp4 -o c.mp4", "record --video clip.h264 -o d.mp4"}) {
        const RunResult full = m_folder.Tool(std::string(arguments) + " >/dev/full");
        EXPECT_EQ(full.status, 1) << arguments;
        EXPECT_EQ(full.err, "mediakit: standard output: cannot be written\n") << arguments;
    }
    for (const char* arguments : {"info \xFF", "samples \xFF", "boxes \xFF", "extract out.mp4 -o \xFF",
                                  "remux \xFF -o e.mp4", "record --video \xFF -o e.mp4"}) {
        const RunResult name = m_folder.Tool(arguments);
        EXPECT_EQ(name.status, 1) << arguments;
        EXPECT_EQ(name.err, "mediakit: \xFF: the name is not valid UTF-8\n") << arguments;
    }
}

}  // namespace
}  // namespace mediakit_test
