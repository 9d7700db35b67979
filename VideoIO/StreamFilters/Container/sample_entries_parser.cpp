#include "VideoIO/StreamFilters/Container/mp4_parser.h"

namespace vio::mp4 {

void mp4_parser::visit(mp4_audio_sample_entry& box) { visit(static_cast<audio_sample_entry&>(box)); }

void mp4_parser::visit(avc_configuration_box& box) { read_record(box, 0, box.record); }
void mp4_parser::visit(hevc_configuration_box& box) { read_record(box, 0, box.record); }

void mp4_parser::visit(esd_box& box) {
    read_full_box_header(box);
    read_record(box, 4, box.data);
}

void mp4_parser::visit(sampling_rate_box& box) { read_fields(box); }

}  // namespace vio::mp4
