#include "Testing/Tool/recording_check.h"

#include <gtest/gtest.h>

#include <sstream>

namespace mediakit_test {

namespace {

WorkFolder::Warnings WarningsOf(const std::string& file) {
    return file.ends_with(".mp4") ? WorkFolder::Warnings::Fail : WorkFolder::Warnings::Pass;
}

std::vector<bool> KeysOf(const WorkFolder& folder, const std::string& file) {
    const auto probe = folder.Probe(file, "-select_streams v:0 -show_entries packet=flags", WarningsOf(file));
    std::vector<bool> keys;
    for (const auto& packet : probe["packets"]) keys.push_back(packet["flags"].get<std::string>().starts_with("K"));
    return keys;
}

double Number(const nlohmann::json& text) { return std::stod(text.get<std::string>()); }

}  // namespace

// Lines of framemd5: stream, dts, pts, duration, size, hash; "#tb 0: 1/25" in front.
DecodedPictures Decode(const WorkFolder& folder, const std::string& file, const std::string& input,
                       const std::string& stream) {
    std::istringstream lines(folder.Ffmpeg(
        input + " -i " + file + " -map " + stream + " -fps_mode passthrough -enc_time_base -1 -f framemd5 -",
        WarningsOf(file)));
    DecodedPictures pictures;
    double base = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("#tb 0: ")) {
            const std::size_t slash = line.find('/');
            base = std::stod(line.substr(7)) / std::stod(line.substr(slash + 1));
        }
        if (line.starts_with("#")) continue;
        std::vector<std::string> fields;
        std::istringstream split(line);
        for (std::string field; std::getline(split, field, ',');) fields.push_back(field);
        if (fields.size() < 6) continue;
        pictures.times.push_back(std::stod(fields[2]) * base);
        pictures.hashes.push_back(fields[5]);
    }
    return pictures;
}

std::string SoundHash(const WorkFolder& folder, const std::string& file, const std::string& stream) {
    return folder.Ffmpeg("-i " + file + " -map " + stream + " -f md5 -", WarningsOf(file));
}

void ExpectSameVideo(const WorkFolder& folder, const std::string& recording, const VideoExpectation& expectation) {
    const DecodedPictures wanted = Decode(folder, expectation.input);
    const DecodedPictures got = Decode(folder, recording);
    ASSERT_GT(wanted.hashes.size(), 0u);
    EXPECT_EQ(got.hashes, wanted.hashes);

    const double picture = static_cast<double>(expectation.rate.den) / static_cast<double>(expectation.rate.num);
    for (std::size_t n = 0; n < got.times.size(); ++n)
        ASSERT_NEAR(got.times[n], static_cast<double>(n) * picture, 2e-7 + picture * 1e-4) << n;

    if (expectation.compareKeys) {
        EXPECT_EQ(KeysOf(folder, recording), KeysOf(folder, expectation.input));
    }

    const auto probe = folder.Probe(recording, "-count_packets -show_streams -show_format -select_streams v:0");
    const auto& stream = probe["streams"][0];
    EXPECT_EQ(Number(stream["nb_read_packets"]), static_cast<double>(wanted.hashes.size()));
    const double duration = static_cast<double>(wanted.hashes.size()) * picture;
    EXPECT_NEAR(Number(stream["duration"]), duration, picture);
    EXPECT_NEAR(Number(stream["start_time"]), 0, 1e-6);
    EXPECT_GE(Number(probe["format"]["duration"]), duration - picture);
}

void ExpectSameAudio(const WorkFolder& folder, const std::string& recording, int stream, const std::string& input) {
    const std::string number = std::to_string(stream);
    EXPECT_EQ(SoundHash(folder, recording, "0:a:" + number), SoundHash(folder, input, "0:a:0"));

    const auto wanted = folder.Probe(input, "-count_packets -show_streams", WarningsOf(input))["streams"][0];
    const auto probe =
        folder.Probe(recording, "-count_packets -show_streams -show_packets -select_streams a:" + number);
    const auto& got = probe["streams"][0];
    for (const char* field : {"codec_name", "sample_rate", "channels", "channel_layout", "profile", "nb_read_packets"})
        EXPECT_EQ(got.value(field, nlohmann::json()), wanted.value(field, nlohmann::json())) << field;
    std::int64_t next = 0;
    for (const auto& packet : probe["packets"]) {
        ASSERT_EQ(packet["pts"].get<std::int64_t>(), next);
        next += 1024;
    }
    // Within a frame: the last one's length is not in the sample table.
    const double rate = Number(got["sample_rate"]);
    EXPECT_NEAR(Number(got["duration"]), static_cast<double>(next) / rate, 1024 / rate);
}

}  // namespace mediakit_test
