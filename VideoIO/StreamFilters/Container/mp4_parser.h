// The parser of MP4 files.
#pragma once

#include "VideoIO/StreamFilters/Container/file_boxes.h"
#include "VideoIO/StreamFilters/Container/fragment_boxes.h"
#include "VideoIO/StreamFilters/Container/movie_boxes.h"
#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"

namespace vio::mp4 {

/// A box of a class that is not named here is kept with its header only. Lives as long as the file
/// is open.
class mp4_parser
    : public details::visitors<
          mp4_parser_base, file_type_box, movie_box, movie_header_box, track_box, track_header_box, media_box,
          media_header_box, handler_box, media_information_box, video_media_header_box, sound_media_header_box,
          hint_media_header_box, null_media_header_box, sample_table_box, sample_description_box, time_to_sample_box,
          composition_offset_box, composition_to_decode_box, sync_sample_box, sample_size_box, compact_sample_size_box,
          sample_to_chunk_box, chunk_offset_box, chunk_large_offset_box, sample_dependency_type_box,
          data_information_box, data_reference_box, edit_box, edit_list_box, sample_group_description_box,
          sample_to_group_box, avc_configuration_box, avc_sample_entry, avc2_sample_entry, hevc_configuration_box,
          hevc_sample_entry, mp4_visual_sample_entry, audio_sample_entry, mp4_audio_sample_entry, sampling_rate_box,
          esd_box, movie_extends_box, movie_extends_header_box, track_extends_box, movie_fragment_box,
          movie_fragment_header_box, track_fragment_box, track_fragment_base_media_decode_time_box,
          track_fragment_header_box, track_run_box, segment_index_box, wide_placeholder_box, data_entry_url_box> {
public:
    /// The stream is looked at and must outlive the parser.
    explicit mp4_parser(parse_context context, const box_registry& from = main_registry())
        : visitors(std::move(context), from) {}

private:
    // Containers: their children are read when someone asks for them.
    void visit(movie_box&) override {}
    void visit(track_box&) override {}
    void visit(media_box&) override {}
    void visit(media_information_box&) override {}
    void visit(sample_table_box&) override {}
    void visit(data_information_box&) override {}
    void visit(edit_box&) override {}
    void visit(movie_extends_box&) override {}
    void visit(movie_fragment_box&) override {}
    void visit(track_fragment_box&) override {}
    void visit(wide_placeholder_box&) override {}
    // Sample entries are read through their description only.
    void visit(avc_sample_entry&) override {}
    void visit(avc2_sample_entry&) override {}
    void visit(hevc_sample_entry&) override {}
    void visit(mp4_visual_sample_entry&) override {}
    void visit(audio_sample_entry&) override {}
    void visit(mp4_audio_sample_entry& box) override;

    void visit(file_type_box& box) override;
    void visit(segment_index_box& box) override;
    void visit(movie_header_box& box) override;

    void visit(track_header_box& box) override;
    void visit(media_header_box& box) override;
    void visit(handler_box& box) override;
    void visit(video_media_header_box& box) override;
    void visit(sound_media_header_box& box) override;
    void visit(hint_media_header_box& box) override;
    void visit(null_media_header_box& box) override;
    void visit(edit_list_box& box) override;
    void visit(data_reference_box& box) override;
    void visit(data_entry_url_box& box) override;

    void visit(sample_description_box& box) override;
    void visit(time_to_sample_box& box) override;
    void visit(composition_offset_box& box) override;
    void visit(composition_to_decode_box& box) override;
    void visit(sync_sample_box& box) override;
    void visit(sample_size_box& box) override;
    void visit(compact_sample_size_box& box) override;
    void visit(sample_to_chunk_box& box) override;
    void visit(chunk_offset_box& box) override;
    void visit(chunk_large_offset_box& box) override;
    void visit(sample_dependency_type_box& box) override;
    void visit(sample_group_description_box& box) override;
    void visit(sample_to_group_box& box) override;

    void visit(avc_configuration_box& box) override;
    void visit(hevc_configuration_box& box) override;
    void visit(esd_box& box) override;
    void visit(sampling_rate_box& box) override;

    void visit(movie_extends_header_box& box) override;
    void visit(track_extends_box& box) override;
    void visit(movie_fragment_header_box& box) override;
    void visit(track_fragment_base_media_decode_time_box& box) override;
    void visit(track_fragment_header_box& box) override;
    void visit(track_run_box& box) override;

    /// A full box whose field list serves reading and writing alike.
    template <class Box>
    void read_fields(Box& box);
};

template <class Box>
void mp4_parser::read_fields(Box& box) {
    read_full_box_header(box);
    field_reader in = payload();
    fields(in, box);
}

}  // namespace vio::mp4
