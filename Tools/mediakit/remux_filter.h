// Between a pin of the demultiplexer and one of the multiplexer: makes samples fit, counts them, can end the stream.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/DirectShow/CBaseInputPin.h"
#include "Platform/DirectShow/CBaseOutputPin.h"
#include "Platform/Kernel/Event.h"
#include "Tools/mediakit/disk_guard.h"
#include "Tools/mediakit/growing_allocator.h"
#include "Tools/mediakit/sample_adapter.h"

#include <atomic>

namespace mediakit_tool {

/// How far a track has come. Written by its thread, read by any.
struct RemuxProgress {
    std::atomic<std::uint64_t> samples{0};
    std::atomic<std::uint64_t> syncSamples{0};
    std::atomic<std::uint64_t> damaged{0};
    std::atomic<std::uint64_t> dropped{0};  ///< of these, for there was nothing left
    std::atomic<std::uint64_t> bytes{0};    ///< as they came
    std::atomic<REFERENCE_TIME> end{0};     ///< latest stop time, 100 ns
    std::atomic<HRESULT> refused{S_OK};     ///< how the multiplexer answered when it took no more
    std::atomic<bool> ended{false};         ///< nothing more goes on
};

/// What all tracks of a copy share. Outlives their filters.
struct RemuxControl {
    explicit RemuxControl(DiskGuard& guard) : disk(guard) {}

    DiskGuard& disk;
    TrackCrowd crowd;
    CAMEvent changed;                   ///< a track has ended
    std::atomic<bool> finish{false};    ///< every track ends with its next sample
    std::atomic<bool> diskFull{false};  ///< why it does
};

class RemuxFilter;

/// Samples come on the demultiplexer's thread, which uses this pin's allocator.
class RemuxInput final : public CBaseInputPin {
public:
    RemuxInput(RemuxFilter& filter, CCritSec& lock, HRESULT* phr);

    IMemAllocator* Allocator() const { return m_pAllocator; }

    HRESULT CheckMediaType(const CMediaType*) override { return S_OK; }
    HRESULT GetAllocator(IMemAllocator** ppAllocator) override;
    HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps) override;
    HRESULT Active() override;
    HRESULT Inactive() override;
    HRESULT Receive(IMediaSample* pSample) override;
    HRESULT EndOfStream() override;
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;
    HRESULT NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) override;

private:
    RemuxFilter& m_filter;
};

/// Hands on the upstream's samples, or copies of them; the allocator told is the upstream's in any case. To be
/// connected after the input.
class RemuxOutput final : public CBaseOutputPin {
public:
    RemuxOutput(RemuxFilter& filter, CCritSec& lock, HRESULT* phr);

    HRESULT CheckMediaType(const CMediaType* pmt) override;
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT DecideAllocator(IMemInputPin* pPin, IMemAllocator** pAlloc) override;
    HRESULT DecideBufferSize(IMemAllocator*, ALLOCATOR_PROPERTIES*) override { return S_OK; }

private:
    RemuxFilter& m_filter;
};

class RemuxFilter final : public CBaseFilter {
public:
    /// `buffers`: samples of the track that may wait downstream without need. `edit`: what the demultiplexer takes from
    /// start times and not from media times (100 ns); here it is taken from these too. `bytes`: of all samples, as the
    /// file says. Progress and control outlive the filter's running.
    RemuxFilter(AdaptedStream stream, LONG buffers, REFERENCE_TIME edit, std::uint64_t bytes, RemuxProgress& progress,
                RemuxControl& control, HRESULT* phr);

    int GetPinCount() override { return 2; }
    CBasePin* GetPin(int n) override;

    RemuxInput& Input() { return m_input; }
    RemuxOutput& Output() { return m_output; }
    const CMediaType& OfferedType() const { return m_stream.type; }
    LONG Buffers() const { return m_buffers; }
    TrackAllocator& Allocator() const { return *m_allocator; }

    // For the pins, on the streaming thread.
    HRESULT Pass(IMediaSample& sample);
    HRESULT NoteEnd();
    HRESULT BeginSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate);
    // For the pins, when the filter leaves the stopped state and when it returns to it.
    HRESULT Begin();
    HRESULT End();

private:
    /// Leaves the bytes that are to go on in the sample itself, or makes a copy with them. S_FALSE when damage left
    /// none.
    HRESULT Adapt(IMediaSample& sample, ComPtr<IMediaSample>& adapted);
    HRESULT Copy(IMediaSample& from, ComPtr<IMediaSample>& copy);
    /// Both times of the sample, in the movie's own time.
    void MoveTimes(IMediaSample& sample) const;
    bool DiskHasRoom(std::uint64_t bytes);
    void Count(IMediaSample& sample, std::uint64_t bytes);

    CCritSec m_lock{"RemuxFilter", LockRank::Filter};
    const AdaptedStream m_stream;
    const LONG m_buffers;
    const REFERENCE_TIME m_edit;
    const std::uint64_t m_bytes;
    RemuxProgress& m_progress;
    RemuxControl& m_control;
    RemuxInput m_input;
    RemuxOutput m_output;
    ComPtr<TrackAllocator> m_allocator;
    ComPtr<CopyAllocator> m_copies;
    std::vector<std::uint8_t> m_copy;  ///< the streaming thread's
    // The same.
    std::uint64_t m_granted = 0;        ///< bytes that the disk has room for
    REFERENCE_TIME m_segmentStart = 0;  ///< which the demultiplexer takes from start times
};

}  // namespace mediakit_tool
