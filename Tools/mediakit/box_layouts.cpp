#include "Tools/mediakit/box_layouts.h"

#include "Tools/mediakit/box_stream.h"
#include "Tools/mediakit/box_values.h"
#include "VideoIO/StreamFilters/Container/chunk_reader.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"

#include <algorithm>
#include <iterator>

namespace mediakit_tool {

namespace {

using vio::mp4::fourcc;

enum class Kind {
    Number8,
    Number16,
    Number32,
    Number64,
    TopBit,  ///< of a byte
    Time,    ///< 32 bits, from version 1 on 64
    Fourcc,
    Language,
    String,  ///< up to a zero byte or the end
    Text,    ///< all the rest
    Bytes16,
    Rest,        ///< all the rest as bytes
    Words,       ///< all the rest as a list of 32-bit numbers
    GroupPairs,  ///< a count, then pairs of 32-bit numbers
};

struct Field {
    const char* name = nullptr;
    Kind kind = Kind::Rest;
};

constexpr int kEveryVersion = -1;

struct Layout {
    std::uint32_t type;
    bool full;  ///< begins with version and flags
    int version;
    Field fields[6];
};

// clang-format off: a row a box
// ISO/IEC 14496-12 unless it says otherwise.
constexpr Layout kLayouts[] = {
    {fourcc("data"),
     false,
     kEveryVersion,
     {{"value_type", Kind::Number32}, {"locale", Kind::Number32}, {"value", Kind::Rest}}},  // QuickTime
    {fourcc("emsg"),
     true,
     0,
     {{"scheme_id_uri", Kind::String},
      {"value", Kind::String},
      {"timescale", Kind::Number32},
      {"presentation_time_delta", Kind::Number32},
      {"event_duration", Kind::Number32},
      {"id", Kind::Number32}}},
    {fourcc("emsg"),
     true,
     1,
     {{"timescale", Kind::Number32},
      {"presentation_time", Kind::Number64},
      {"event_duration", Kind::Number32},
      {"id", Kind::Number32},
      {"scheme_id_uri", Kind::String},
      {"value", Kind::String}}},
    {fourcc("fiel"), false, kEveryVersion, {{"field_count", Kind::Number8}, {"field_ordering", Kind::Number8}}},
    {fourcc("frma"), false, kEveryVersion, {{"data_format", Kind::Fourcc}}},
    {fourcc("mean"), true, kEveryVersion, {{"mean", Kind::Text}}},  // QuickTime
    {fourcc("mfro"), true, kEveryVersion, {{"size", Kind::Number32}}},
    {fourcc("pitm"), true, 0, {{"item_ID", Kind::Number16}}},
    {fourcc("prft"),
     true,
     kEveryVersion,
     {{"reference_track_ID", Kind::Number32}, {"ntp_timestamp", Kind::Number64}, {"media_time", Kind::Time}}},
    {fourcc("pssh"), true, kEveryVersion, {{"system_ID", Kind::Bytes16}, {"rest", Kind::Rest}}},  // ISO/IEC 23001-7
    {fourcc("sbgp"), true, 0, {{"grouping_type", Kind::Fourcc}, {"entries", Kind::GroupPairs}}},
    {fourcc("sbgp"),
     true,
     1,
     {{"grouping_type", Kind::Fourcc}, {"grouping_type_parameter", Kind::Number32}, {"entries", Kind::GroupPairs}}},
    {fourcc("schm"),
     true,
     kEveryVersion,
     {{"scheme_type", Kind::Fourcc}, {"scheme_version", Kind::Number32}, {"scheme_uri", Kind::String}}},
    {fourcc("stsd"), true, kEveryVersion, {{"entry_count", Kind::Number32}}},
    {fourcc("tcmi"),
     true,
     kEveryVersion,
     {{"text_font", Kind::Number16},
      {"text_face", Kind::Number16},
      {"text_size", Kind::Number16},
      {"rest", Kind::Rest}}},  // QuickTime
    {fourcc("tfra"),
     true,
     kEveryVersion,
     {{"track_ID", Kind::Number32},
      {"length_sizes", Kind::Number32},
      {"number_of_entry", Kind::Number32},
      {"entries", Kind::Rest}}},
    {fourcc("url "), true, kEveryVersion, {{"location", Kind::String}}},
    {fourcc("urn "), true, kEveryVersion, {{"name", Kind::String}, {"location", Kind::String}}},
};
// clang-format on

/// A track reference of any type: the tracks that it names.
constexpr Layout kTrackReference = {0, false, kEveryVersion, {{"track_IDs", Kind::Words}}};

/// `colr` by its first field; anything else is a profile of the ICC or unknown. `nclc` is QuickTime's.
constexpr Layout kColourNclc = {fourcc("nclc"),
                                false,
                                kEveryVersion,
                                {{"colour_type", Kind::Fourcc},
                                 {"colour_primaries", Kind::Number16},
                                 {"transfer_characteristics", Kind::Number16},
                                 {"matrix_coefficients", Kind::Number16}}};
constexpr Layout kColourNclx = {fourcc("nclx"),
                                false,
                                kEveryVersion,
                                {{"colour_type", Kind::Fourcc},
                                 {"colour_primaries", Kind::Number16},
                                 {"transfer_characteristics", Kind::Number16},
                                 {"matrix_coefficients", Kind::Number16},
                                 {"full_range_flag", Kind::TopBit}}};
constexpr Layout kColourProfile = {0, false, kEveryVersion, {{"colour_type", Kind::Fourcc}, {"profile", Kind::Rest}}};

/// A text item of QuickTime's user data: its code begins with the copyright sign.
constexpr Layout kUserText = {
    0, false, kEveryVersion, {{"text_size", Kind::Number16}, {"language", Kind::Language}, {"text", Kind::Text}}};
/// The value of a metadata item that is UTF-8, by its type 1.
constexpr Layout kTextValue = {fourcc("data"),
                               false,
                               kEveryVersion,
                               {{"value_type", Kind::Number32}, {"locale", Kind::Number32}, {"value", Kind::Text}}};
constexpr std::uint32_t kUtf8Value = 1;

class LayoutReader {
public:
    LayoutReader(vio::byte_stream& file, const BoxHeader& box, FieldSink& sink)
        : m_stream(file, box), m_reader(vio::parse_context(m_stream)), m_sink(sink) {
        m_reader.push_chunk(m_stream.size());
        m_reader.skip(m_stream.HeaderSize());
    }

    /// The first 32 bits, which stay there to be read.
    std::uint32_t Peek() {
        std::uint32_t word = 0;
        if (!m_reader.read_number(word)) return 0;
        m_reader.restart(0);
        m_reader.push_chunk(m_stream.size());
        m_reader.skip(m_stream.HeaderSize());
        return word;
    }

    void Tell(const Layout& layout) {
        if (layout.full && !TellVersion()) return m_sink.Problem("is too short for its fields");
        for (const Field& field : layout.fields)
            if (field.name != nullptr && !TellField(field)) return m_sink.Problem("is too short for its fields");
    }

private:
    bool TellVersion() {
        std::uint32_t word = 0;
        if (!m_reader.read_number(word)) return false;
        m_version = word >> 24;
        m_sink.Number("version", m_version);
        m_sink.Number("flags", word & 0xFFFFFF);
        return true;
    }

    bool TellField(const Field& field) {
        switch (field.kind) {
            case Kind::Number8: return TellNumber<std::uint8_t>(field.name);
            case Kind::Number16: return TellNumber<std::uint16_t>(field.name);
            case Kind::Number32: return TellNumber<std::uint32_t>(field.name);
            case Kind::Number64: return TellNumber<std::uint64_t>(field.name);
            case Kind::TopBit: return TellTopBit(field.name);
            case Kind::Time:
                return m_version == 0 ? TellNumber<std::uint32_t>(field.name) : TellNumber<std::uint64_t>(field.name);
            case Kind::Fourcc: return TellText<std::uint32_t>(field.name, FourccText);
            case Kind::Language: return TellText<std::uint16_t>(field.name, LanguageText);
            case Kind::String: return TellString(field.name);
            case Kind::Text: return TellRest(field.name, true);
            case Kind::Bytes16: return TellBytes(field.name, 16);
            case Kind::Rest: return TellRest(field.name, false);
            case Kind::Words: return TellWords(field.name, m_reader.left() / 4, {"track_ID"});
            case Kind::GroupPairs: {
                std::uint32_t count = 0;
                return m_reader.read_number(count) &&
                       TellWords(field.name, std::uint64_t{count} * 2, {"sample_count", "group_description_index"});
            }
        }
        return false;
    }

    template <class Number>
    bool TellNumber(const char* name) {
        Number value = 0;
        if (!m_reader.read_number(value)) return false;
        m_sink.Number(name, value);
        return true;
    }

    bool TellTopBit(const char* name) {
        std::uint8_t value = 0;
        if (!m_reader.read_number(value)) return false;
        m_sink.Number(name, value >> 7);
        return true;
    }

    template <class Number, class Form>
    bool TellText(const char* name, Form form) {
        Number value = 0;
        if (!m_reader.read_number(value)) return false;
        m_sink.Value(name, std::string(form(value)));
        return true;
    }

    bool TellString(const char* name) {
        std::string text;
        for (std::uint8_t byte = 0; m_reader.left() > 0; text += static_cast<char>(byte)) {
            if (!m_reader.read_number(byte)) return false;
            if (byte == 0) break;
        }
        m_sink.Value(name, text);
        return true;
    }

    bool TellBytes(const char* name, std::uint64_t count) {
        std::vector<std::uint8_t> bytes;
        if (!m_reader.read_vector(bytes, count)) return false;
        m_sink.Bytes(name, bytes);
        return true;
    }

    bool TellRest(const char* name, bool text) {
        if (!text) return TellBytes(name, m_reader.left());
        std::vector<std::uint8_t> bytes;
        if (!m_reader.read_vector(bytes, m_reader.left())) return false;
        m_sink.Value(name, std::string(bytes.begin(), bytes.end()));
        return true;
    }

    bool TellWords(const char* name, std::uint64_t count, std::vector<const char*> columns) {
        std::vector<std::uint32_t> words;
        if (!m_reader.read_vector(words, count)) return false;
        const std::size_t width = columns.size();
        m_sink.Table(name, {count / width, std::move(columns), [&](std::uint64_t row, std::size_t column) {
                                return FieldValue(std::uint64_t{words[row * width + column]});
                            }});
        return true;
    }

    BoxStream m_stream;
    vio::details::chunk_reader m_reader;
    FieldSink& m_sink;
    std::uint32_t m_version = 0;
};

const Layout& ColourLayout(std::uint32_t type) {
    if (type == kColourNclx.type) return kColourNclx;
    return type == kColourNclc.type ? kColourNclc : kColourProfile;
}

bool IsUserText(const BoxHeader& box) {
    return box.type >> 24 == 0xA9 && !box.inside.holdsBoxes && box.end - box.Payload() >= 4;
}

}  // namespace

bool TellByLayout(vio::byte_stream& file, const BoxHeader& box, FieldSink& sink) {
    LayoutReader reader(file, box, sink);
    if (IsUserText(box)) return reader.Tell(kUserText), true;
    if (box.place == BoxPlace::TrackReference) return reader.Tell(kTrackReference), true;
    if (box.type == fourcc("colr")) return reader.Tell(ColourLayout(reader.Peek())), true;
    const auto fits = [&](const Layout& layout) {
        if (layout.type != box.type) return false;
        return layout.version == kEveryVersion || static_cast<std::uint32_t>(layout.version) == reader.Peek() >> 24;
    };
    const auto found = std::find_if(std::begin(kLayouts), std::end(kLayouts), fits);
    if (found == std::end(kLayouts)) return false;
    reader.Tell(box.type == fourcc("data") && reader.Peek() == kUtf8Value ? kTextValue : *found);
    return true;
}

}  // namespace mediakit_tool
