// The boxes of a file that do not depend on how its samples were written.
#pragma once

#include "VideoIO/StreamFilters/Authoring/MovieSettings.h"
#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

#include <cstdint>
#include <memory>
#include <span>

namespace Norvane::MediaKit::Filters {

/// A track of a file being written. The input pin owns what is pointed to.
struct MovieTrackRef {
    MovieTrack* track = nullptr;
    const CMediaType* mediaType = nullptr;
    std::uint32_t orientation = 4;
};

/// Now, as files date their boxes (ISO/IEC 14496-12, 8.2.2): seconds since 1904-01-01.
std::uint64_t SecondsSince1904();

/// The track's own when there is just one, so that no precision is lost; 1000 otherwise.
std::uint32_t MovieTimescale(std::span<const MovieTrackRef> tracks);

std::shared_ptr<vio::mp4::file_type_box> AddFileType(vio::mp4::mp4_writer& writer);

/// `mvhd` with a duration of 0. `now` dates it and its tracks.
std::shared_ptr<vio::mp4::movie_header_box> AddMovieHeader(vio::mp4::mp4_writer& writer, vio::mp4::box* moov,
                                                           std::uint32_t timescale, std::uint64_t now);

/// Where a track's media stand in the movie.
struct TrackEdit {
    // See TrackTimeline. A start after 0 becomes an empty edit.
    REFERENCE_TIME start = 0;
    std::int64_t mediaTime = 0;
};

/// `trak` down to `stsd` with its entry; the answer is `stbl`, for the tables. `tkhd`, `mdhd` and `elst` are
/// kept in the track.
std::shared_ptr<vio::mp4::sample_table_box> AddTrack(vio::mp4::mp4_writer& writer, vio::mp4::box* moov,
                                                     vio::mp4::movie_header_box& mvhd, const MovieTrackRef& ref,
                                                     const TrackEdit& edit);

/// `udta` with one text a metadata item; nothing without items.
void AddUserData(vio::mp4::mp4_writer& writer, vio::mp4::box* moov, std::span<const MovieMetadataItem> items);

/// Brings the tracks' durations into `tkhd`, and the longest into `mvhd`.
void UpdateDurations(vio::mp4::movie_header_box& mvhd, std::span<const MovieTrackRef> tracks);

}  // namespace Norvane::MediaKit::Filters
