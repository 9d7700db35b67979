#include "Testing/Tool/reading_check.h"

#include "Testing/Tool/recording_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace mediakit_test {

namespace {

struct Packet {
    std::int64_t pts;
    std::int64_t dts;
    std::uint64_t size;
    bool key;
    std::uint32_t crc32;
};

struct PeerStream {
    double tick = 0;  ///< 100 ns
    bool pcm = false;
    std::vector<Packet> packets;
};

/// The peer's picture and sound streams by track number.
std::map<std::uint32_t, PeerStream> PeerPackets(const WorkFolder& folder, const std::string& file,
                                                const std::string& options) {
    const auto probe =
        folder.Probe(file, options + " -show_streams -show_packets -show_data_hash crc32", WorkFolder::Warnings::Pass);
    std::map<std::uint32_t, PeerStream> streams;
    std::map<int, std::uint32_t> tracks;
    for (const auto& stream : probe["streams"]) {
        const std::string type = stream["codec_type"], base = stream["time_base"];
        if (type != "video" && type != "audio") continue;
        const auto track = static_cast<std::uint32_t>(std::stoul(stream["id"].get<std::string>(), nullptr, 16));
        tracks[stream["index"]] = track;
        streams[track].tick = 1e7 * std::stod(base) / std::stod(base.substr(base.find('/') + 1));
        streams[track].pcm = stream.value("codec_name", "").starts_with("pcm");
    }
    for (const auto& packet : probe["packets"]) {
        const auto track = tracks.find(packet["stream_index"].get<int>());
        if (track == tracks.end()) continue;
        const std::string hash = packet["data_hash"];
        streams[track->second].packets.push_back(
            {packet["pts"], packet["dts"], std::stoull(packet["size"].get<std::string>()),
             packet["flags"].get<std::string>()[0] == 'K',
             static_cast<std::uint32_t>(std::stoul(hash.substr(hash.find(':') + 1), nullptr, 16))});
    }
    return streams;
}

/// Times may differ by the rounding of both.
bool Near(double a, double b) { return std::abs(a - b) <= 1; }

void ExpectPackets(const ReadPin& pin, const PeerStream& peer, const PeerExpectation& expectation) {
    ASSERT_EQ(pin.samples.size(), peer.packets.size());
    for (std::size_t i = 0; i < pin.samples.size(); ++i) {
        const ReadSample& got = pin.samples[i];
        const Packet& wanted = peer.packets[i];
        ASSERT_EQ(got.size, wanted.size) << i;
        ASSERT_EQ(got.crc32, wanted.crc32) << i;
        ASSERT_EQ(got.sync, wanted.key || (!expectation.keys && got.sync)) << i;
        // Before edits: how far times are apart.
        ASSERT_PRED2(Near, static_cast<double>(got.dts - pin.samples[0].dts),
                     static_cast<double>(wanted.dts - peer.packets[0].dts) * peer.tick)
            << i;
        ASSERT_PRED2(Near, static_cast<double>(got.start - pin.samples[0].start),
                     static_cast<double>(wanted.pts - peer.packets[0].pts) * peer.tick)
            << i;
    }
}

}  // namespace

std::vector<ReadPin> ReadSamples(const WorkFolder& folder, const std::string& file, const std::string& options) {
    const RunResult run = folder.Tool("samples " + file + " --json --hash " + options);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "") << file;
    const auto report = nlohmann::json::parse(run.out, nullptr, false);
    std::vector<ReadPin> pins;
    if (report.is_discarded() || !report.contains("pins")) {
        ADD_FAILURE() << run.out;
        return pins;
    }
    for (const auto& pin : report["pins"]) {
        ReadPin read{pin["pin"], pin["track_id"], pin["entry"], {}};
        for (const auto& one : pin["samples"])
            read.samples.push_back({one["dts"], one["start"], one["stop"], one["size"], one["sync"], one["preroll"],
                                    one["discontinuity"], one["crc32"]});
        pins.push_back(std::move(read));
    }
    return pins;
}

void ExpectSamplesAsPeer(const WorkFolder& folder, const std::string& file, const PeerExpectation& expectation) {
    const std::vector<ReadPin> pins = ReadSamples(folder, file);
    const auto peers = PeerPackets(folder, file, "-ignore_editlist 1");
    const auto edited = PeerPackets(folder, file, "");
    EXPECT_EQ(pins.size() + expectation.leftOut, peers.size());
    ASSERT_GT(pins.size(), 0u);
    for (const ReadPin& pin : pins) {
        SCOPED_TRACE(pin.name + " " + pin.entry);
        const auto peer = peers.find(pin.trackId);
        ASSERT_NE(peer, peers.end());
        ASSERT_GT(pin.samples.size(), 0u);
        EXPECT_TRUE(pin.samples[0].discontinuity);
        if (peer->second.pcm) continue;
        ExpectPackets(pin, peer->second, expectation);
        const PeerStream& play = edited.at(pin.trackId);
        if (expectation.origin && !play.packets.empty()) {
            EXPECT_PRED2(Near, static_cast<double>(pin.samples[0].dts),
                         static_cast<double>(peer->second.packets[0].dts) * play.tick);
            EXPECT_PRED2(Near, static_cast<double>(pin.samples[0].start),
                         static_cast<double>(play.packets[0].pts) * play.tick);
        }
    }
}

void ExpectExtractsAsPeer(const WorkFolder& folder, const std::string& file) {
    static const std::map<std::string, std::string> kSound = {
        {"mp4a", "adts"}, {"ac-3", "ac3"}, {"sowt", "s16le"}, {"twos", "s16le"}};
    const auto probe = folder.Probe(file, "-show_streams", WorkFolder::Warnings::Pass);
    std::size_t number = 0;
    for (const ReadPin& pin : ReadSamples(folder, file)) {
        SCOPED_TRACE(pin.name + " " + pin.entry);
        const RunResult run =
            folder.Tool("extract " + file + " --pin " + std::to_string(number++) + " -o extracted --force --json");
        ASSERT_EQ(run.status, 0) << run.err;
        const auto summary = nlohmann::json::parse(run.out);
        EXPECT_EQ(summary["samples"], pin.samples.size());
        EXPECT_EQ(summary["damaged_samples"], 0);
        EXPECT_EQ(summary["size"], std::filesystem::file_size(folder.Path("extracted")));
        const auto stream = std::ranges::find_if(probe["streams"], [&pin](const auto& one) {
            return std::stoul(one["id"].template get<std::string>(), nullptr, 16) == pin.trackId;
        });
        ASSERT_NE(stream, probe["streams"].end());
        const std::string peerStream = "0:" + std::to_string((*stream)["index"].get<int>());
        const auto sound = kSound.find(pin.entry);
        if (sound == kSound.end()) {
            EXPECT_EQ(Decode(folder, "extracted").hashes,
                      Decode(folder, file, "-ignore_editlist 1 -noautorotate", peerStream).hashes);
            continue;
        }
        const bool pcm = sound->second == "s16le";
        const bool mp3 = (*stream)["codec_name"] == "mp3";
        folder.Ffmpeg("-ignore_editlist 1 -i " + file + " -map " + peerStream + (pcm ? "" : " -c copy") +
                      (mp3 ? " -write_xing 0 -id3v2_version 0 -f mp3" : " -f " + sound->second) + " copied");
        const std::string bytes = folder.Read("extracted");
        EXPECT_TRUE((pcm ? bytes.substr(std::min<std::size_t>(44, bytes.size())) : bytes) == folder.Read("copied"))
            << bytes.size();
        if (pcm) {
            EXPECT_EQ(folder.Probe("extracted", "-show_streams")["streams"][0]["codec_name"], "pcm_s16le");
        }
    }
}

}  // namespace mediakit_test
