// The input pins of the multiplexers: one elementary stream each.
#pragma once

#include "MediaKit/IOverrideMediaType.h"
#include "MediaKit/IRecordingPolicy.h"
#include "Platform/DirectShow/CBaseInputPin.h"
#include "Platform/Kernel/Wil.h"
#include "VideoIO/StreamFilters/Authoring/TrackInput.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxStatistic.h"

#include <cstdint>
#include <string>

namespace Norvane::MediaKit::Filters {

class MuxFilter;

/// Receives samples on the upstream's thread for the filter, whose recorder queues and writes them under the filter
/// lock.
/// The track's tables live here, and outlive every file.
class MP4MediaMuxInputPin : public CBaseInputPin,
                            public qz_DSFilters::IOverrideMediaType,
                            public IRecordingPolicy,
                            public TrackInput {
public:
    MP4MediaMuxInputPin(MuxFilter& filter, CCritSec* lock, HRESULT* phr, std::uint32_t index);
    ~MP4MediaMuxInputPin() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    MuxStatistic& Statistic() { return m_statistic; }
    /// The major type, for log lines.
    std::wstring MajorTypeName() const;

    // Null before the pin was active for the first time. The first is set, and reset by a wait, when the pin or any
    // other has ended; the second stays set once the pin has ended and its queue was written.
    HANDLE EndOfTrackEvent() const { return m_endOfTrack.get(); }
    HANDLE DrainedEvent() const { return m_drained.get(); }

    // TrackInput
    bool IsTrackConnected() const override { return IsConnected(); }
    std::uint32_t TrackIndex() const override { return m_index; }
    const wchar_t* TrackName() const override { return Name(); }
    const CMediaType& TrackMediaType() const override { return m_mt; }
    MovieTrack& Track() override { return m_track; }
    void SignalEndOfTrack() override;
    void SignalDrained() override;
    void ResetEndOfTrack() override;

    // CBasePin, IPin
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    HRESULT SetMediaType(const CMediaType* pmt) override;
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    /// Forgets the stream: what connects next chooses rate, timescale and handler anew.
    HRESULT BreakConnect() override;
    HRESULT Active() override;
    HRESULT Inactive() override;
    HRESULT EndOfStream() override;
    /// Empties the queue; later samples are accepted.
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override { return S_OK; }
    HRESULT NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) override;

    // IMemInputPin
    HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps) override;
    /// E_INVALIDARG for an allocator of fewer than 20 buffers: samples wait here for the other tracks.
    HRESULT NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly) override;
    HRESULT Receive(IMediaSample* pSample) override;
    /// Takes the filter lock once for all of them, so that two streams do not contend for it with each sample, and
    /// flushes what was written to the system once, at the end. The other streams and Stop wait for the whole batch:
    /// keep it short. The first answer other than S_OK ends it and is the result; *nSamplesProcessed is the number
    /// taken.
    HRESULT ReceiveMultiple(IMediaSample** pSamples, LONG nSamples, LONG* nSamplesProcessed) override;

    // IOverrideMediaType
    HRESULT SetAspectRatio(const SIZE*) override { return S_FALSE; }
    HRESULT SetInterlaceFlags(DWORD) override { return S_FALSE; }
    HRESULT SetRate(const qz_DSFilters::StreamRate*) override { return S_FALSE; }
    HRESULT SetOrientation(DWORD orientation) override;

    // IRecordingPolicy
    HRESULT SetOptions(const RecordingOptions* options) override;
    HRESULT GetOptions(RecordingOptions* options) override;

private:
    HRESULT ApplyTypeOf(IMediaSample& sample);

    // Constant after construction
    MuxFilter& m_mux;
    const std::uint32_t m_index;

    // Under the filter lock
    MovieTrack m_track;
    wil::unique_event m_endOfTrack;  ///< auto-reset
    wil::unique_event m_drained;     ///< manual-reset
    REFERENCE_TIME m_segmentStart = 0;

    MuxStatistic m_statistic;  ///< has a lock of its own
};

}  // namespace Norvane::MediaKit::Filters
