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

/// A parser, and what it looks at and does not own.
class FileParser final : public parse_observer {
public:
    FileParser(std::shared_ptr<vio::byte_stream> stream, const ReadingContext& context)
        : m_stream(std::move(stream)),
          m_registry(RegistryFor(context.options)),
          m_findings(context.findings),
          parser(*m_stream, m_registry) {
        parser.observer = this;
    }

    void unknown_box(const wchar_t* format, const wchar_t* type, bool ends) override {
        if (ends)
            m_findings.ReportExclusion(ReadingFindings::Severity::Warning, format, type);
        else
            m_findings.Report(ReadingFindings::Severity::Warning, format, type);
    }

private:
    const std::shared_ptr<vio::byte_stream> m_stream;
    const box_registry m_registry;
    ReadingFindings& m_findings;

public:
    mp4_parser parser;
};

}  // namespace

std::shared_ptr<vio::mp4::mp4_parser> MakeFileParser(std::shared_ptr<vio::byte_stream> stream,
                                                     const ReadingContext& context) {
    const auto file = std::make_shared<FileParser>(std::move(stream), context);
    return {file, &file->parser};
}

}  // namespace Norvane::MediaKit::Filters::details
