#include "VideoIO/MPEGUtil/H265SyntaxParts.h"
#include "VideoIO/MPEGUtil/SampleAspectRatio.h"

namespace qz_MPEGUtil {
namespace {

/// sub_layer_hrd_parameters, clause E.2.3.
void SkipSubLayerHrd(RbspReader& reader, std::uint32_t cpb_count, bool sub_pictures) {
    for (std::uint32_t i = 0; i < cpb_count && !reader.Failed(); ++i) {
        const int values = sub_pictures ? 4 : 2;  // rates and sizes
        for (int value = 0; value < values; ++value) {
            reader.UE();
        }
        reader.Bits(1);  // cbr_flag
    }
}

/// hrd_parameters with its common part, clause E.2.2.
void SkipHrd(RbspReader& reader, std::uint32_t max_sub_layers_minus1) {
    const bool nal = reader.Flag();
    const bool vcl = reader.Flag();
    bool sub_pictures = false;
    if (nal || vcl) {
        sub_pictures = reader.Flag();
        reader.Skip(sub_pictures ? 8 + 5 + 1 + 5 : 0);  // tick divisor, delay lengths
        reader.Skip(4 + 4);                             // bit_rate_scale, cpb_size_scale
        reader.Skip(sub_pictures ? 4 : 0);              // cpb_size_du_scale
        reader.Skip(5 + 5 + 5);                         // delay lengths
    }
    for (std::uint32_t layer = 0; layer <= max_sub_layers_minus1 && !reader.Failed(); ++layer) {
        const bool fixed_rate_general = reader.Flag();
        const bool fixed_rate_in_sequence = fixed_rate_general || reader.Flag();
        bool low_delay = false;
        if (fixed_rate_in_sequence) {
            reader.UE();  // elemental_duration_in_tc_minus1
        } else {
            low_delay = reader.Flag();
        }
        const std::uint32_t cpb_cnt_minus1 = low_delay ? 0 : reader.UE();
        if (cpb_cnt_minus1 > 31) {
            reader.Refuse();
        }
        SkipSubLayerHrd(reader, nal ? cpb_cnt_minus1 + 1 : 0, sub_pictures);
        SkipSubLayerHrd(reader, vcl ? cpb_cnt_minus1 + 1 : 0, sub_pictures);
    }
}

void ReadAspectRatio(RbspReader& reader, H265VuiParameters& vui) {
    vui.aspect_ratio_idc = reader.Bits(8);
    if (vui.aspect_ratio_idc == extended_sample_aspect_ratio) {
        vui.sar_width = reader.Bits(16);
        vui.sar_height = reader.Bits(16);
    } else if (vui.aspect_ratio_idc > 0 && vui.aspect_ratio_idc < sample_aspect_ratios.size()) {
        vui.sar_width = static_cast<std::uint32_t>(sample_aspect_ratios[vui.aspect_ratio_idc].width);
        vui.sar_height = static_cast<std::uint32_t>(sample_aspect_ratios[vui.aspect_ratio_idc].height);
    }
}

void ReadVideoSignal(RbspReader& reader, H265VuiParameters& vui) {
    vui.video_format = reader.Bits(3);
    vui.video_full_range_flag = reader.Flag();
    if (reader.Flag()) {  // colour_description_present_flag
        vui.colour_primaries = reader.Bits(8);
        vui.transfer_characteristics = reader.Bits(8);
        vui.matrix_coeffs = reader.Bits(8);
    }
}

}  // namespace

H265VuiParameters ReadVui(RbspReader& reader, std::uint32_t max_sub_layers_minus1) {
    H265VuiParameters vui;
    vui.aspect_ratio_info_present_flag = reader.Flag();
    if (vui.aspect_ratio_info_present_flag) {
        ReadAspectRatio(reader, vui);
    }
    if (reader.Flag()) {  // overscan_info_present_flag
        reader.Bits(1);
    }
    vui.video_signal_type_present_flag = reader.Flag();
    if (vui.video_signal_type_present_flag) {
        ReadVideoSignal(reader, vui);
    }
    if (reader.Flag()) {  // chroma_loc_info_present_flag
        reader.UE();
        reader.UE();
    }
    reader.Bits(1);  // neutral_chroma_indication_flag
    vui.field_seq_flag = reader.Flag();
    vui.frame_field_info_present_flag = reader.Flag();
    if (reader.Flag()) {
        vui.default_display_window = ReadWindow(reader);
    }
    if (reader.Flag()) {
        vui.timing = ReadTimingInfo(reader);
        if (reader.Flag()) {  // vui_hrd_parameters_present_flag
            SkipHrd(reader, max_sub_layers_minus1);
        }
    }
    if (reader.Flag()) {  // bitstream_restriction_flag
        reader.Bits(3);   // tiles, motion vectors over boundaries, restricted lists
        vui.min_spatial_segmentation_idc = reader.UE();
    }
    return vui;
}

}  // namespace qz_MPEGUtil
