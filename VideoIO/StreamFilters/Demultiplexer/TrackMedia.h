// From a track's sample entry to its media type.
#pragma once

#include "MediaKit/StreamRate.h"
#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTables.h"
#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include <memory>

namespace vio::mp4 {
class mp4_parser;
}

namespace Norvane::MediaKit::Filters::details {

struct TrackMedia {
    CMediaType mediaType;
    qz_DSFilters::StreamRate rate{0, 1};
    std::unique_ptr<byte_stream_handler> handler;  ///< null: samples are read as they are
    DWORD sampleEntry = 0;                         ///< its four characters
};

/// Makes the media type from the first entry of `stsd`, which has one, and the tables, whose sync index it builds. A
/// handler type other than `vide` and `soun`, an entry or a stream of an unknown kind is E_FAIL, an entry of the wrong
/// class E_UNEXPECTED; `av01` is QZ_E_UNSUPPORTED_FORMAT, which refuses the file. Each but the last is logged.
HRESULT BuildTrackMedia(vio::mp4::mp4_parser& parser, DWORD handlerType, const vio::mp4::sample_description_box& stsd,
                        const ReadingContext& context, TrackTables& tables, TrackMedia& media);

}  // namespace Norvane::MediaKit::Filters::details
