#include "VideoIO/StreamFilters/Demultiplexer/FragmentMap.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Demultiplexer/BoxWalk.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadPart.h"

namespace Norvane::MediaKit::Filters::details {

using namespace vio::mp4;

namespace {

constexpr int kMostTracksOfOneId = 16;

}  // namespace

void FragmentMap::Gather(mp4_parser& parser, const movie_extends_box& mvex, const ReadingPolicy& policy) {
    BoxWalk defaults(parser, mvex);
    while (const auto trex = defaults.Next<track_extends_box>()) m_defaults.emplace(trex->track_ID, trex);
    BoxWalk fragments = BoxWalk::TopLevel(parser);
    while (const auto moof = fragments.Next<movie_fragment_box>())
        ReadPart(policy, [&] { GatherFragment(parser, *moof, policy.useFragmentDecodeTimes); });
}

void FragmentMap::GatherFragment(mp4_parser& parser, const movie_fragment_box& moof, bool decodeTimes) {
    BoxWalk walk(parser, moof);
    while (const auto traf = walk.Next<track_fragment_box>()) {
        FragmentRecord record;
        record.moof_offset = moof.offset;
        record.tfhd = parser.find_child<track_fragment_header_box>(*traf);
        if (record.tfhd == nullptr) continue;
        record.truns = BoxWalk(parser, *traf).Rest<track_run_box>();
        if (decodeTimes) {
            const auto tfdt = parser.find_child<track_fragment_base_media_decode_time_box>(*traf);
            if (tfdt != nullptr) record.decode_time = tfdt->base_media_decode_time;
        }
        m_fragments[record.tfhd->track_ID].records.push_back(std::move(record));
    }
}

void FragmentMap::Report() const {
    if (m_fragments.empty()) QZReport(2, L"mp4check: mp4 is fragmented, but no fragment found.");
    for (const auto& [id, fragments] : m_fragments) {
        if (!m_defaults.contains(id))
            QZReport(2, L"mp4check: track %d, trex box not found.", id);
        else if (fragments.records.empty())
            QZReport(2, L"mp4check: track %d, no fragment found.", id);
        else
            QZReport(3, L"mp4check: track %d, found %d fragments", id, static_cast<int>(fragments.records.size()));
    }
}

std::shared_ptr<track_extends_box> FragmentMap::Defaults(std::uint32_t trackId) const {
    const auto found = m_defaults.find(trackId);
    return found != m_defaults.end() ? found->second : nullptr;
}

const std::vector<FragmentRecord>& FragmentMap::Take(std::uint32_t trackId) {
    static const std::vector<FragmentRecord> none;
    TrackFragments& fragments = m_fragments[trackId];
    return fragments.taken++ < kMostTracksOfOneId ? fragments.records : none;
}

}  // namespace Norvane::MediaKit::Filters::details
