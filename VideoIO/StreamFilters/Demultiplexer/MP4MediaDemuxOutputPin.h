// One track of an MP4 file as a stream of samples.
#pragma once

#include "MediaKit/IOverrideMediaType.h"
#include "MediaKit/IStreamRate.h"
#include "MediaKit/ITrackInformation.h"
#include "MediaKit/IVideoOrientation.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "VideoIO/StreamFilters/Demultiplexer/MediaTypeOverrides.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingBudget.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackMedia.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTables.h"
#include "VideoIO/StreamFilters/Frame/StreamPin.h"

#include <memory>

namespace vio::mp4 {
class mp4_parser;
}

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxFilter;

/// Made with all its tables when the file is opened. Its thread, which lives between Active and Inactive, pushes the
/// samples in decode order as fast as they are taken, from the sync sample before the pin's start to the end of the
/// track.
///
/// Who starts the thread, stops it or sends it elsewhere takes turns (m_turn), and may come between the two halves of a
/// seek. The thread takes none of the locks that its callers hold.
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
        const details::ReadingContext& context;
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
    /// Where playing would start; see IMP4MediaDemuxFilter. Any thread.
    HRESULT GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result);

    // For the seeking object: the two halves of a seek, one seek at a time. A pin without a thread only keeps the new
    // position.
    void StopForSeek();
    void RestartAt(REFERENCE_TIME start) MK_EXCLUDES(m_fieldLock);
    void SetStop(REFERENCE_TIME stop) MK_EXCLUDES(m_fieldLock);

    // The stream
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT GetMediaType(CMediaType* pMediaType) override;
    /// Ten buffers at least, each of the track's largest sample.
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pRequest) override;
    HRESULT Active() override;
    HRESULT Inactive() override;
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
    /// The pin's start and stop time and rate.
    struct Segment {
        REFERENCE_TIME start;
        REFERENCE_TIME stop;
        double rate;
    };

    // For who has the turn
    void StopThread();
    void EndFlushing();

    HRESULT Build(const Origin& origin, REFERENCE_TIME& duration);
    HRESULT BuildTables(const Origin& origin, REFERENCE_TIME& duration);
    bool StartsAtSyncRecords() const;
    Segment CurrentSegment() const MK_EXCLUDES(m_fieldLock);
    details::MediaTypeOverrides Overrides() const MK_EXCLUDES(m_fieldLock);

    // On the thread
    HRESULT PlaySamples(Command& command);
    HRESULT EndBrokenStream(HRESULT failure);
    HRESULT ReadSample(const details::SampleRecord& record, IMediaSample& sample);
    void StampSample(const details::SampleRecord& record, IMediaSample& sample);

    /// Whether a change of position, rate or format that is asked of this pin moves anything: of all connected pins the
    /// video pins count, or the first audio pin when there is none.
    bool IsSeekingMaster();
    template <class... Params, class... Args>
    HRESULT Forward(HRESULT (IMediaSeeking::*operation)(Params...), Args... args);
    template <class... Params, class... Args>
    HRESULT ForwardFromMaster(HRESULT (IMediaSeeking::*operation)(Params...), Args... args);

    // Constant after construction, but for the positions in track_, which are the thread's.
    MP4MediaDemuxFilter* const m_demux;
    DWORD m_trackId = 0;
    DWORD m_handlerType = 0;
    DWORD m_orientation = qz_DSFilters::VideoOrientation_None;
    details::TrackTables track_;
    details::TrackMedia m_media;  ///< its handler is never null
    LONG m_bufferSize = 0;        ///< of each sample, bytes

    CAMEvent m_turn;          ///< to command the thread, see Turn.h
    bool m_flushing = false;  ///< the peer waits for the second half of a seek; read and written with the turn

    // The thread's
    REFERENCE_TIME m_segmentBase = 0;
    bool m_firstSample = true;  ///< of the segment
    BOOL m_discontinuity = FALSE;
    std::uint64_t m_knownFileSize = 0;

    /// Guards what follows, and the start, stop and rate of CBasePin. Nothing is called with it held.
    mutable CCritSec m_fieldLock{"MP4MediaDemuxOutputPin fields", LockRank::Object};
    details::MediaTypeOverrides m_overrides MK_GUARDED_BY(m_fieldLock);
};

}  // namespace Norvane::MediaKit::Filters
