#include "VideoIO/StreamFilters/Container/mp4_parser.h"

namespace vio::mp4 {

void mp4_parser::visit(movie_header_box& box) { read_fields(box); }

}  // namespace vio::mp4
