// The parser of what stands in a sample description.
#pragma once

#include "VideoIO/StreamFilters/Container/box_classes.h"
#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"

namespace vio::mp4 {

/// Any sample description is read the same way, by the code of each entry; the track's handler plays
/// no part. Fails like the parser of files; a QuickTime audio entry of a version above 2 throws a
/// plain std::exception.
class mp4_sampleentry_parser
    : public details::reading_visitor<mp4_sampleentry_parser, mp4_parser_base, parsed_sample_entry_boxes> {
public:
    explicit mp4_sampleentry_parser(parse_context context, const box_registry& from = sample_entry_registry())
        : reading_visitor(std::move(context), from) {}

private:
    template <class, class>
    friend class details::forwarding_visitor;

    template <class Box>
    void visited(Box& box) {
        if constexpr (has_field_list<Box>)
            read_field_list(box);
        else
            read_fields(box);
    }

    // An entry without a function of its own is read as its base.
    void read_fields(sample_entry& box);
    void read_fields(visual_sample_entry& box);
    void read_fields(hevc_sample_entry& box);
    void read_fields(audio_sample_entry& box);
    void read_fields(esd_box& box);
    void read_fields(colour_information_box& box);
    void read_fields(ac3_configuration_box& box);
};

}  // namespace vio::mp4
