// The box tree of real files: whole, and such that the peer finds in it what the program says.
#include "Testing/Tool/tool_run.h"

#include <gmock/gmock.h>

namespace mediakit_test {
namespace {

using nlohmann::json;

/// Children fill their parent from the first of them to its end.
void ExpectWhole(const json& boxes, std::uint64_t end) {
    if (boxes.empty()) return;
    std::uint64_t at = boxes[0]["offset"];
    for (const json& box : boxes) {
        EXPECT_EQ(box["offset"], at) << box["type"];
        at += box["size"].get<std::uint64_t>();
        EXPECT_FALSE(box.contains("problems")) << box;
        if (box.contains("boxes")) ExpectWhole(box["boxes"], at);
    }
    EXPECT_EQ(at, end) << boxes[0]["type"];
}

void Collect(const json& boxes, const std::string& type, std::vector<json>& found) {
    for (const json& box : boxes) {
        if (box["type"] == type) found.push_back(box["fields"]);
        if (box.contains("boxes")) Collect(box["boxes"], type, found);
    }
}

std::vector<json> All(const json& tree, const std::string& type) {
    std::vector<json> found;
    Collect(tree["boxes"], type, found);
    return found;
}

TEST(Boxes, OfFilesOfAnotherWriterAreWholeAndSayWhatItReads) {
    constexpr const char* kInputs =
        "-f lavfi -i testsrc2=size=64x48:rate=25:duration=1 -f lavfi -i sine=sample_rate=44100:duration=1 ";
    const struct {
        const char* file;
        const char* arguments;
    } cases[] = {
        {"in.mp4", "-c:v libx264 -bf 2 -c:a aac -metadata title=Something"},
        {"in.mp4", "-c:v libx264 -c:a aac -movflags frag_keyframe+empty_moov+dash+global_sidx"},
        {"in.mp4", "-c:v libx265 -x265-params log-level=none -c:a ac3"},
        {"in.mov", "-c:v mpeg4 -c:a aac -timecode 01:00:00:00"},
        {"in.mov", "-c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16be"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.arguments);
        const WorkFolder folder;
        folder.Ffmpeg(std::string(kInputs) + one.arguments + " " + one.file);
        const RunResult result = folder.Tool(std::string("boxes --json ") + one.file);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        const json tree = json::parse(result.out);
        EXPECT_EQ(tree["problems"], 0);
        ExpectWhole(tree["boxes"], tree["size"]);

        const json probe = folder.Probe(one.file, "-show_streams -count_packets", WorkFolder::Warnings::Pass);
        const auto tracks = All(tree, "tkhd"), media = All(tree, "mdhd"), sizes = All(tree, "stsz");
        ASSERT_EQ(tracks.size(), probe["streams"].size());
        std::uint64_t samples = 0, packets = 0;
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            const json& stream = probe["streams"][i];
            EXPECT_EQ(tracks[i]["track_ID"], i + 1);
            EXPECT_EQ("1/" + std::to_string(media[i]["timescale"].get<int>()), stream["time_base"]);
            samples += sizes[i]["sample_count"].get<std::uint64_t>();
            packets += std::stoull(stream["nb_read_packets"].get<std::string>());
        }
        for (const json& run : All(tree, "trun")) samples += run["sample_count"].get<std::uint64_t>();
        if (All(tree, "chan").empty()) {  // PCM counts single samples
            EXPECT_EQ(samples, packets);
        }
        const RunResult text = folder.Tool(std::string("boxes --depth 1 ") + one.file);
        EXPECT_THAT(text.out, testing::StartsWith("ftyp  offset 0,"));
    }
}

TEST(Boxes, ThatAreNoneAreAFailureInOneLine) {
    const WorkFolder folder;
    folder.Write("empty", "");
    for (const char* file : {"empty", "none", "."}) {
        const RunResult result = folder.Tool(std::string("boxes ") + file);
        EXPECT_EQ(result.status, 1) << file;
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    }
    folder.Write("text", "It was a dark and stormy night.");
    const RunResult text = folder.Tool("boxes text");
    EXPECT_EQ(text.status, 0) << "shown as what it would be";
    EXPECT_THAT(text.out, testing::HasSubstr("!"));
}

}  // namespace
}  // namespace mediakit_test
