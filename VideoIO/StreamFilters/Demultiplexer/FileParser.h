// The box parser of an open file, knowing what the host wants it to know.
#pragma once

#include "MediaKit/IReadingPolicy.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"

#include <memory>

namespace Norvane::MediaKit::Filters::details {

/// Keeps the stream for as long as the parser lives.
std::shared_ptr<vio::mp4::mp4_parser> MakeFileParser(std::shared_ptr<vio::byte_stream> stream,
                                                     const ReadingOptions& options);

}  // namespace Norvane::MediaKit::Filters::details
