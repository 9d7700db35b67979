#include "VideoIO/StreamFilters/Demultiplexer/ReadingBudget.h"

#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"

namespace Norvane::MediaKit::Filters::details {

std::uint64_t BoxBytes(const vio::mp4::mp4_parser_base& parser, std::uint64_t fileSize) {
    std::uint64_t bytes = 0;
    std::uint64_t next = 0;
    for (const auto& [offset, box] : parser.boxes) {
        if (offset < next || offset >= fileSize) continue;  // in another box
        const std::uint64_t left = fileSize - offset;
        next = offset + std::min(box->size, left);
        // A header has been read also where the size is smaller than that.
        const std::uint64_t header = box->header_size;
        const bool media = box->type == vio::mp4::fourcc("mdat");
        bytes += std::min(media ? header : std::max(box->size, header), left);
    }
    return std::min(bytes, fileSize);
}

}  // namespace Norvane::MediaKit::Filters::details
