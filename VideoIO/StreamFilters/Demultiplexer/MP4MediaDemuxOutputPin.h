// One track of an MP4 file as a stream of samples.
#pragma once

#include "MediaKit/IOverrideMediaType.h"
#include "MediaKit/IStreamRate.h"
#include "MediaKit/ITrackInformation.h"
#include "MediaKit/IVideoOrientation.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "VideoIO/StreamFilters/Authoring/MP4ByteStreamHandler.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingBudget.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingPolicy.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTables.h"
#include "VideoIO/StreamFilters/Frame/StreamPin.h"

#include <memory>

namespace vio::mp4 {
class mp4_parser;
}

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxFilter;

/// Made with all its tables when the file is opened. Its thread, which lives between Active and Inactive, pushes the
/// samples in decode order as fast as they are taken.
class MP4MediaDemuxOutputPin final : public StreamPin,
                                     public qz_DSFilters::IStreamRate,
                                     public qz_DSFilters::IOverrideMediaType,
                                     public qz_DSFilters::IVideoOrientation,
                                     public ITrackInformation,
                                     public IMediaSeeking {
public:
    /// What a pin is made from; used by the constructor only.
    struct Origin {
        vio::mp4::mp4_parser* parser;
        const details::TrackBoxes& boxes;
        const details::ReadingPolicy& policy;
        details::ReadingBudget& budget;
    };

    /// A negative *phr: the track cannot be played, and the pin is to be deleted. Stores the track's presentation end
    /// in `duration` (100 ns) when it has samples.
    MP4MediaDemuxOutputPin(MP4MediaDemuxFilter* filter, const wchar_t* name, const Origin& origin,
                           REFERENCE_TIME& duration, HRESULT* phr);
    ~MP4MediaDemuxOutputPin() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    bool IsVideo() const;
    bool IsAudio() const;
    /// Where playing would start; see IMP4MediaDemuxFilter.
    HRESULT GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result);

    // For the seeking object. A pin without a thread only keeps the new position.
    void StopForSeek();
    void RestartAt(REFERENCE_TIME start);
    void SetStop(REFERENCE_TIME stop);

    // The stream
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pRequest) override;
    HRESULT InitAllocator(IMemAllocator** ppAlloc) override;
    HRESULT FillBuffer(IMediaSample* pSample) override;
    HRESULT OnThreadCreate() override;
    HRESULT OnThreadDestroy() override;
    HRESULT OnThreadStartPlay() override;
    HRESULT DoBufferProcessingLoop() override;

    // IStreamRate, IVideoOrientation, ITrackInformation
    HRESULT GetRate(qz_DSFilters::StreamRate* rate) override;
    HRESULT GetOrientation(DWORD* orientation) override;
    HRESULT GetTrackInformation(TrackInformation* information) override;

    // IOverrideMediaType
    HRESULT SetAspectRatio(const SIZE* aspectRatio) override;
    HRESULT SetInterlaceFlags(DWORD interlaceFlags) override;
    HRESULT SetRate(const qz_DSFilters::StreamRate* rate) override;
    HRESULT SetOrientation(DWORD orientation) override;

    // IMediaSeeking: all of it is the filter's seeking object's. What changes something takes effect on the seeking
    // master alone, and is S_OK on the other pins.
    HRESULT GetCapabilities(DWORD* pCapabilities) override;
    HRESULT CheckCapabilities(DWORD* pCapabilities) override;
    HRESULT IsFormatSupported(const GUID* pFormat) override;
    HRESULT QueryPreferredFormat(GUID* pFormat) override;
    HRESULT GetTimeFormat(GUID* pFormat) override;
    HRESULT IsUsingTimeFormat(const GUID* pFormat) override;
    HRESULT SetTimeFormat(const GUID* pFormat) override;
    HRESULT GetDuration(LONGLONG* pDuration) override;
    HRESULT GetStopPosition(LONGLONG* pStop) override;
    HRESULT GetCurrentPosition(LONGLONG* pCurrent) override;
    HRESULT ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                              const GUID* pSourceFormat) override;
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD CurrentFlags, LONGLONG* pStop, DWORD StopFlags) override;
    HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) override;
    HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) override;
    HRESULT SetRate(double dRate) override;
    HRESULT GetRate(double* pdRate) override;
    HRESULT GetPreroll(LONGLONG* pllPreroll) override;

private:
    MP4MediaDemuxFilter* const m_demux;
    std::unique_ptr<details::byte_stream_handler> m_handler;
    details::TrackTables track_;
};

}  // namespace Norvane::MediaKit::Filters
