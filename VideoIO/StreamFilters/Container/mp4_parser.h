// The parser of MP4 files.
#pragma once

#include "VideoIO/StreamFilters/Container/box_classes.h"
#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"

namespace vio::mp4 {

/// A box of a class that is not among parsed_boxes is kept with its header only. Lives as long as the file is open.
class mp4_parser : public details::reading_visitor<mp4_parser, mp4_parser_base, parsed_boxes> {
public:
    /// The stream is looked at and must outlive the parser.
    explicit mp4_parser(parse_context context, const box_registry& from = main_registry())
        : reading_visitor(std::move(context), from) {}

private:
    template <class, class>
    friend class details::forwarding_visitor;

    template <class Box>
    void visited(Box& box) {
        if constexpr (std::derived_from<Box, full_box>) read_full_box_header(box);
        if constexpr (has_field_list<Box>)
            read_field_list(box);
        else
            read_fields(box);
    }

    /// Containers, of which the children are read when someone asks for them, sample entries, which are read through
    /// their description only, and full boxes of which nothing but the header is read.
    void read_fields(mp4::box&) {}
    void read_fields(file_type_box& box);
    void read_fields(segment_index_box& box);
    void read_fields(edit_list_box& box);
    void read_fields(data_reference_box& box);
    void read_fields(sample_description_box& box);
    void read_fields(composition_to_decode_box& box);
    void read_fields(compact_sample_size_box& box);
    void read_fields(sample_group_description_box& box);
    void read_fields(sample_to_group_box& box);
    void read_fields(esd_box& box);
    void read_fields(movie_extends_header_box& box);
    void read_fields(track_fragment_base_media_decode_time_box& box);
};

}  // namespace vio::mp4
