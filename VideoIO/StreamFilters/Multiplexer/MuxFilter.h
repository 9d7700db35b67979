// What the plain and the fragmented multiplexer have in common: pins, settings, the index for readers, the end of
// stream, and counters. How samples wait and are written is the derived filter's.
#pragma once

#include "MediaKit/ILiveSourceProvider.h"
#include "MediaKit/IMPEG4Mux.h"
#include "MediaKit/IPerformanceInfoProvider.h"
#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/Kernel/CriticalSection.h"
#include "VideoIO/StreamFilters/Authoring/LiveIndex.h"
#include "VideoIO/StreamFilters/Authoring/MovieBoxes.h"
#include "VideoIO/StreamFilters/Authoring/MovieSettings.h"
#include "VideoIO/StreamFilters/Authoring/TimeMath.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxInputPin.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxOutputPin.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxPerformanceCounters.h"

#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// One free input pin is always on offer; the output pin comes last.
///
/// Threads: each input pin's upstream thread receives, and writes the file; the graph's thread stops, pauses and seeks;
/// readers use the index. Lock order: the filter lock, then the index's. All authoring, delivery downstream
/// included, runs under the filter lock; nothing waits under it: a delivery buffer is asked for without waiting, and
/// a peer that keeps all of them costs the samples that find none.
class MuxFilter : public ILiveSourceProvider,
                  public CBaseFilter,
                  public qz_ChannelIO::IPerformanceInfoProvider,
                  public qz_MPEGSystemFilters::IMPEG4Mux {
public:
    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// For hosts in this process, with the filter stopped: what has no operation of its own.
    MovieSettings& Settings() { return m_settings; }
    const MuxPerformanceCounters& Counters() const { return m_counters; }

    // Called by the pins
    HRESULT OnInputConnected(const MP4MediaMuxInputPin& pin);
    HRESULT OnEndOfStream(MP4MediaMuxInputPin& pin) MK_EXCLUDES(m_lock);
    /// On the upstream's thread. S_FALSE: no more samples are wanted. In a batch that thread holds the lock already and
    /// takes it again, which the annotation does not know of.
    virtual HRESULT OnSampleReceived(MP4MediaMuxInputPin& pin, IMediaSample& sample, REFERENCE_TIME start)
        MK_EXCLUDES(m_lock) = 0;
    /// Keeps the filter lock while several samples are received, and hands on what they wrote at its end. The other
    /// streams, Stop and Pause wait until then: hosts keep batches short, a few milliseconds of writing.
    class [[nodiscard]] Batch {
    public:
        explicit Batch(MuxFilter& filter) MK_NO_THREAD_SAFETY_ANALYSIS : m_filter(filter) {
            filter.m_lock.Lock();
            filter.m_inBatch = true;
        }
        ~Batch() MK_NO_THREAD_SAFETY_ANALYSIS {
            m_filter.m_inBatch = false;
            m_filter.HandOn();
            m_filter.m_lock.Unlock();
        }
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        MuxFilter& m_filter;
    };
    Batch BeginBatch() { return Batch(*this); }
    bool StatisticsEnabled() const { return m_statisticsEnabled.load(std::memory_order_relaxed); }
    REFERENCE_TIME StopPosition() const { return m_stopPosition; }
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags)
        MK_EXCLUDES(m_lock);

    // CBaseFilter
    int GetPinCount() override;
    CBasePin* GetPin(int n) override;
    /// Finishes the file. Samples that still wait are released unwritten.
    HRESULT Stop() override MK_EXCLUDES(m_lock);
    HRESULT Pause() override MK_EXCLUDES(m_lock);

    // ILiveSourceProvider
    int GetTrackCount() override MK_EXCLUDES(m_lock);
    HRESULT GetTrackMediaType(int track, CMediaType* type) override MK_EXCLUDES(m_lock);
    bool GetBeginTime(std::uint32_t, REFERENCE_TIME*) override { return false; }
    bool GetEndTime(std::uint32_t, REFERENCE_TIME*) override { return false; }
    HRESULT AddConsumer(std::uint32_t track, std::uint64_t key, const wchar_t* name, REFERENCE_TIME start,
                        REFERENCE_TIME span, REFERENCE_TIME* firstTime) override;
    HRESULT RemoveConsumer(std::uint32_t track, std::uint64_t key) override = 0;
    HRESULT GetSamples(std::uint32_t track, std::uint64_t key, std::vector<LiveSampleInfo>* samples,
                       std::uint32_t timeoutMs, HANDLE abortEvent) override;
    HRESULT GetSample(std::uint32_t, std::uint64_t, std::uint32_t, HANDLE, IMediaSample**) override {
        return E_NOTIMPL;
    }
    REFERENCE_TIME GetTrackPosition(std::uint32_t track) override { return m_index.TrackPosition(track); }

    // IMPEG4Mux
    HRESULT Reserved1() override { return S_OK; }
    HRESULT SetMoveMoovToFront(BOOL moveToFront) override MK_EXCLUDES(m_lock);
    HRESULT SetSoftware(const wchar_t* text) override;
    HRESULT SetSecondSoftware(const wchar_t* text) override;
    HRESULT SetDescription(const wchar_t* text) override;
    HRESULT Reserved6() override { return E_NOTIMPL; }
    HRESULT GetCurrentPosition(REFERENCE_TIME* position) override;
    HRESULT SetFlag(BOOL flag) override;

    // IPerformanceInfoProvider
    HRESULT EnableStatistics() override;
    HRESULT GetWriterName(const wchar_t** name) override;
    HRESULT GetStatistic(REFGUID majorType, qz_ChannelIO::StreamStatistic* statistic) override MK_EXCLUDES(m_lock);
    HRESULT UpdateTotals(REFGUID majorType) override MK_EXCLUDES(m_lock);
    HRESULT GetSummaries(std::vector<qz_ChannelIO::StreamSummary>* summaries) override MK_EXCLUDES(m_lock);

protected:
    MuxFilter(const char* name, IUnknown* outer, REFCLSID clsid, HRESULT* phr);
    ~MuxFilter() override;

    /// One more pass over the queues: a pin that has ended holds the others back no longer.
    virtual void WriteReady() MK_REQUIRES(m_lock) = 0;
    /// Brings all that waits to the file; every track has ended.
    virtual void WriteRest() MK_REQUIRES(m_lock) = 0;
    /// Completes the file, if there is one, and makes ready for the next.
    virtual void FinishMovie() MK_REQUIRES(m_lock) = 0;

    /// Hands what was written since the last time to the system, so that a crash of the process loses nothing of it.
    virtual void HandOn() MK_REQUIRES(m_lock) = 0;
    bool InBatch() const MK_REQUIRES(m_lock) { return m_inBatch; }

    /// A sample beyond the stop position, if one is set, ends its stream.
    bool IsBeyondStop(const MP4MediaMuxInputPin& pin, REFERENCE_TIME start) const;
    /// S_OK when a sample is welcome; what Receive answers otherwise.
    HRESULT CheckTakesSamples(MP4MediaMuxInputPin& pin) MK_REQUIRES(m_lock);
    std::vector<MovieTrackRef> TrackRefs() MK_REQUIRES(m_lock);
    /// The peer's file, for boxes; a null answer comes with the reason in `hr`.
    std::shared_ptr<vio::byte_stream> OpenOutput(HRESULT& hr) MK_REQUIRES(m_lock);
    std::span<TrackInput* const> Inputs() MK_REQUIRES(m_lock) { return m_trackInputs; }
    MP4MediaMuxInputPin& Pin(const TrackInput& input) MK_REQUIRES(m_lock) { return *m_inputPins[input.TrackIndex()]; }
    /// Signals the end of a track, and when it was the last one ends the recording, once a run.
    void CheckEndOfStream(MP4MediaMuxInputPin& pin) MK_REQUIRES(m_lock);
    /// Enters samples that are in the file, and tells the graph once when every track has a second.
    void EnterInIndex(std::uint32_t track, std::span<const LiveSampleInfo> samples) MK_REQUIRES(m_lock);

    mutable CCritSec m_lock{"multiplexer", LockRank::Filter};
    MP4MediaMuxOutputPin m_outputPin;
    MovieSettings m_settings;
    LiveIndex m_index;  ///< has a lock of its own

private:
    void AddInputPin() MK_REQUIRES(m_lock);
    MP4MediaMuxInputPin* ConnectedPin(REFGUID majorType) MK_REQUIRES(m_lock);
    HRESULT CheckSettingsAreOpen() const MK_REQUIRES(m_lock);
    HRESULT AddMetadata(std::uint32_t fourcc, const wchar_t* text) MK_EXCLUDES(m_lock);
    HRESULT SetStopPosition(REFERENCE_TIME stop);
    HRESULT SeekUpstream(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags);
    HRESULT ForgetEndOfStream(int pinNumber, ComPtr<IPin>& peer) MK_EXCLUDES(m_lock);

    std::vector<std::unique_ptr<MP4MediaMuxInputPin>> m_inputPins MK_GUARDED_BY(m_lock);
    std::vector<TrackInput*> m_trackInputs MK_GUARDED_BY(m_lock);  ///< the same
    bool m_ended MK_GUARDED_BY(m_lock) = false;                    ///< the end of stream was delivered in this run
    bool m_enoughRecorded MK_GUARDED_BY(m_lock) = false;
    bool m_inBatch MK_GUARDED_BY(m_lock) = false;
    std::vector<std::uint32_t> m_connected MK_GUARDED_BY(m_lock);  ///< kept for its room
    MuxPerformanceCounters m_counters;                             ///< under m_lock
    std::atomic<REFERENCE_TIME> m_stopPosition{MaxTime};
    std::atomic<bool> m_statisticsEnabled{false};
    std::atomic<bool> m_flag{false};  ///< stored for the host
};

}  // namespace Norvane::MediaKit::Filters
