// Looks through the boxes of a file for tracks that can be played, and reports what is odd about it.
#pragma once

#include "Platform/Com/Types.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"

#include <functional>
#include <memory>
#include <optional>

namespace Norvane::MediaKit::Filters::details {

/// Makes a pin for a track. QZ_E_UNSUPPORTED_FORMAT refuses the file, unless broken parts are left out; another failure
/// leaves the track out. The duration is that of the track, 100 ns.
using CreateOutputPinFunction = std::function<HRESULT(const TrackBoxes& track, REFERENCE_TIME& duration)>;

struct MovieFacts {
    std::shared_ptr<vio::mp4::movie_box> moov;
    std::shared_ptr<vio::mp4::movie_header_box> mvhd;
    REFERENCE_TIME duration = 0;         ///< 100 ns
    std::optional<bool> streamingOrder;  ///< `moov` stands before the first `mdat`; empty without one
};

/// Stores the `moov` among the boxes read so far and its `mvhd`, and nothing where there is none.
void FindMovieHeader(vio::mp4::mp4_parser& parser, MovieFacts& facts);

/// Calls createOutputPin for each video and audio track whose boxes are there, in the order of the file.
/// QZ_E_UNSUPPORTED_FORMAT for a file that cannot be played; a file without such a track is S_OK. Throws
/// core::exception for boxes that cannot be read. `facts` holds what was found until then.
HRESULT mp4_check(vio::mp4::mp4_parser& parser, const ReadingContext& context,
                  const CreateOutputPinFunction& createOutputPin, MovieFacts& facts);

}  // namespace Norvane::MediaKit::Filters::details
