#include "Tools/mediakit/file_summary.h"

#include "Tools/mediakit/recording_summary.h"

#include <nlohmann/json.hpp>

namespace mediakit_tool {

namespace {

using Json = nlohmann::ordered_json;

double Seconds(REFERENCE_TIME time) { return static_cast<double>(time) / static_cast<double>(kUnitsPerSecond); }

/// Puts what there is to say behind a comma.
void Add(std::string& text, const std::string& part) {
    if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
}

std::string AspectText(const StreamFacts& facts) {
    if (facts.aspectWidth == 0) return {};
    return std::to_string(facts.aspectWidth) + ":" + std::to_string(facts.aspectHeight);
}

std::string VideoText(const StreamFacts& facts) {
    std::string text = std::to_string(facts.width) + "x" + std::to_string(facts.height);
    if (facts.interlaced) text += " interlaced";
    if (facts.aspectWidth != 0) text += " (" + AspectText(facts) + ")";
    if (facts.rotation.value_or(0) != 0) Add(text, "rotated " + std::to_string(*facts.rotation));
    if (facts.rate) Add(text, mediakit_tool::ToText(*facts.rate) + " fps");
    return text;
}

std::string AudioText(const StreamFacts& facts) {
    std::string text = std::to_string(facts.sampleRate) + " Hz, " + std::to_string(facts.channels) +
                       (facts.channels == 1 ? " channel" : " channels");
    if (facts.bitsPerSample != 0) Add(text, std::to_string(facts.bitsPerSample) + " bits");
    return text;
}

std::string CodecText(const StreamFacts& facts) {
    std::string text = facts.codec;
    if (!facts.profile.empty()) text += " " + facts.profile;
    if (!facts.level.empty()) text += " level " + facts.level;
    return text;
}

std::string StreamText(const StreamSummary& stream) {
    std::string text = "  " + stream.pin + ": track " + std::to_string(stream.track.trackId);
    Add(text, stream.entry);
    Add(text, CodecText(stream.facts));
    Add(text, stream.facts.video ? VideoText(stream.facts) : AudioText(stream.facts));
    Add(text, std::to_string(stream.track.sampleCount) + (stream.track.sampleCount == 1 ? " sample (" : " samples (") +
                  std::to_string(stream.track.syncSampleCount) + " sync)");
    Add(text, DurationText(stream.Duration()));
    Add(text, BitRateText(stream.BitRate()));
    return text + "\n";
}

std::string LayoutText(const ContainerFacts& container) {
    std::string text = SizeText(container.size);
    Add(text, !container.fragmented ? "plain"
                                    : "fragmented (" + std::to_string(container.fragments) +
                                          (container.fragments == 1 ? " fragment)" : " fragments)"));
    if (container.moov && container.mdat)
        Add(text, *container.moov < *container.mdat ? "moov before mdat" : "moov after mdat");
    return text;
}

std::string BrandsText(const ContainerFacts& container) {
    if (container.majorBrand.empty()) return {};
    std::string text =
        "  brands: " + container.majorBrand + " (version " + std::to_string(container.minorVersion) + ")";
    for (const std::string& brand : container.compatibleBrands) text += " " + brand;
    return text + "\n";
}

Json ContainerJson(const ContainerFacts& container) {
    Json json;
    json["size"] = container.size;
    if (!container.majorBrand.empty()) {
        json["major_brand"] = container.majorBrand;
        json["minor_version"] = container.minorVersion;
        json["compatible_brands"] = container.compatibleBrands;
    }
    json["fragmented"] = container.fragmented;
    json["fragments"] = container.fragments;
    json["order"] = container.Order();
    if (const std::string created = container.CreationText(); !created.empty()) json["creation_time"] = created;
    return json;
}

void AddVideoJson(const StreamFacts& facts, Json& json) {
    if (!facts.level.empty()) json["level"] = facts.level;
    json["width"] = facts.width;
    json["height"] = facts.height;
    if (facts.aspectWidth != 0) json["aspect_ratio"] = AspectText(facts);
    if (facts.rotation) json["rotation"] = *facts.rotation;
    json["interlaced"] = facts.interlaced;
    if (facts.rate) json["frame_rate"] = std::to_string(facts.rate->num) + "/" + std::to_string(facts.rate->den);
}

void AddAudioJson(const StreamFacts& facts, Json& json) {
    json["sample_rate"] = facts.sampleRate;
    json["channels"] = facts.channels;
    if (facts.bitsPerSample != 0) json["bits_per_sample"] = facts.bitsPerSample;
}

Json StreamJson(const StreamSummary& stream) {
    Json json;
    json["pin"] = stream.pin;
    json["track_id"] = stream.track.trackId;
    json["type"] = stream.facts.video ? "video" : "audio";
    json["entry"] = stream.entry;
    json["codec"] = stream.facts.codec;
    if (!stream.facts.profile.empty()) json["profile"] = stream.facts.profile;
    if (stream.facts.video)
        AddVideoJson(stream.facts, json);
    else
        AddAudioJson(stream.facts, json);
    json["timescale"] = stream.track.timescale;
    json["samples"] = stream.track.sampleCount;
    json["sync_samples"] = stream.track.syncSampleCount;
    json["bytes"] = stream.track.totalBytes;
    json["duration"] = Seconds(stream.Duration());
    json["bit_rate"] = stream.BitRate();
    return json;
}

}  // namespace

REFERENCE_TIME StreamSummary::Duration() const {
    const double bytesASecond = static_cast<double>(facts.sampleRate) * facts.channels * facts.bitsPerSample / 8;
    if (bytesASecond == 0) return track.duration;
    return static_cast<REFERENCE_TIME>(static_cast<double>(track.totalBytes) / bytesASecond * kUnitsPerSecond + 0.5);
}

double StreamSummary::BitRate() const {
    return Duration() <= 0 ? 0 : static_cast<double>(track.totalBytes) * 8 / Seconds(Duration());
}

std::string ToText(const FileSummary& summary) {
    std::string text = summary.file;
    if (summary.container) text += ": " + LayoutText(*summary.container);
    text += "\n";
    if (summary.container) {
        text += BrandsText(*summary.container);
        if (const std::string created = summary.container->CreationText(); !created.empty())
            text += "  created: " + created + "\n";
    }
    if (summary.duration) text += "  duration: " + DurationText(*summary.duration) + "\n";
    for (const LogWatch::Note& note : summary.messages) text += "  " + note.text + "\n";
    for (const StreamSummary& stream : summary.streams) text += StreamText(stream);
    for (const FileTrack& track : summary.notPlayed) text += "  not played: " + track.ToText() + "\n";
    return text;
}

std::string ToJson(const FileSummary& summary) {
    Json json;
    json["file"] = summary.file;
    json["status"] = summary.error.empty() ? "done" : "failed";
    if (!summary.error.empty()) json["error"] = summary.error;
    if (summary.container) json["container"] = ContainerJson(*summary.container);
    if (summary.duration) json["duration"] = Seconds(*summary.duration);
    json["messages"] = Json::array();
    for (const LogWatch::Note& note : summary.messages)
        json["messages"].push_back({{"level", note.level}, {"text", note.text}});
    json["tracks"] = Json::array();
    for (const StreamSummary& stream : summary.streams) json["tracks"].push_back(StreamJson(stream));
    json["not_played"] = Json::array();
    for (const FileTrack& track : summary.notPlayed)
        json["not_played"].push_back({{"track_id", track.trackId}, {"handler", track.handler}, {"entry", track.entry}});
    // Texts out of files need not be valid UTF-8.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace mediakit_tool
