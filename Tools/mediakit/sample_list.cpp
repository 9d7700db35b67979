#include "Tools/mediakit/sample_list.h"

#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/crc32.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>

namespace mediakit_tool {

namespace {

/// Quoted, with what is not valid UTF-8 replaced.
std::string JsonText(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

class TextSampleList final : public SampleList {
public:
    explicit TextSampleList(TextOutput& output) : m_output(output) {}

    void Begin(const std::string&) override {}

    void BeginPin(const Stream& stream) override {
        m_output.Text(stream.name + ": track " + std::to_string(stream.track.trackId) + ", " + stream.Entry() +
                      "; S sync, P preroll, D discontinuity\n");
        m_output.Text("   index             dts           start            stop      size  flags  crc32\n");
    }

    void Add(const SampleRow& row) override {
        m_output.Number(row.index, 8);
        for (const REFERENCE_TIME time : {row.dts, row.start, row.stop}) m_output.Seconds(time, 16);
        m_output.Number(row.size, 10);
        const char flags[] = {' ', ' ', row.sync ? 'S' : '-', row.preroll ? 'P' : '-', row.discontinuity ? 'D' : '-'};
        m_output.Text({flags, sizeof flags});
        if (row.crc32) {
            m_output.Text("    ");
            m_output.Hexadecimal(*row.crc32);
        }
        m_output.Text("\n");
    }

    void EndPin() override {}
    void End(const std::string&) override {}

private:
    TextOutput& m_output;
};

class JsonSampleList final : public SampleList {
public:
    explicit JsonSampleList(TextOutput& output) : m_output(output) {}

    void Begin(const std::string& file) override { m_output.Text("{\"file\": " + JsonText(file) + ", \"pins\": ["); }

    void BeginPin(const Stream& stream) override {
        m_output.Text(m_anyPin ? ",\n" : "\n");
        m_output.Text("{\"pin\": " + JsonText(stream.name) + ", \"track_id\": " + std::to_string(stream.track.trackId) +
                      ", \"entry\": " + JsonText(stream.Entry()) +
                      ", \"major\": " + JsonText(TypeText(stream.type.majortype)) +
                      ", \"subtype\": " + JsonText(TypeText(stream.type.subtype)) + ", \"samples\": [");
        m_anyPin = true;
        m_anySample = false;
    }

    void Add(const SampleRow& row) override {
        m_output.Text(m_anySample ? ",\n" : "\n");
        m_anySample = true;
        Number("{\"dts\": ", row.dts);
        Number(", \"start\": ", row.start);
        Number(", \"stop\": ", row.stop);
        Number(", \"size\": ", row.size);
        Truth(", \"sync\": ", row.sync);
        Truth(", \"preroll\": ", row.preroll);
        Truth(", \"discontinuity\": ", row.discontinuity);
        if (row.crc32) Number(", \"crc32\": ", *row.crc32);
        m_output.Text("}");
    }

    void EndPin() override { m_output.Text("]}"); }

    void End(const std::string& error) override {
        m_output.Text("]");
        if (!error.empty()) m_output.Text(", \"error\": " + JsonText(error));
        m_output.Text("}\n");
    }

private:
    void Number(std::string_view name, std::int64_t value) {
        m_output.Text(name);
        m_output.Number(value);
    }
    void Truth(std::string_view name, bool value) {
        m_output.Text(name);
        m_output.Text(value ? "true" : "false");
    }

    TextOutput& m_output;
    bool m_anyPin = false;
    bool m_anySample = false;
};

}  // namespace

SampleRow Describe(IMediaSample& sample, std::int64_t index, bool hash) {
    SampleRow row;
    row.index = index;
    REFERENCE_TIME end = 0;
    sample.GetMediaTime(&row.dts, &end);
    sample.GetTime(&row.start, &row.stop);
    row.size = sample.GetActualDataLength();
    row.sync = sample.IsSyncPoint() == S_OK;
    row.preroll = sample.IsPreroll() == S_OK;
    row.discontinuity = sample.IsDiscontinuity() == S_OK;
    BYTE* data = nullptr;
    if (hash && SUCCEEDED(sample.GetPointer(&data))) row.crc32 = Crc32({data, static_cast<std::size_t>(row.size)});
    return row;
}

std::unique_ptr<SampleList> MakeTextSampleList(TextOutput& output) { return std::make_unique<TextSampleList>(output); }

std::unique_ptr<SampleList> MakeJsonSampleList(TextOutput& output) { return std::make_unique<JsonSampleList>(output); }

// The platform makes identifiers of four characters (or a format tag) by putting them, the first in the lowest byte,
// in front of a fixed tail.
std::string TypeText(const GUID& type) {
    GUID tail = make_guid("00000000-0000-0010-8000-00AA00389B71");
    tail.Data1 = type.Data1;
    std::string characters;
    for (int i = 0; i < 4; ++i) characters += static_cast<char>(type.Data1 >> 8 * i & 0xFF);
    const bool readable = std::all_of(characters.begin(), characters.end(),
                                      [](unsigned char c) { return c < 0x80 && std::isalnum(c) != 0; });
    if (tail == type && readable) return characters;
    const std::string text = win32::NarrowForDisplay(StringFromGUID(type));
    return text.substr(1, text.size() - 2);
}

}  // namespace mediakit_tool
