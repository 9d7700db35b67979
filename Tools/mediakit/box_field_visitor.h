// Tells the fields of the boxes that the container library reads. Its visits stand in one file a family of boxes, as
// the boxes do.
#pragma once

#include "Tools/mediakit/box_fields.h"
#include "VideoIO/StreamFilters/Container/file_boxes.h"
#include "VideoIO/StreamFilters/Container/fragment_boxes.h"
#include "VideoIO/StreamFilters/Container/movie_boxes.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"

namespace mediakit_tool {

namespace boxes = vio::mp4;

/// For one box; a box of another class tells nothing. `Told` says whether it was one of these.
class BoxFieldVisitor
    : public vio::details::const_visitors<
          vio::details::const_base_visitor,
          // file
          boxes::file_type_box, boxes::segment_index_box,
          // movie and track
          boxes::movie_header_box, boxes::track_header_box, boxes::media_header_box, boxes::handler_box,
          boxes::video_media_header_box, boxes::sound_media_header_box, boxes::hint_media_header_box,
          boxes::null_media_header_box, boxes::edit_list_box, boxes::data_reference_box,
          // sample table
          boxes::time_to_sample_box, boxes::composition_offset_box, boxes::composition_to_decode_box,
          boxes::sync_sample_box, boxes::sample_size_box, boxes::compact_sample_size_box, boxes::sample_to_chunk_box,
          boxes::chunk_offset_box, boxes::chunk_large_offset_box, boxes::sample_dependency_type_box,
          boxes::sample_group_description_box,
          // sample entries
          boxes::sample_entry, boxes::visual_sample_entry, boxes::audio_sample_entry, boxes::avc_configuration_box,
          boxes::hevc_configuration_box, boxes::esd_box, boxes::bit_rate_box, boxes::pixel_aspect_ratio_box,
          boxes::clean_apperture_box, boxes::ac3_configuration_box, boxes::sampling_rate_box,
          // fragments
          boxes::movie_extends_header_box, boxes::track_extends_box, boxes::movie_fragment_header_box,
          boxes::track_fragment_header_box, boxes::track_run_box, boxes::track_fragment_base_media_decode_time_box> {
public:
    BoxFieldVisitor(FieldSink& sink, FieldScales& scales) : m_sink(sink), m_scales(scales) {}

    bool Told() const { return m_told; }

private:
    void visit(const boxes::file_type_box& box) override;
    void visit(const boxes::segment_index_box& box) override;

    void visit(const boxes::movie_header_box& box) override;
    void visit(const boxes::track_header_box& box) override;
    void visit(const boxes::media_header_box& box) override;
    void visit(const boxes::handler_box& box) override;
    void visit(const boxes::video_media_header_box& box) override;
    void visit(const boxes::sound_media_header_box& box) override;
    void visit(const boxes::hint_media_header_box& box) override;
    void visit(const boxes::null_media_header_box& box) override;
    void visit(const boxes::edit_list_box& box) override;
    void visit(const boxes::data_reference_box& box) override;

    void visit(const boxes::time_to_sample_box& box) override;
    void visit(const boxes::composition_offset_box& box) override;
    void visit(const boxes::composition_to_decode_box& box) override;
    void visit(const boxes::sync_sample_box& box) override;
    void visit(const boxes::sample_size_box& box) override;
    void visit(const boxes::compact_sample_size_box& box) override;
    void visit(const boxes::sample_to_chunk_box& box) override;
    void visit(const boxes::chunk_offset_box& box) override;
    void visit(const boxes::chunk_large_offset_box& box) override;
    void visit(const boxes::sample_dependency_type_box& box) override;
    void visit(const boxes::sample_group_description_box& box) override;

    void visit(const boxes::sample_entry& box) override;
    void visit(const boxes::visual_sample_entry& box) override;
    void visit(const boxes::audio_sample_entry& box) override;
    void visit(const boxes::avc_configuration_box& box) override;
    void visit(const boxes::hevc_configuration_box& box) override;
    void visit(const boxes::esd_box& box) override;
    void visit(const boxes::bit_rate_box& box) override;
    void visit(const boxes::pixel_aspect_ratio_box& box) override;
    void visit(const boxes::clean_apperture_box& box) override;
    void visit(const boxes::ac3_configuration_box& box) override;
    void visit(const boxes::sampling_rate_box& box) override;

    void visit(const boxes::movie_extends_header_box& box) override;
    void visit(const boxes::track_extends_box& box) override;
    void visit(const boxes::movie_fragment_header_box& box) override;
    void visit(const boxes::track_fragment_header_box& box) override;
    void visit(const boxes::track_run_box& box) override;
    void visit(const boxes::track_fragment_base_media_decode_time_box& box) override;

    // Each visit begins with one of these.
    void Plain() { m_told = true; }
    void Full(const boxes::full_box& box);

    void Number(const char* name, std::uint64_t value, const std::string& reading = {}) {
        m_sink.Number(name, value, reading);
    }
    void Text(const char* name, std::string text) { m_sink.Value(name, std::move(text)); }
    void Real(const char* name, double value) { m_sink.Value(name, value); }
    void Created(std::uint64_t creation, std::uint64_t modification);
    void Matrix(const std::vector<std::uint32_t>& matrix);
    void Flags(const char* name, std::uint32_t flags);
    /// One column of plain numbers.
    template <class Vector>
    void List(const char* name, const Vector& values) {
        m_sink.Table(name, {values.size(), {name}, [&values](std::uint64_t row, std::size_t) {
                                return FieldValue(std::uint64_t{values[row]});
                            }});
    }

    FieldSink& m_sink;
    FieldScales& m_scales;
    bool m_told = false;
};

}  // namespace mediakit_tool
