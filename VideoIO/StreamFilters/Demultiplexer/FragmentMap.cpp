#include "VideoIO/StreamFilters/Demultiplexer/FragmentMap.h"

#include "VideoIO/StreamFilters/Demultiplexer/BoxWalk.h"
#include "VideoIO/StreamFilters/Demultiplexer/FragmentTables.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadPart.h"

namespace Norvane::MediaKit::Filters::details {

using namespace vio::mp4;

namespace {

constexpr int kMostTracksOfOneId = 16;

/// Looks for a box that nobody needs. A level with stray bytes behind its boxes answers its first lookup with nothing,
/// and the later ones with what is there.
template <class Box>
void ReadLevel(mp4_parser& parser, const box& parent) {
    parser.find_child<Box>(parent);
}

/// `next` is where a track fragment begins that tells no base.
std::uint64_t BaseOf(const track_fragment_header_box& tfhd, const movie_fragment_box& moof, std::uint64_t next) {
    namespace has = track_fragment_flags;
    if ((tfhd.flags & has::base_data_offset) != 0) return tfhd.base_data_offset;
    return (tfhd.flags & has::default_base_is_moof) != 0 ? moof.offset : next;
}

}  // namespace

void FragmentMap::Gather(mp4_parser& parser, const movie_extends_box& mvex, const ReadingContext& context) {
    ReadPart(context, [&] { GatherDefaults(parser, mvex); });
    BoxWalk fragments = BoxWalk::TopLevel(parser);
    while (const auto moof = fragments.Next<movie_fragment_box>())
        ReadPart(context, [&] { GatherFragment(parser, *moof, context.options); });
}

void FragmentMap::GatherDefaults(mp4_parser& parser, const movie_extends_box& mvex) {
    ReadLevel<movie_extends_header_box>(parser, mvex);
    BoxWalk walk(parser, mvex);
    while (const auto trex = walk.Next<track_extends_box>()) m_defaults.emplace(trex->track_ID, trex);
}

void FragmentMap::GatherFragment(mp4_parser& parser, const movie_fragment_box& moof, const ReadingOptions& options) {
    std::uint64_t next = moof.offset;
    ReadLevel<movie_fragment_header_box>(parser, moof);
    BoxWalk walk(parser, moof);
    while (const auto traf = walk.Next<track_fragment_box>()) {
        FragmentRecord record;
        record.tfhd = parser.find_child<track_fragment_header_box>(*traf);
        if (record.tfhd == nullptr) continue;
        record.base = BaseOf(*record.tfhd, moof, next);
        record.truns = BoxWalk(parser, *traf).Rest<track_run_box>();
        record.truns.shrink_to_fit();  // there may be millions
        if (options.fragmentDecodeTimes) {
            const auto tfdt = parser.find_child<track_fragment_base_media_decode_time_box>(*traf);
            if (tfdt != nullptr) record.decode_time = tfdt->base_media_decode_time;
        }
        if (options.contiguousRuns) next = EndOfFragmentData(record, Defaults(record.tfhd->track_ID).get());
        m_fragments[record.tfhd->track_ID].records.push_back(std::move(record));
    }
}

void FragmentMap::Report(ReadingFindings& findings) const {
    using Severity = ReadingFindings::Severity;
    if (m_fragments.empty()) findings.Report(Severity::Warning, L"mp4check: mp4 is fragmented, but no fragment found.");
    for (const auto& [id, fragments] : m_fragments) {
        if (!m_defaults.contains(id))
            findings.ReportExclusion(Severity::Warning, L"mp4check: track %d, trex box not found.", id);
        else if (fragments.records.empty())
            findings.Report(Severity::Warning, L"mp4check: track %d, no fragment found.", id);
        else
            findings.Report(Severity::Information, L"mp4check: track %d, found %d fragments", id,
                            static_cast<int>(fragments.records.size()));
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
