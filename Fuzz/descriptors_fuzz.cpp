// The descriptors of an `esds` box.
#include "Fuzz/harness.h"
#include "VideoIO/StreamFilters/Container/es_parser_base.h"
#include "VideoIO/StreamFilters/Container/exception.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

namespace mediakit_fuzz {
namespace {

using namespace vio::es;

void read(bytes_view input) {
    const std::uint64_t start = take_byte(input);
    bytes copy(input.begin(), input.end());
    vio::memory_stream stream(copy.data(), static_cast<std::uint32_t>(copy.size()));
    es_parser_base parser(vio::parse_context{stream});
    try {
        parser.parse();
        for (const std::uint8_t tag : {2, 3, 4, 5, 6, 20}) {
            std::uint64_t offset = start;
            parser.find_descriptor(tag, 0, offset, copy.size());
        }
    } catch (const core::exception&) {
        // Nested too deeply, or longer than what it stands in.
    }
    for (const auto& [offset, descriptor] : parser.descriptors) {
        const auto info = std::dynamic_pointer_cast<DecoderSpecificInfo>(descriptor);
        require(!info || info->data.size() <= input.size(), "specific info longer than the input");
    }
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const mediakit_fuzz::trial trial(size);
    mediakit_fuzz::read({data, size});
    return 0;
}
