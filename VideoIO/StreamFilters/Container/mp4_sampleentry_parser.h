// The parser of what stands in a sample description.
#pragma once

#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"

namespace vio::mp4 {

/// Any sample description is read the same way, by the code of each entry; the track's handler plays
/// no part. Fails like the parser of files; a QuickTime audio entry of a version above 2 throws a
/// plain std::exception.
class mp4_sampleentry_parser
    : public details::visitors<mp4_parser_base, sample_entry, visual_sample_entry, audio_sample_entry,
                               hint_sample_entry, bit_rate_box, pixel_aspect_ratio_box, clean_apperture_box,
                               colour_information_box, avc_configuration_box, avc_sample_entry, avc2_sample_entry,
                               hevc_configuration_box, hevc_sample_entry, ac3_sample_entry, ac3_configuration_box,
                               mp4_visual_sample_entry, mp4_audio_sample_entry, esd_box> {
public:
    explicit mp4_sampleentry_parser(parse_context context, const box_registry& from = sample_entry_registry())
        : visitors(std::move(context), from) {}

private:
    void visit(sample_entry& box) override;
    void visit(visual_sample_entry& box) override;
    void visit(audio_sample_entry& box) override;
    void visit(hint_sample_entry& box) override;
    void visit(bit_rate_box& box) override;
    void visit(pixel_aspect_ratio_box& box) override;
    void visit(clean_apperture_box& box) override;
    void visit(colour_information_box& box) override;
    void visit(avc_configuration_box& box) override;
    void visit(avc_sample_entry& box) override;
    void visit(avc2_sample_entry& box) override;
    void visit(hevc_configuration_box& box) override;
    void visit(hevc_sample_entry& box) override;
    void visit(ac3_sample_entry& box) override;
    void visit(ac3_configuration_box& box) override;
    void visit(mp4_visual_sample_entry& box) override;
    void visit(mp4_audio_sample_entry& box) override;
    void visit(esd_box& box) override;
};

}  // namespace vio::mp4
