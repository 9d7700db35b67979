#include "VideoIO/StreamFilters/Demultiplexer/FileParser.h"

namespace Norvane::MediaKit::Filters::details {

namespace {

using namespace vio::mp4;

/// Boxes between the fragments of segmented files (ISO/IEC 14496-12, 8.8 and 8.16; ISO/IEC 23009-1, 5.10). Nothing in
/// them is read.
constexpr std::uint32_t kSegmentBoxes[] = {fourcc("styp"), fourcc("emsg"), fourcc("prft"), fourcc("ssix"),
                                           fourcc("mfra")};

box_registry RegistryFor(const ReadingOptions& options) {
    box_registry registry = main_registry();
    if (options.skipSegmentBoxes) {
        for (const std::uint32_t type : kSegmentBoxes)
            registry.emplace(type, [](unsigned int code) { return std::make_shared<box>(code); });
    }
    if (options.fragmentDecodeTimes) {
        registry.emplace(fourcc("tfdt"),
                         [](unsigned int) { return std::make_shared<track_fragment_base_media_decode_time_box>(); });
    }
    return registry;
}

/// What the parser looks at and does not own.
struct FileParser {
    FileParser(std::shared_ptr<vio::byte_stream> from, const ReadingOptions& options)
        : stream(std::move(from)), registry(RegistryFor(options)), parser(*stream, registry) {}

    const std::shared_ptr<vio::byte_stream> stream;
    const box_registry registry;
    mp4_parser parser;
};

}  // namespace

std::shared_ptr<vio::mp4::mp4_parser> MakeFileParser(std::shared_ptr<vio::byte_stream> stream,
                                                     const ReadingOptions& options) {
    const auto file = std::make_shared<FileParser>(std::move(stream), options);
    return {file, &file->parser};
}

}  // namespace Norvane::MediaKit::Filters::details
