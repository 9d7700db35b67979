#include "VideoIO/StreamFilters/Demultiplexer/MovieCheck.h"

#include "MediaKit/Results.h"
#include "VideoIO/StreamFilters/Demultiplexer/BoxWalk.h"
#include "VideoIO/StreamFilters/Demultiplexer/FragmentMap.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadPart.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters::details {

using namespace vio::mp4;

namespace {

using Severity = ReadingFindings::Severity;

constexpr std::uint32_t kVideo = fourcc("vide");
constexpr std::uint32_t kAudio = fourcc("soun");

/// Where boxes stand, for the log.
LONGLONG Offset(const box& box) { return static_cast<LONGLONG>(box.offset); }

class MovieCheck {
public:
    MovieCheck(mp4_parser& parser, const ReadingContext& context, const CreateOutputPinFunction& createOutputPin,
               MovieFacts& facts)
        : m_parser(parser),
          m_context(context),
          m_findings(context.findings),
          m_createOutputPin(createOutputPin),
          m_facts(facts) {}

    HRESULT Run();

private:
    void FindMediaData();
    void CheckFileType();
    void FindFragments();
    HRESULT CheckTracks();
    HRESULT CheckTrack(const track_box& trak);
    bool FindRequired(const track_box& trak, TrackBoxes& track);
    bool IsSelfContained(const TrackBoxes& track);
    std::shared_ptr<edit_list_box> FindEdits(const track_box& trak);
    HRESULT MakePin(TrackBoxes& track);
    void AddDuration(bool video, REFERENCE_TIME duration);
    void CheckOrder();

    /// Null when the parent or the child is missing.
    template <class T>
    std::shared_ptr<T> Child(const box* parent) {
        return parent != nullptr ? m_parser.find_child<T>(*parent) : nullptr;
    }
    /// The same, for a child without which the track cannot be played.
    template <class T>
    std::shared_ptr<T> Required(const box* parent, const ReadingFindings::Message& whenMissing) {
        std::shared_ptr<T> child = Child<T>(parent);
        if (child == nullptr) m_findings.ReportExclusion(Severity::Warning, whenMissing);
        return child;
    }
    /// The same, for a child that a file should have.
    template <class T>
    std::shared_ptr<T> Expected(const box* parent, const ReadingFindings::Message& whenMissing) {
        std::shared_ptr<T> child = Child<T>(parent);
        if (child == nullptr) m_findings.Report(Severity::Warning, whenMissing);
        return child;
    }

    mp4_parser& m_parser;
    const ReadingContext& m_context;
    ReadingFindings& m_findings;
    const CreateOutputPinFunction& m_createOutputPin;
    MovieFacts& m_facts;

    std::shared_ptr<media_data_box> m_mdat;  ///< the first
    FragmentMap m_fragments;
};

HRESULT MovieCheck::Run() {
    m_facts.moov = BoxWalk::TopLevel(m_parser).Next<movie_box>();
    if (m_facts.moov == nullptr) {
        m_findings.ReportExclusion(Severity::Warning, L"mp4_check: moov box not found.");
        return QZ_E_UNSUPPORTED_FORMAT;
    }
    FindMediaData();
    CheckFileType();
    m_facts.mvhd = Child<movie_header_box>(m_facts.moov.get());
    if (m_facts.mvhd == nullptr) {
        m_findings.ReportExclusion(Severity::Error, L"mp4check: error: mvhd box not found.");
        return QZ_E_UNSUPPORTED_FORMAT;
    }
    FindFragments();
    if (const HRESULT hr = CheckTracks(); FAILED(hr)) return hr;
    CheckOrder();
    return S_OK;
}

void MovieCheck::FindMediaData() {
    BoxWalk walk = BoxWalk::TopLevel(m_parser);
    m_mdat = walk.Next<media_data_box>();
    if (m_mdat == nullptr) {
        m_findings.Report(Severity::Warning, L"mp4_check: mdat box not found. The file should be fragmented.");
        return;
    }
    int count = 1;
    while (walk.Next<media_data_box>() != nullptr) ++count;
    m_findings.Report(Severity::Information, L"mp4_check: found %d mdat box(es).", count);
}

void MovieCheck::CheckFileType() {
    const auto ftyp = BoxWalk::TopLevel(m_parser).Next<file_type_box>();
    if (ftyp == nullptr) {
        m_findings.Report(Severity::Warning, L"mp4_check: ftyp box not found.");
        return;
    }
    if (m_mdat != nullptr && m_mdat->offset < ftyp->offset)
        m_findings.Report(Severity::Warning, L"mp4check: ftyp box placed after mdat box (%I64d > %I64d).",
                          Offset(*ftyp), Offset(*m_mdat));
    if (m_facts.moov->offset < ftyp->offset)
        m_findings.Report(Severity::Warning, L"mp4check: ftyp box placed after moov box (%I64d > %I64d).",
                          Offset(*ftyp), Offset(*m_facts.moov));
}

void MovieCheck::FindFragments() {
    const auto mvex = Child<movie_extends_box>(m_facts.moov.get());
    if (mvex == nullptr) return;
    m_fragments.Gather(m_parser, *mvex, m_context);
    m_fragments.Report(m_findings);
}

HRESULT MovieCheck::CheckTracks() {
    BoxWalk walk(m_parser, *m_facts.moov);
    while (const auto trak = walk.Next<track_box>()) {
        HRESULT hr = S_FALSE;
        ReadPart(m_context, [&] { hr = CheckTrack(*trak); });
        if (hr == QZ_E_UNSUPPORTED_FORMAT) return hr;
    }
    return S_OK;
}

HRESULT MovieCheck::CheckTrack(const track_box& trak) {
    TrackBoxes track;
    if (!FindRequired(trak, track) || !IsSelfContained(track)) return S_FALSE;
    track.elst = FindEdits(trak);
    const std::uint32_t handler = track.hdlr->handler_type;
    if (handler != kVideo && handler != kAudio) {
        m_findings.ReportExclusion(Severity::Information, L"Ignored track %s", fourcc_text(handler).c_str());
        return S_FALSE;
    }
    return MakePin(track);
}

/// Looks for all of them, so that each that is missing is told.
bool MovieCheck::FindRequired(const track_box& trak, TrackBoxes& track) {
    track.tkhd = Required<track_header_box>(&trak, L"mp4check: missing required tkhd box");
    track.mdia = Required<media_box>(&trak, L"mp4check: missing required mdia box");
    const box* const mdia = track.mdia.get();
    track.mdhd = Required<media_header_box>(mdia, L"mp4check: missing required mdhd box");
    track.hdlr = Required<handler_box>(mdia, L"mp4check: missing required hdlr box");
    track.minf = Required<media_information_box>(mdia, L"mp4check: missing required minf box");
    return track.tkhd && track.mdia && track.mdhd && track.hdlr && track.minf;
}

/// Oddities are told and forgiven; media data in another file is not.
bool MovieCheck::IsSelfContained(const TrackBoxes& track) {
    const auto dinf = Expected<data_information_box>(track.minf.get(), L"mp4check: missing required dinf box.");
    if (dinf == nullptr) return true;
    const auto dref = Expected<data_reference_box>(dinf.get(), L"mp4check: missing required dref box.");
    if (dref == nullptr) return true;
    const DWORD id = track.tkhd->track_ID;
    if (dref->entry_count == 0) m_findings.Report(Severity::Warning, L"mp4check: no url of urn box.");
    if (dref->entry_count >= 2)
        m_findings.Report(Severity::Warning, L"mp4check: unsupported number of external reference for track %d.", id);
    if (dref->entry_count != 1) return true;

    // Behind version, flags and the number of entries.
    const auto entry = m_parser.boxes.find(dref->offset + dref->header_size + 8);
    if (entry == m_parser.boxes.end()) return true;
    const auto url = std::dynamic_pointer_cast<data_entry_url_box>(entry->second);
    if (url == nullptr || url->flags == 1) return true;
    m_findings.ReportExclusion(Severity::Warning,
                               L"mp4check: track %d uses an external reference. This is unsupported.", id);
    return false;
}

std::shared_ptr<edit_list_box> MovieCheck::FindEdits(const track_box& trak) {
    return Child<edit_list_box>(Child<edit_box>(&trak).get());
}

HRESULT MovieCheck::MakePin(TrackBoxes& track) {
    track.mvhd = m_facts.mvhd;
    track.trex = m_fragments.Defaults(track.tkhd->track_ID);
    track.fragments = &m_fragments.Take(track.tkhd->track_ID);
    REFERENCE_TIME duration = 0;
    const std::size_t exclusionsBefore = m_findings.ExclusionCount();
    const HRESULT hr = m_createOutputPin(track, duration);
    if (FAILED(hr) && m_findings.ExclusionCount() == exclusionsBefore)
        m_findings.RecordExclusion(L"track %d cannot be read: error 0x%08x", track.tkhd->track_ID,
                                   static_cast<DWORD>(hr));
    if (hr == QZ_E_UNSUPPORTED_FORMAT && m_context.options.skipBrokenParts) {
        m_findings.ReportExclusion(Severity::Warning, L"mp4check: track %d cannot be played, it is left out.",
                                   track.tkhd->track_ID);
        return S_FALSE;
    }
    AddDuration(track.hdlr->handler_type == kVideo, SUCCEEDED(hr) ? duration : 0);
    return hr;
}

/// The first duration counts; after that video shortens the movie, even to 0 with a track that failed, and audio never
/// does.
void MovieCheck::AddDuration(bool video, REFERENCE_TIME duration) {
    if (m_facts.duration == 0)
        m_facts.duration = duration;
    else if (video)
        m_facts.duration = std::min(m_facts.duration, duration);
}

void MovieCheck::CheckOrder() {
    if (m_mdat == nullptr) return;
    m_facts.streamingOrder = m_facts.moov->offset < m_mdat->offset;
    if (!*m_facts.streamingOrder)
        m_findings.Report(
            Severity::Warning,
            L"mp4check: warning: moov after mdat, the file is not optimized for streaming (%I64d > %I64d).",
            Offset(*m_facts.moov), Offset(*m_mdat));
}

}  // namespace

void FindMovieHeader(mp4_parser& parser, MovieFacts& facts) {
    if (parser.boxes.empty()) return;
    facts.moov = BoxWalk::TopLevel(parser).Next<movie_box>();
    if (facts.moov != nullptr) facts.mvhd = parser.find_child<movie_header_box>(*facts.moov);
}

HRESULT mp4_check(mp4_parser& parser, const ReadingContext& context, const CreateOutputPinFunction& createOutputPin,
                  MovieFacts& facts) {
    return MovieCheck(parser, context, createOutputPin, facts).Run();
}

}  // namespace Norvane::MediaKit::Filters::details
