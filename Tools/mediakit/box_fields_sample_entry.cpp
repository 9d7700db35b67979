#include "Tools/mediakit/box_field_visitor.h"
#include "Tools/mediakit/box_values.h"
#include "VideoIO/MPEGUtil/AVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/HEVCDecoderConfigurationRecord.h"
#include "VideoIO/StreamFilters/Container/es_parser_base.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

struct ObjectType {
    std::uint8_t code;
    const char* name;
};

// The object types of the MPEG-4 registration authority.
constexpr ObjectType kObjectTypes[] = {
    {0x20, "MPEG-4 Visual"},
    {0x21, "H.264"},
    {0x23, "H.265"},
    {0x40, "MPEG-4 AAC"},
    {0x60, "MPEG-2 simple"},
    {0x61, "MPEG-2 main"},
    {0x66, "MPEG-2 AAC main"},
    {0x67, "MPEG-2 AAC LC"},
    {0x68, "MPEG-2 AAC SSR"},
    {0x69, "MPEG-2 audio"},
    {0x6A, "MPEG-1 video"},
    {0x6B, "MPEG-1 audio"},
    {0x6C, "JPEG"},
    {0x6D, "PNG"},
    {0xA5, "AC-3"},
    {0xA6, "E-AC-3"},
    {0xA9, "DTS"},
    {0xAD, "Opus"},
};

std::string ObjectTypeName(std::uint8_t code) {
    const auto found = std::find_if(std::begin(kObjectTypes), std::end(kObjectTypes),
                                    [code](const ObjectType& type) { return type.code == code; });
    return found == std::end(kObjectTypes) ? HexText(code, 2) : found->name;
}

/// The parser takes the first of the three bytes for the lowest; in the file it is the highest.
std::uint32_t Reversed24(std::uint32_t value) { return (value & 0xFF) << 16 | (value & 0xFF00) | (value >> 16 & 0xFF); }

template <class Units>
void TellUnits(FieldSink& sink, const char* name, const Units& units) {
    sink.Table(name, {units.size(), {"size"}, [&units](std::uint64_t row, std::size_t) {
                          return FieldValue(std::uint64_t{units[row].size()});
                      }});
}

}  // namespace

void BoxFieldVisitor::visit(const boxes::sample_entry& box) {
    Plain();
    Number("data_reference_index", box.data_reference_index);
}

void BoxFieldVisitor::visit(const boxes::visual_sample_entry& box) {
    visit(static_cast<const boxes::sample_entry&>(box));
    Number("width", box.width);
    Number("height", box.height);
    Real("horizresolution", UnsignedFixed16(box.horizresolution));
    Real("vertresolution", UnsignedFixed16(box.vertresolution));
    Number("frame_count", box.frame_count);
    Number("depth", box.depth);
}

void BoxFieldVisitor::visit(const boxes::audio_sample_entry& box) {
    visit(static_cast<const boxes::sample_entry&>(box));
    Number("version", box.version);
    Number("channelcount", box.channelcount);
    Number("samplesize", box.samplesize);
    Real("samplerate", UnsignedFixed16(box.samplerate));
}

void BoxFieldVisitor::visit(const boxes::avc_configuration_box& box) {
    Plain();
    qz_MPEGUtil::AVCDecoderConfigurationRecord record;
    const bool whole = SUCCEEDED(record.Parse(box.record.data(), box.record.size()));
    Number("configurationVersion", record.configurationVersion);
    Number("profile", record.AVCProfileIndication);
    Number("profile_compatibility", record.profile_compatibility, HexText(record.profile_compatibility, 2));
    Number("level", record.AVCLevelIndication);
    Number("length_size", record.lengthSizeMinusOne + 1U);
    TellUnits(m_sink, "sequence_parameter_sets", record.m_sps);
    TellUnits(m_sink, "picture_parameter_sets", record.m_pps);
    m_sink.Bytes("record", box.record);
    if (!whole) m_sink.Problem("the configuration record cannot be read whole");
}

void BoxFieldVisitor::visit(const boxes::hevc_configuration_box& box) {
    Plain();
    qz_MPEGUtil::HEVCDecoderConfigurationRecord record;
    record.Parse(box.record.data(), box.record.size());
    Number("configurationVersion", record.configurationVersion);
    Number("profile", record.general_profile_idc);
    Number("tier", record.general_tier_flag);
    Number("level", record.general_level_idc);
    Number("chroma_format", record.chromaFormat);
    Number("bit_depth_luma", record.bitDepthLumaMinus8 + 8U);
    Number("bit_depth_chroma", record.bitDepthChromaMinus8 + 8U);
    Number("length_size", record.lengthSizeMinusOne + 1U);
    TellUnits(m_sink, "units", record.m_nalUnits);
    m_sink.Bytes("record", box.record);
    if (record.m_nalUnits.empty()) m_sink.Problem("the configuration record holds no parameter sets");
}

void BoxFieldVisitor::visit(const boxes::esd_box& box) {
    Plain();
    std::vector<std::uint8_t> data = box.data;
    vio::memory_stream stream(data.data(), static_cast<std::uint32_t>(data.size()));
    vio::es::es_parser_base parser(stream);
    parser.parse();
    std::uint64_t offset = 0;
    const auto es = std::dynamic_pointer_cast<vio::es::ES_Descriptor>(
        parser.find_descriptor(static_cast<std::uint8_t>(vio::es::ES_Descriptor().tag), 0, offset, data.size()));
    const auto config = es ? es->dec_config_descr : nullptr;
    if (es) Number("ES_ID", es->ES_ID);
    if (config) {
        Number("object_type", config->object_type_indication, ObjectTypeName(config->object_type_indication));
        Number("stream_type", config->stream_type);
        Number("buffer_size", Reversed24(config->buffer_size_db));
        Number("max_bitrate", config->max_bitrate);
        Number("avg_bitrate", config->avg_bitrate);
        if (config->dec_specific_info) m_sink.Bytes("decoder_specific_info", config->dec_specific_info->data);
    } else {
        m_sink.Bytes("data", data);
        m_sink.Problem("holds no decoder configuration");
    }
}

void BoxFieldVisitor::visit(const boxes::bit_rate_box& box) {
    Plain();
    Number("buffer_size", box.buffer_size_db);
    Number("max_bitrate", box.max_bitrate);
    Number("avg_bitrate", box.avg_bitrate);
}

void BoxFieldVisitor::visit(const boxes::pixel_aspect_ratio_box& box) {
    Plain();
    Number("h_spacing", box.h_spacing);
    Number("v_spacing", box.v_spacing);
}

void BoxFieldVisitor::visit(const boxes::clean_apperture_box& box) {
    Plain();
    struct {
        const char* name;
        std::uint32_t n, d;
    } const fractions[] = {
        {"clean_aperture_width", box.clean_aperture_width_n, box.clean_aperture_width_d},
        {"clean_aperture_height", box.clean_aperture_height_n, box.clean_aperture_height_d},
        {"horiz_off", box.horiz_off_n, box.horiz_off_d},
        {"vert_off", box.vert_off_n, box.vert_off_d},
    };
    for (const auto& [name, n, d] : fractions)
        Text(name, std::to_string(static_cast<std::int32_t>(n)) + "/" + std::to_string(d));
}

void BoxFieldVisitor::visit(const boxes::ac3_configuration_box& box) {
    Plain();
    Number("fscod", box.fscod);
    Number("bsid", box.bsid);
    Number("bsmod", box.bsmod);
    Number("acmod", box.acmod);
    Number("lfeon", box.lfeon);
    Number("bit_rate_code", box.bit_rate_code);
}

void BoxFieldVisitor::visit(const boxes::sampling_rate_box& box) {
    Full(box);
    Number("sampling_rate", box.sampling_rate);
}

}  // namespace mediakit_tool
