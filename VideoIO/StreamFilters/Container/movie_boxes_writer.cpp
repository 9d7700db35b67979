#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

void mp4_writer::visit(const movie_box& box) { write_box_header(box); }
void mp4_writer::visit(const movie_header_box& box) { write_fields(box); }

}  // namespace vio::mp4
