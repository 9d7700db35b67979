#include "VideoIO/StreamFilters/Container/user_data_boxes.h"

#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {
namespace {

/// "eng" as three letters of 5 bits (ISO 639-2/T).
constexpr std::uint16_t text_language = 0x15C7;

}  // namespace

// Never read.
void mp4_writer::write_fields(const string_list_box& box) {
    if (box.text.empty()) return;
    field_writer out = payload();
    out.unchecked();
    out(static_cast<std::uint16_t>(box.text.size()), text_language);
    out.bytes(box.text.data(), box.text.size());
}

}  // namespace vio::mp4
