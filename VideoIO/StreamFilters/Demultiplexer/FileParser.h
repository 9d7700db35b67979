// The box parser of an open file, knowing what the host wants it to know.
#pragma once

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"

#include <memory>

namespace Norvane::MediaKit::Filters::details {

/// Keeps the stream for as long as the parser lives. Unknown boxes become findings, also those that the parser
/// meets when it is asked for more boxes later.
std::shared_ptr<vio::mp4::mp4_parser> MakeFileParser(std::shared_ptr<vio::byte_stream> stream,
                                                     const ReadingContext& context);

}  // namespace Norvane::MediaKit::Filters::details
