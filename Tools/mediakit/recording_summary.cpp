#include "Tools/mediakit/recording_summary.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace mediakit_tool {

namespace {

double Seconds(REFERENCE_TIME time) { return static_cast<double>(time) / static_cast<double>(kUnitsPerSecond); }

template <class... Args>
std::string Format(const char* format, Args... args) {
    char text[512];
    std::snprintf(text, sizeof text, format, args...);
    return text;
}

std::string CodecText(const TrackFacts& facts) {
    std::string text = facts.codec + " " + facts.profile;
    if (facts.video) text += " level " + facts.level;
    return text;
}

std::string FormatText(const TrackFacts& facts) {
    if (!facts.video)
        return Format("%u Hz, %u channel%s", facts.sampleRate, facts.channels, facts.channels == 1 ? "" : "s");
    return Format("%dx%d%s, ", facts.width, facts.height, facts.interlaced ? " interlaced" : "") + ToText(facts.rate) +
           " fps";
}

std::string TrackText(const TrackSummary& track, std::size_t number) {
    const TrackFacts& facts = track.facts;
    std::string text =
        Format("  track %zu: ", number) + CodecText(facts) + ", " + FormatText(facts) + ", " +
        Format("%llu %s", static_cast<unsigned long long>(track.samples), facts.video ? "pictures" : "frames");
    if (facts.video) text += Format(" (%llu sync)", static_cast<unsigned long long>(track.syncSamples));
    return text + ", " + DurationText(track.duration) + "\n";
}

nlohmann::ordered_json TrackJson(const TrackSummary& track) {
    const TrackFacts& facts = track.facts;
    nlohmann::ordered_json json;
    json["input"] = track.input;
    json["type"] = facts.video ? "video" : "audio";
    json["codec"] = facts.codec;
    json["profile"] = facts.profile;
    if (facts.video) {
        json["level"] = facts.level;
        json["width"] = facts.width;
        json["height"] = facts.height;
        json["interlaced"] = facts.interlaced;
        json["frame_rate"] = std::to_string(facts.rate.num) + "/" + std::to_string(facts.rate.den);
    } else {
        json["sample_rate"] = facts.sampleRate;
        json["channels"] = facts.channels;
    }
    json["samples"] = track.samples;
    json["sync_samples"] = track.syncSamples;
    json["duration"] = Seconds(track.duration);
    return json;
}

}  // namespace

REFERENCE_TIME RecordingSummary::Duration() const {
    REFERENCE_TIME longest = 0;
    for (const TrackSummary& track : tracks) longest = std::max(longest, track.duration);
    return longest;
}

double RecordingSummary::BitRate() const {
    return Duration() == 0 ? 0 : static_cast<double>(fileSize) * 8 / Seconds(Duration());
}

std::string DurationText(REFERENCE_TIME duration) {
    const long long milliseconds = (duration + 5'000) / 10'000;
    const long long seconds = milliseconds / 1000, minutes = seconds / 60, hours = minutes / 60;
    const std::string tail = Format("%02lld.%03lld", seconds % 60, milliseconds % 1000);
    if (hours > 0) return Format("%lld:%02lld:", hours, minutes % 60) + tail;
    return Format("%lld:", minutes) + tail;
}

std::string BitRateText(double bitRate) {
    return bitRate < 1e6 ? Format("%.0f kbit/s", bitRate / 1e3) : Format("%.2f Mbit/s", bitRate / 1e6);
}

std::string SizeText(std::uint64_t bytes) {
    constexpr const char* kUnits[] = {"bytes", "kB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1000 && unit + 1 < std::size(kUnits)) {
        value /= 1000;
        ++unit;
    }
    return Format(unit == 0 ? "%.0f %s" : "%.1f %s", value, kUnits[unit]);
}

std::string ToText(const RecordingSummary& summary) {
    const char* const verb = summary.error.empty() ? (summary.interrupted ? "interrupted; " : "") : "incomplete; ";
    std::string text = verb + std::string("recorded ") + summary.output + "\n";
    for (std::size_t i = 0; i < summary.tracks.size(); ++i) text += TrackText(summary.tracks[i], i + 1);
    const double media = Seconds(summary.Duration());
    text += "  " + DurationText(summary.Duration()) + ", " + SizeText(summary.fileSize) + ", " +
            BitRateText(summary.BitRate()) + "; took " + Format("%.2f s", summary.wallSeconds);
    if (summary.wallSeconds > 0) text += Format(" (%.0fx)", media / summary.wallSeconds);
    return text + "\n";
}

std::string ToJson(const RecordingSummary& summary) {
    nlohmann::ordered_json json;
    json["status"] = summary.error.empty() ? "done" : "failed";
    if (!summary.error.empty()) json["error"] = summary.error;
    json["interrupted"] = summary.interrupted;
    json["output"] = summary.output;
    json["size"] = summary.fileSize;
    json["duration"] = Seconds(summary.Duration());
    json["bit_rate"] = summary.BitRate();
    json["wall_time"] = summary.wallSeconds;
    json["tracks"] = nlohmann::ordered_json::array();
    for (const TrackSummary& track : summary.tracks) json["tracks"].push_back(TrackJson(track));
    json["warnings"] = summary.warnings;
    // Texts out of files need not be valid UTF-8.
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace mediakit_tool
