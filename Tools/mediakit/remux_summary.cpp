#include "Tools/mediakit/remux_summary.h"

#include "Tools/mediakit/recording_summary.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace mediakit_tool {

namespace {

using Json = nlohmann::ordered_json;

double Seconds(REFERENCE_TIME time) { return static_cast<double>(time) / static_cast<double>(kUnitsPerSecond); }

std::string OriginText(const TrackOrigin& origin) {
    return (origin.pin.empty() ? "" : origin.pin + ", ") + "track " + std::to_string(origin.trackId) + " (" +
           origin.entry + "): ";
}

std::string TrackText(const CopiedTrack& track) {
    const StreamFacts& facts = track.origin.facts;
    std::string text = "  " + OriginText(track.origin) + facts.codec;
    if (!facts.profile.empty()) text += " " + facts.profile;
    if (!facts.level.empty()) text += " level " + facts.level;
    text += ", " + std::to_string(track.samples) + (facts.video ? " pictures" : " frames");
    if (facts.video) text += " (" + std::to_string(track.syncSamples) + " sync)";
    return text + ", " + DurationText(track.end) + "\n";
}

/// What is not known is null.
Json OriginJson(const TrackOrigin& origin) {
    Json json;
    json["pin"] = origin.pin.empty() ? Json() : Json(origin.pin);
    json["track_id"] = origin.trackId;
    json["entry"] = origin.entry;
    if (origin.pin.empty()) {
        json["type"] = origin.handler == "vide" ? "video" : origin.handler == "soun" ? "audio" : origin.handler;
        json["codec"] = nullptr;
        return json;
    }
    json["type"] = origin.facts.video ? "video" : "audio";
    json["codec"] = origin.facts.codec;
    return json;
}

Json TrackJson(const CopiedTrack& track) {
    Json json = OriginJson(track.origin);
    json["samples"] = track.samples;
    json["sync_samples"] = track.syncSamples;
    json["duration"] = Seconds(track.end);
    return json;
}

}  // namespace

REFERENCE_TIME RemuxSummary::Duration() const {
    REFERENCE_TIME longest = 0;
    for (const CopiedTrack& track : tracks) longest = std::max(longest, track.end);
    return longest;
}

double RemuxSummary::BitRate() const {
    return Duration() == 0 ? 0 : static_cast<double>(fileSize) * 8 / Seconds(Duration());
}

std::string ToText(const LeftOutTrack& track) { return OriginText(track.origin) + track.reason; }

std::string ToText(const RemuxSummary& summary) {
    const char* const state = !summary.error.empty() ? "incomplete; " : summary.interrupted ? "interrupted; " : "";
    std::string text = state + std::string("remuxed ") + summary.output + "\n";
    for (const CopiedTrack& track : summary.tracks) text += TrackText(track);
    for (const LeftOutTrack& track : summary.leftOut) text += "  left out: " + ToText(track) + "\n";
    char took[64];
    std::snprintf(took, sizeof took, "; took %.2f s", summary.wallSeconds);
    return text + "  " + DurationText(summary.Duration()) + ", " + SizeText(summary.fileSize) + ", " +
           BitRateText(summary.BitRate()) + took + "\n";
}

std::string ToJson(const RemuxSummary& summary) {
    Json json;
    json["status"] = summary.error.empty() ? "done" : "failed";
    if (!summary.error.empty()) json["error"] = summary.error;
    json["interrupted"] = summary.interrupted;
    json["file"] = summary.input;
    json["output"] = summary.output;
    json["size"] = summary.fileSize;
    json["duration"] = Seconds(summary.Duration());
    json["bit_rate"] = summary.BitRate();
    json["wall_time"] = summary.wallSeconds;
    json["tracks"] = Json::array();
    for (const CopiedTrack& track : summary.tracks) json["tracks"].push_back(TrackJson(track));
    json["left_out"] = Json::array();
    for (const LeftOutTrack& track : summary.leftOut) {
        Json left = OriginJson(track.origin);
        left["reason"] = track.reason;
        json["left_out"].push_back(std::move(left));
    }
    json["warnings"] = summary.warnings;
    // Texts out of files need not be valid UTF-8.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace mediakit_tool
