// The sample entry that describes a track's media type in `stsd`.
#pragma once

#include "VideoIO/StreamFilters/Container/mp4_writer.h"
#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include <memory>

namespace Norvane::MediaKit::Filters::details {

/// Adds the entry for `mediaType`, with its children, to `writer` after its last box and under `stsd`. The
/// decoder configuration comes from `handler`, which may be null. A type that has no entry adds nothing.
void add_sample_entry(vio::mp4::mp4_writer& writer, const std::shared_ptr<vio::mp4::sample_description_box>& stsd,
                      const CMediaType& mediaType, byte_stream_handler* handler);

}  // namespace Norvane::MediaKit::Filters::details
