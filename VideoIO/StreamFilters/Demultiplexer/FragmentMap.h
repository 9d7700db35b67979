// The fragments of a file by track.
#pragma once

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

class FragmentMap {
public:
    /// Reads `mvex` and all `moof` of the file. A `traf` without `tfhd` belongs to no track. Where broken parts
    /// are left out, a broken `mvex` and a broken `moof` are.
    void Gather(vio::mp4::mp4_parser& parser, const vio::mp4::movie_extends_box& mvex, const ReadingContext& context);
    /// Reports how many each track has.
    void Report(ReadingFindings& findings) const;

    /// The track's `trex`, or null.
    std::shared_ptr<vio::mp4::track_extends_box> Defaults(std::uint32_t trackId) const;
    /// The track's fragments in file order. Track ids are unique (ISO/IEC 14496-12, 8.3.2); where many tracks have one
    /// id the last get none, or a small file could ask for the same fragments without end.
    const std::vector<FragmentRecord>& Take(std::uint32_t trackId);

private:
    struct TrackFragments {
        std::vector<FragmentRecord> records;
        int taken = 0;
    };

    void GatherDefaults(vio::mp4::mp4_parser& parser, const vio::mp4::movie_extends_box& mvex);
    void GatherFragment(vio::mp4::mp4_parser& parser, const vio::mp4::movie_fragment_box& moof,
                        const ReadingOptions& options);

    std::map<std::uint32_t, std::shared_ptr<vio::mp4::track_extends_box>> m_defaults;
    std::map<std::uint32_t, TrackFragments> m_fragments;
};

}  // namespace Norvane::MediaKit::Filters::details
