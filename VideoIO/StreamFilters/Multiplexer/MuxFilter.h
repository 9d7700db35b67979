// What the plain and the fragmented multiplexer have in common: pins, settings, the index for readers, and counters.
// How samples wait and are written is the recorder's.
#pragma once

#include "MediaKit/ILiveSourceProvider.h"
#include "MediaKit/IMPEG4Mux.h"
#include "MediaKit/IPerformanceInfoProvider.h"
#include "MediaKit/IRecordingResult.h"
#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/Kernel/CriticalSection.h"
#include "VideoIO/StreamFilters/Authoring/LiveIndex.h"
#include "VideoIO/StreamFilters/Authoring/MovieSettings.h"
#include "VideoIO/StreamFilters/Authoring/Recorder.h"
#include "VideoIO/StreamFilters/Authoring/TimeMath.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxInputPin.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxOutputPin.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxPerformanceCounters.h"

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// Always offers one free input pin; the output pin is last.
///
/// Threads: each input pin's upstream thread receives, and writes the file; the graph's thread stops, pauses and seeks;
/// readers use the index. Lock order: the filter lock, then the index's. All authoring, delivery downstream
/// included, runs under the filter lock, also while a delivery waits for a buffer of a slow peer: that holds all
/// upstreams back. Stop and a flush end such a wait.
class MuxFilter : public ILiveSourceProvider,
                  public CBaseFilter,
                  public qz_ChannelIO::IPerformanceInfoProvider,
                  public qz_MPEGSystemFilters::IMPEG4Mux,
                  public IRecordingResult,
                  protected RecorderHost {
public:
    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// For hosts in this process, with the filter stopped: what has no operation of its own.
    MovieSettings& Settings() { return m_settings; }
    const MuxPerformanceCounters& Counters() const { return m_counters; }

    // Called by the pins
    HRESULT OnInputConnected(const MP4MediaMuxInputPin& pin);
    void OnInputActive(MP4MediaMuxInputPin& pin) MK_EXCLUDES(m_lock);
    /// The samples that wait are released.
    void OnInputInactive(MP4MediaMuxInputPin& pin) MK_EXCLUDES(m_lock);
    void OnFlush(MP4MediaMuxInputPin& pin) MK_EXCLUDES(m_lock);
    HRESULT OnEndOfStream(MP4MediaMuxInputPin& pin) MK_EXCLUDES(m_lock);
    /// On the upstream's thread. S_FALSE: no more samples are wanted. In a batch that thread already holds the lock and
    /// takes it again, which the annotation cannot express.
    HRESULT OnSampleReceived(MP4MediaMuxInputPin& pin, IMediaSample& sample, REFERENCE_TIME start) MK_EXCLUDES(m_lock);
    /// Keeps the filter lock while several samples are received, and flushes what they wrote at its end. The other
    /// streams, Stop and Pause wait until then: hosts keep batches short, a few milliseconds of writing.
    class [[nodiscard]] Batch {
    public:
        explicit Batch(MuxFilter& filter) MK_NO_THREAD_SAFETY_ANALYSIS : m_filter(filter) {
            filter.m_lock.Lock();
            filter.m_inBatch = true;
        }
        ~Batch() MK_NO_THREAD_SAFETY_ANALYSIS {
            m_filter.m_inBatch = false;
            m_filter.m_recorder->FlushToSystem();
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
    /// Not under the filter lock: a graph that wants to stop the filter looks at its pins first, perhaps while a
    /// delivery waits.
    int GetPinCount() override MK_EXCLUDES(m_pinsLock);
    CBasePin* GetPin(int n) override MK_EXCLUDES(m_pinsLock);
    bool IsStopped() const override { return CBaseFilter::IsStopped(); }
    /// Finishes the file. Samples that still wait are released unwritten.
    HRESULT Stop() override MK_EXCLUDES(m_lock);
    HRESULT Pause() override MK_EXCLUDES(m_lock);

    // IRecordingResult
    HRESULT GetRecordingResult(RecordingResult* result) override;

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
    using MakeRecorder =
        std::function<std::unique_ptr<Recorder>(RecorderHost&, RecordingOutput&, LiveIndex&, const MovieSettings&)>;
    MuxFilter(const char* name, IUnknown* outer, REFCLSID clsid, HRESULT* phr, const MakeRecorder& makeRecorder);
    ~MuxFilter() override;

    LiveIndex m_index;  ///< has a lock of its own

private:
    void AddInputPin() MK_REQUIRES(m_lock);
    /// A sample after the stop position, if one is set, ends its stream.
    bool IsBeyondStop(const MP4MediaMuxInputPin& pin, REFERENCE_TIME start) const;
    /// S_OK when a sample is welcome; what Receive answers otherwise.
    HRESULT CheckAcceptsSamples(MP4MediaMuxInputPin& pin) MK_REQUIRES(m_lock);
    MP4MediaMuxInputPin* ConnectedPin(REFGUID majorType) MK_REQUIRES(m_lock);
    HRESULT CheckSettingsAreOpen() const MK_REQUIRES(m_lock);
    HRESULT AddMetadata(std::uint32_t fourcc, const wchar_t* text) MK_EXCLUDES(m_lock);
    HRESULT SetStopPosition(REFERENCE_TIME stop);
    HRESULT SeekUpstream(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags);
    HRESULT ReopenInput(int pinNumber, ComPtr<IPin>& peer) MK_EXCLUDES(m_lock);

    // RecorderHost
    void DeliverEndOfStream() override;
    void SendGraphEvent(LONG code, LONG_PTR first, LONG_PTR second) override { NotifyEvent(code, first, second); }

    mutable CCritSec m_lock{"multiplexer", LockRank::Filter};
    MP4MediaMuxOutputPin m_outputPin;
    MovieSettings m_settings;
    const std::unique_ptr<Recorder> m_recorder;  ///< under m_lock, but for its result
    /// Written under both locks, and so read under either.
    std::vector<std::unique_ptr<MP4MediaMuxInputPin>> m_inputPins MK_GUARDED_BY(m_lock);
    CCritSec m_pinsLock{"multiplexer pins", LockRank::FilterInner};
    bool m_inBatch MK_GUARDED_BY(m_lock) = false;
    MuxPerformanceCounters m_counters;  ///< under m_lock
    std::atomic<REFERENCE_TIME> m_stopPosition{MaxTime};
    std::atomic<bool> m_statisticsEnabled{false};
    std::atomic<bool> m_flag{false};  ///< stored for the host
};

}  // namespace Norvane::MediaKit::Filters
