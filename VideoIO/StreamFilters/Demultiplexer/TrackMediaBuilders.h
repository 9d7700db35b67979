// The two halves of BuildTrackMedia, and what is theirs alone.
#pragma once

#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackMedia.h"

#include <algorithm>
#include <span>

namespace Norvane::MediaKit::Filters::details {

/// What a media type is made from.
struct MediaSource {
    vio::mp4::mp4_parser& parser;
    const std::shared_ptr<vio::mp4::sample_entry>& entry;
    const ReadingContext& context;
    TrackTables& tables;
};

HRESULT BuildVideoMedia(const MediaSource& source, TrackMedia& media);
HRESULT BuildAudioMedia(const MediaSource& source, TrackMedia& media);

/// A row of a table by code: of a handler, a sample entry or an object type indication.
template <class Build>
struct MediaRow {
    std::uint32_t code;
    Build* build;
};

/// Null for a code that is in no row.
template <class Build, std::size_t Rows>
Build* FindBuild(const MediaRow<Build> (&rows)[Rows], std::uint32_t code) {
    const auto* row = std::ranges::find(rows, code, &MediaRow<Build>::code);
    return row != std::end(rows) ? row->build : nullptr;
}

}  // namespace Norvane::MediaKit::Filters::details
