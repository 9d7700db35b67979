// What stands in a sample description: entries with their children, and the descriptors of `esds` in them.
#include "Fuzz/harness.h"
#include "VideoIO/StreamFilters/Container/es_parser_base.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"
#include "VideoIO/StreamFilters/Container/mp4_sampleentry_parser.h"

namespace mediakit_fuzz {
namespace {

using namespace vio::mp4;

void read_descriptors(esd_box& esds) {
    vio::memory_stream stream(esds.data.data(), static_cast<std::uint32_t>(esds.data.size()));
    vio::es::es_parser_base parser(vio::parse_context{stream});
    parser.parse();
}

void look_at(mp4_sampleentry_parser& parser, const box& entry) {
    parser.find_child<avc_configuration_box>(entry);
    parser.find_child<hevc_configuration_box>(entry);
    parser.find_child<pixel_aspect_ratio_box>(entry);
    parser.find_child<ac3_configuration_box>(entry);
    if (const auto esds = parser.find_child<esd_box>(entry)) read_descriptors(*esds);
}

void read(bytes_view input) {
    bytes copy(input.begin(), input.end());
    vio::memory_stream stream(copy.data(), static_cast<std::uint32_t>(copy.size()));
    mp4_sampleentry_parser parser(vio::parse_context{stream});
    try {
        parser.scan(0, stream.size(), true, true);
    } catch (const std::exception&) {
        // What was read stays.
    }
    const auto entries = parser.boxes;
    for (const auto& [offset, entry] : entries) {
        try {
            look_at(parser, *entry);
        } catch (const std::exception&) {
            // The next scan starts clean.
        }
    }
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const mediakit_fuzz::trial trial(size);
    mediakit_fuzz::read({data, size});
    return 0;
}
