#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackOrientation.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackSearch.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

#include <algorithm>
#include <limits>

namespace Norvane::MediaKit::Filters {

namespace {

/// Of a sample description without an entry of a known type: names the first one that is there.
void RecordUnknownEntry(const MP4MediaDemuxOutputPin::Origin& origin, const vio::mp4::sample_description_box& stsd) {
    // Behind the number of entries, which the parser counts to the header, and version and flags, which it does not.
    const std::uint64_t first = stsd.offset + stsd.header_size + 4;
    const auto entry = origin.parser->boxes.find(first);
    const DWORD id = origin.boxes.tkhd->track_ID;
    if (entry == origin.parser->boxes.end() || first >= stsd.offset + stsd.size)
        origin.context.findings.RecordExclusion(L"track %d has no sample entry", id);
    else
        origin.context.findings.RecordExclusion(L"track %d has a sample entry of unknown type %s", id,
                                                vio::mp4::fourcc_text(entry->second->type).c_str());
}

}  // namespace

MP4MediaDemuxOutputPin::MP4MediaDemuxOutputPin(MP4MediaDemuxFilter* filter, const wchar_t* name, const Origin& origin,
                                               REFERENCE_TIME& duration, HRESULT* phr)
    : StreamPin("MP4MediaDemuxOutputPin", phr, filter, name), m_demux(filter), m_turn(false, phr) {
    m_turn.Set();
    if (SUCCEEDED(*phr)) *phr = Build(origin, duration);
}

MP4MediaDemuxOutputPin::~MP4MediaDemuxOutputPin() = default;

HRESULT MP4MediaDemuxOutputPin::Build(const Origin& origin, REFERENCE_TIME& duration) {
    const auto* const parser = origin.parser;
    const auto& tkhd = origin.boxes.tkhd;
    const auto& mdia = origin.boxes.mdia;
    const auto& mdhd = origin.boxes.mdhd;
    const auto& hdlr = origin.boxes.hdlr;
    const auto& minf = origin.boxes.minf;
    QZCheckCondition(parser != nullptr, E_INVALIDARG);
    QZCheckCondition(tkhd != nullptr, E_INVALIDARG);
    QZCheckCondition(mdia != nullptr, E_INVALIDARG);
    QZCheckCondition(mdhd != nullptr, E_INVALIDARG);
    QZCheckCondition(hdlr != nullptr, E_INVALIDARG);
    QZCheckCondition(minf != nullptr, E_INVALIDARG);
    m_trackId = tkhd->track_ID;
    m_handlerType = hdlr->handler_type;
    m_orientation = details::OrientationOf(*tkhd);
    track_.mdhd = mdhd;
    return BuildTables(origin, duration);
}

HRESULT MP4MediaDemuxOutputPin::BuildTables(const Origin& origin, REFERENCE_TIME& duration) {
    const details::SampleTableBoxes tables = details::FindSampleTables(*origin.parser, *origin.boxes.minf);
    if (!tables.stsd) {
        origin.context.findings.RecordExclusion(L"track %d has no sample description", m_trackId);
        return E_FAIL;
    }
    if (tables.stsd->entries.empty()) {
        RecordUnknownEntry(origin, *tables.stsd);
        return m_handlerType == vio::mp4::fourcc("vide") ? QZ_E_UNSUPPORTED_FORMAT : QZ_E_TRACK_NOT_USABLE;
    }

    HRESULT hr = details::BuildTrackTables(origin.boxes, tables, origin.context, origin.budget, track_);
    if (FAILED(hr)) return hr;
    if (!track_.index_.empty()) duration = details::PresentationEnd(track_);
    hr = details::BuildTrackMedia(*origin.parser, m_handlerType, *tables.stsd, origin.context, track_, m_media);
    if (FAILED(hr)) return hr;
    if (!m_media.handler) m_media.handler = std::make_unique<details::byte_stream_handler>(m_media.mediaType);

    // No sample of a whole file is larger than the file; one that claims to be fails when it is read.
    const std::uint64_t largest = std::min<std::uint64_t>(track_.max_sample_size, origin.budget.FileSize());
    const std::uint64_t room =
        std::clamp<std::uint64_t>(origin.budget.TakeBufferBytes(largest), 1, std::numeric_limits<LONG>::max());
    m_bufferSize = static_cast<LONG>(room);
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == qz_DSFilters::IID_IStreamRate) return GetInterface<qz_DSFilters::IStreamRate>(this, ppv);
    if (riid == qz_DSFilters::IID_IOverrideMediaType) return GetInterface<qz_DSFilters::IOverrideMediaType>(this, ppv);
    if (riid == qz_DSFilters::IID_IVideoOrientation) return GetInterface<qz_DSFilters::IVideoOrientation>(this, ppv);
    if (riid == IID_ITrackInformation) return GetInterface<ITrackInformation>(this, ppv);
    if (riid == IID_IMediaSeeking) return GetInterface<IMediaSeeking>(this, ppv);
    return StreamPin::NonDelegatingQueryInterface(riid, ppv);
}

bool MP4MediaDemuxOutputPin::IsVideo() const { return m_media.mediaType.majortype == MEDIATYPE_Video; }

bool MP4MediaDemuxOutputPin::IsAudio() const { return m_media.mediaType.majortype == MEDIATYPE_Audio; }

bool MP4MediaDemuxOutputPin::StartsAtSyncRecords() const {
    const CMediaType& type = m_media.mediaType;
    return IsVideo() && !track_.sync_index.empty() &&
           (type.subtype == MEDIASUBTYPE_H264 || type.subtype == MEDIASUBTYPE_H265 ||
            type.bTemporalCompression != FALSE);
}

HRESULT MP4MediaDemuxOutputPin::GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result) {
    QZCheckCondition(result != nullptr, E_POINTER);
    const std::uint32_t timescale = track_.timescale();
    if (StartsAtSyncRecords()) {
        const REFERENCE_TIME start = CurrentSegment().start;
        if (frames > 0) {
            const std::int64_t ticks = details::WrappingAdd(details::ToTicks(start, timescale), frames);
            time = details::ToReferenceTime(ticks, timescale);
        }
        *result = details::FindSyncRecord(track_, time, start).time;
        return S_OK;
    }
    QZCheckCondition(!track_.index_.empty(), E_FAIL);
    *result = details::ToReferenceTime(track_.index_[details::FindSample(track_, time)].dts, timescale);
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::GetMediaType(int iPosition, CMediaType* pMediaType) {
    QZCheckCondition(pMediaType != 0, E_POINTER);
    QZCheckCondition(iPosition >= 0, E_INVALIDARG);
    return iPosition > 0 ? VFW_S_NO_MORE_ITEMS : GetMediaType(pMediaType);
}

HRESULT MP4MediaDemuxOutputPin::GetMediaType(CMediaType* pMediaType) {
    QZCheckHRESULT(pMediaType->Set(m_media.mediaType));
    Overrides().ApplyTo(*pMediaType);
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pRequest) {
    QZCheckCondition(pAlloc != nullptr, E_INVALIDARG);
    QZCheckCondition(pRequest != nullptr, E_INVALIDARG);
    pRequest->cBuffers = std::max<LONG>(pRequest->cBuffers, 10);
    pRequest->cbBuffer = m_bufferSize;
    pRequest->cbAlign = 1;
    pRequest->cbPrefix = 0;
    ALLOCATOR_PROPERTIES actual{};
    QZCheckHRESULT(pAlloc->SetProperties(pRequest, &actual));
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::GetRate(qz_DSFilters::StreamRate* rate) {
    QZCheckCondition(rate != nullptr, E_POINTER);
    const qz_DSFilters::StreamRate set = Overrides().rate;
    *rate = set.m_numerator > 0 && set.m_denominator > 0 ? set : m_media.rate;
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::GetOrientation(DWORD* orientation) {
    QZCheckCondition(orientation != nullptr, E_POINTER);
    const DWORD set = Overrides().orientation;
    *orientation = set != qz_DSFilters::VideoOrientation_None ? set : m_orientation;
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::GetTrackInformation(TrackInformation* information) {
    QZCheckCondition(information != nullptr, E_POINTER);
    const auto sync = std::count_if(track_.index_.begin(), track_.index_.end(),
                                    [](const details::SampleRecord& record) { return record.sync != 0; });
    const double seconds = static_cast<double>(track_.total_duration) / track_.timescale();
    *information = {.trackId = m_trackId,
                    .handler = m_handlerType,
                    .sampleEntry = m_media.sampleEntry,
                    .timescale = track_.timescale(),
                    .sampleCount = track_.index_.size(),
                    .syncSampleCount = static_cast<std::uint64_t>(sync),
                    .totalBytes = track_.total_bytes,
                    .maxSampleSize = track_.max_sample_size,
                    .duration = details::RoundToInteger(seconds * details::kUnitsPerSecond),
                    .presentation = details::PresentationEnd(track_),
                    .edit = track_.edit};
    return S_OK;
}

details::MediaTypeOverrides MP4MediaDemuxOutputPin::Overrides() const {
    CAutoLock lock(&m_fieldLock);
    return m_overrides;
}

HRESULT MP4MediaDemuxOutputPin::SetAspectRatio(const SIZE* aspectRatio) {
    QZCheckCondition(aspectRatio != nullptr, E_POINTER);
    CAutoLock lock(&m_fieldLock);
    m_overrides.aspectRatio = *aspectRatio;
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::SetInterlaceFlags(DWORD interlaceFlags) {
    CAutoLock lock(&m_fieldLock);
    m_overrides.interlaceFlags = interlaceFlags;
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::SetRate(const qz_DSFilters::StreamRate* rate) {
    QZCheckCondition(rate != nullptr, E_POINTER);
    if (!IsVideo()) return S_OK;
    CAutoLock lock(&m_fieldLock);
    m_overrides.rate = *rate;
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::SetOrientation(DWORD orientation) {
    CAutoLock lock(&m_fieldLock);
    m_overrides.orientation = orientation;
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
