#include "VideoIO/StreamFilters/Demultiplexer/TrackMedia.h"

#include "VideoIO/StreamFilters/Container/fourcc.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackMediaBuilders.h"

namespace Norvane::MediaKit::Filters::details {
namespace {

using vio::mp4::fourcc;

constexpr MediaRow<HRESULT(const MediaSource&, TrackMedia&)> kHandlers[] = {
    {fourcc("vide"), BuildVideoMedia},
    {fourcc("soun"), BuildAudioMedia},
};

}  // namespace

HRESULT BuildTrackMedia(vio::mp4::mp4_parser& parser, DWORD handlerType, const vio::mp4::sample_description_box& stsd,
                        const ReadingContext& context, TrackTables& tables, TrackMedia& media) {
    const auto build = FindBuild(kHandlers, handlerType);
    if (build == nullptr) {
        context.findings.ReportExclusion(ReadingFindings::Severity::Information, L"Unknown handler type %s",
                                         vio::mp4::fourcc_text(handlerType).c_str());
        return E_FAIL;
    }
    const auto& entry = stsd.entries.front();
    media.sampleEntry = entry->type;
    return build({parser, entry, context, tables}, media);
}

}  // namespace Norvane::MediaKit::Filters::details
