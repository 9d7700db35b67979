// The classes of boxes by what is done with them. A new box is a record with its field list in the header of its
// family, and its class in the lists here.
#pragma once

#include "VideoIO/StreamFilters/Container/field_reader.h"
#include "VideoIO/StreamFilters/Container/field_writer.h"
#include "VideoIO/StreamFilters/Container/file_boxes.h"
#include "VideoIO/StreamFilters/Container/fragment_boxes.h"
#include "VideoIO/StreamFilters/Container/movie_boxes.h"
#include "VideoIO/StreamFilters/Container/opaque_boxes.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"
#include "VideoIO/StreamFilters/Container/user_data_boxes.h"

namespace vio::mp4 {

/// Holds for a class of which the field list serves reading and writing. Of the others a reader or a writer has code of
/// its own, or takes the header alone.
template <class Box>
concept has_field_list = requires(field_reader& in, field_writer& out, Box& read, const Box& written) {
    fields(in, read);
    fields(out, written);
};

/// Made by the parser of files and by mp4_writer::add_box from their codes; registry.cpp adds the codes that share a
/// class.
using registered_boxes = details::class_list<
    // file
    file_type_box, free_space_box, media_data_box, wide_placeholder_box, object_descriptor_box, segment_index_box,
    // movie and track
    movie_box, movie_header_box, track_box, track_header_box, media_box, media_header_box, handler_box,
    media_information_box, video_media_header_box, sound_media_header_box, data_information_box, data_reference_box,
    data_entry_url_box, data_entry_urn_box, edit_box, edit_list_box, user_data_box, string_list_box,
    // sample table
    sample_table_box, sample_description_box, time_to_sample_box, composition_offset_box, composition_to_decode_box,
    sync_sample_box, sample_size_box, compact_sample_size_box, sample_to_chunk_box, chunk_offset_box,
    chunk_large_offset_box, sample_dependency_type_box, sample_group_description_box, sample_to_group_box,
    // sample entries
    avc_sample_entry, avc2_sample_entry, avc_configuration_box, hevc_sample_entry, hevc_configuration_box,
    mp4_visual_sample_entry, mp4_audio_sample_entry, esd_box, sampling_rate_box,
    // fragments
    movie_extends_box, movie_extends_header_box, track_extends_box, movie_fragment_box, movie_fragment_header_box,
    track_fragment_box, track_fragment_header_box, track_run_box,
    // known by name only
    additional_metadata_container_box, beam_box, item_data_box, item_information_box, item_location_box,
    item_protection_box, item_reference_box, loop_box, meta_box, metabox_relation_box, original_format_box,
    padding_bits_box, primary_item_box, progressive_download_info_box, protection_scheme_information_box,
    scheme_information_box, scheme_type_box, si_decompression_param, sub_sample_information_box, track_group_box,
    xml_box>;

/// Made by the parser of sample descriptions; registry.cpp adds the codes that share a class.
using registered_sample_entry_boxes =
    details::class_list<avc_sample_entry, avc2_sample_entry, avc_configuration_box, hevc_sample_entry,
                        hevc_configuration_box, mp4_visual_sample_entry, mp4_audio_sample_entry, mpeg_sample_entry,
                        esd_box, ac3_sample_entry, ac3_configuration_box, bit_rate_box, pixel_aspect_ratio_box,
                        clean_apperture_box, colour_information_box>;

/// Those that mp4_writer writes. A box of another class writes nothing and counts as size 0.
using written_boxes = details::class_list<
    file_type_box, free_space_box, media_data_box, movie_box, movie_header_box, track_box, track_header_box, media_box,
    media_header_box, media_information_box, edit_box, edit_list_box, handler_box, video_media_header_box,
    sound_media_header_box, sample_table_box, sample_description_box, data_information_box, data_reference_box,
    data_entry_url_box, user_data_box, string_list_box, chunk_offset_box, chunk_large_offset_box, sample_size_box,
    compact_sample_size_box, sample_to_chunk_box, time_to_sample_box, composition_offset_box, composition_to_decode_box,
    sync_sample_box, object_descriptor_box, sample_entry, visual_sample_entry, audio_sample_entry, esd_box,
    avc_configuration_box, avc_sample_entry, avc2_sample_entry, hevc_configuration_box, hevc_sample_entry,
    mp4_visual_sample_entry, mp4_audio_sample_entry, field_Image_Description_Extension, movie_extends_box,
    movie_extends_header_box, track_extends_box, movie_fragment_box, movie_fragment_header_box, track_fragment_box,
    track_fragment_base_media_decode_time_box, track_fragment_header_box, track_run_box>;

/// Those of which mp4_parser reads the payload. A box of another class is kept with its header only.
using parsed_boxes = details::class_list<
    file_type_box, movie_box, movie_header_box, track_box, track_header_box, media_box, media_header_box, handler_box,
    media_information_box, video_media_header_box, sound_media_header_box, hint_media_header_box, null_media_header_box,
    sample_table_box, sample_description_box, time_to_sample_box, composition_offset_box, composition_to_decode_box,
    sync_sample_box, sample_size_box, compact_sample_size_box, sample_to_chunk_box, chunk_offset_box,
    chunk_large_offset_box, sample_dependency_type_box, data_information_box, data_reference_box, edit_box,
    edit_list_box, sample_group_description_box, sample_to_group_box, avc_configuration_box, avc_sample_entry,
    avc2_sample_entry, hevc_configuration_box, hevc_sample_entry, mp4_visual_sample_entry, audio_sample_entry,
    mp4_audio_sample_entry, sampling_rate_box, esd_box, movie_extends_box, movie_extends_header_box, track_extends_box,
    movie_fragment_box, movie_fragment_header_box, track_fragment_box, track_fragment_base_media_decode_time_box,
    track_fragment_header_box, track_run_box, segment_index_box, wide_placeholder_box, data_entry_url_box>;

/// Those of which mp4_sampleentry_parser reads the payload.
using parsed_sample_entry_boxes =
    details::class_list<sample_entry, visual_sample_entry, audio_sample_entry, hint_sample_entry, bit_rate_box,
                        pixel_aspect_ratio_box, clean_apperture_box, colour_information_box, avc_configuration_box,
                        avc_sample_entry, avc2_sample_entry, hevc_configuration_box, hevc_sample_entry,
                        ac3_sample_entry, ac3_configuration_box, mp4_visual_sample_entry, mp4_audio_sample_entry,
                        esd_box>;

}  // namespace vio::mp4
