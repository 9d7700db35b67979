#include "VideoIO/StreamFilters/Container/registry.h"

#include "VideoIO/StreamFilters/Container/file_boxes.h"
#include "VideoIO/StreamFilters/Container/fragment_boxes.h"
#include "VideoIO/StreamFilters/Container/movie_boxes.h"
#include "VideoIO/StreamFilters/Container/opaque_boxes.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"
#include "VideoIO/StreamFilters/Container/user_data_boxes.h"

namespace vio::mp4 {
namespace {

template <class T>
std::shared_ptr<box> make(unsigned int) {
    return std::make_shared<T>();
}

/// For classes that stand for several codes.
template <class T>
std::shared_ptr<box> make_typed(unsigned int type) {
    return std::make_shared<T>(type);
}

}  // namespace

const box_registry& main_registry() {
    static const box_registry registry = {
        {fourcc("@inf"), make<string_list_box>},
        {fourcc("avc1"), make<avc_sample_entry>},
        {fourcc("avc2"), make<avc2_sample_entry>},
        {fourcc("avc3"), make<avc_sample_entry>},
        {fourcc("avc4"), make<avc2_sample_entry>},
        {fourcc("avcC"), make<avc_configuration_box>},
        {fourcc("beam"), make<beam_box>},
        {fourcc("bxml"), make<xml_box>},
        {fourcc("co64"), make<chunk_large_offset_box>},
        {fourcc("cslg"), make<composition_to_decode_box>},
        {fourcc("ctts"), make<composition_offset_box>},
        {fourcc("dinf"), make<data_information_box>},
        {fourcc("dref"), make<data_reference_box>},
        {fourcc("edts"), make<edit_box>},
        {fourcc("elst"), make<edit_list_box>},
        {fourcc("esds"), make<esd_box>},
        {fourcc("free"), make<free_space_box>},
        {fourcc("frma"), make<original_format_box>},
        {fourcc("ftyp"), make<file_type_box>},
        {fourcc("hdlr"), make<handler_box>},
        {fourcc("hev1"), make<hevc_sample_entry>},
        {fourcc("hvc1"), make<hevc_sample_entry>},
        {fourcc("hvcC"), make<hevc_configuration_box>},
        {fourcc("idat"), make<item_data_box>},
        {fourcc("iinf"), make<item_information_box>},
        {fourcc("iloc"), make<item_location_box>},
        {fourcc("iods"), make<object_descriptor_box>},
        {fourcc("ipro"), make<item_protection_box>},
        {fourcc("iref"), make<item_reference_box>},
        {fourcc("loop"), make<loop_box>},
        {fourcc("mdat"), make<media_data_box>},
        {fourcc("mdhd"), make<media_header_box>},
        {fourcc("mdia"), make<media_box>},
        {fourcc("meco"), make<additional_metadata_container_box>},
        {fourcc("mehd"), make<movie_extends_header_box>},
        {fourcc("mere"), make<metabox_relation_box>},
        {fourcc("meta"), make<meta_box>},
        {fourcc("mfhd"), make<movie_fragment_header_box>},
        {fourcc("minf"), make<media_information_box>},
        {fourcc("moof"), make<movie_fragment_box>},
        {fourcc("moov"), make<movie_box>},
        {fourcc("mp4a"), make<mp4_audio_sample_entry>},
        {fourcc("mp4v"), make<mp4_visual_sample_entry>},
        {fourcc("mvex"), make<movie_extends_box>},
        {fourcc("mvhd"), make<movie_header_box>},
        {fourcc("padb"), make<padding_bits_box>},
        {fourcc("pdin"), make<progressive_download_info_box>},
        {fourcc("pitm"), make<primary_item_box>},
        {fourcc("sbgp"), make<sample_to_group_box>},
        {fourcc("schi"), make<scheme_information_box>},
        {fourcc("schm"), make<scheme_type_box>},
        {fourcc("sdtp"), make<sample_dependency_type_box>},
        {fourcc("sgpd"), make<sample_group_description_box>},
        {fourcc("sidx"), make<segment_index_box>},
        {fourcc("sinf"), make<protection_scheme_information_box>},
        {fourcc("skip"), make<free_space_box>},
        {fourcc("smhd"), make<sound_media_header_box>},
        {fourcc("srat"), make<sampling_rate_box>},
        {fourcc("stbl"), make<sample_table_box>},
        {fourcc("stco"), make<chunk_offset_box>},
        {fourcc("stsc"), make<sample_to_chunk_box>},
        {fourcc("stsd"), make<sample_description_box>},
        {fourcc("stss"), make<sync_sample_box>},
        {fourcc("stsz"), make<sample_size_box>},
        {fourcc("stts"), make<time_to_sample_box>},
        {fourcc("stz2"), make<compact_sample_size_box>},
        {fourcc("subs"), make<sub_sample_information_box>},
        {fourcc("tfhd"), make<track_fragment_header_box>},
        {fourcc("tkhd"), make<track_header_box>},
        {fourcc("traf"), make<track_fragment_box>},
        {fourcc("trak"), make<track_box>},
        {fourcc("trex"), make<track_extends_box>},
        {fourcc("trgr"), make<track_group_box>},
        {fourcc("trun"), make<track_run_box>},
        {fourcc("udta"), make<user_data_box>},
        {fourcc("url "), make<data_entry_url_box>},
        {fourcc("urn "), make<data_entry_urn_box>},
        {fourcc("vmhd"), make<video_media_header_box>},
        {fourcc("wave"), make<si_decompression_param>},
        {fourcc("wide"), make<wide_placeholder_box>},
        {fourcc("xml "), make<xml_box>},
    };
    return registry;
}

const box_registry& sample_entry_registry() {
    static const box_registry registry = {
        {fourcc("ac-3"), make<ac3_sample_entry>},
        {fourcc("avc1"), make<avc_sample_entry>},
        {fourcc("avc2"), make<avc2_sample_entry>},
        {fourcc("avc3"), make<avc_sample_entry>},
        {fourcc("avc4"), make<avc2_sample_entry>},
        {fourcc("avcC"), make<avc_configuration_box>},
        {fourcc("btrt"), make<bit_rate_box>},
        {fourcc("clap"), make<clean_apperture_box>},
        {fourcc("colr"), make<colour_information_box>},
        {fourcc("dac3"), make<ac3_configuration_box>},
        {fourcc("esds"), make<esd_box>},
        {fourcc("hev1"), make<hevc_sample_entry>},
        {fourcc("hvc1"), make<hevc_sample_entry>},
        {fourcc("hvcC"), make<hevc_configuration_box>},
        {fourcc("icod"), make_typed<visual_sample_entry>},
        {fourcc("mp4a"), make<mp4_audio_sample_entry>},
        {fourcc("mp4s"), make<mpeg_sample_entry>},
        {fourcc("mp4v"), make<mp4_visual_sample_entry>},
        {fourcc("pasp"), make<pixel_aspect_ratio_box>},
        {fourcc("sowt"), make_typed<audio_sample_entry>},
        {fourcc("twos"), make_typed<audio_sample_entry>},
    };
    return registry;
}

}  // namespace vio::mp4
