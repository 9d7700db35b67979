// Plays MP4 files: a push source fed by an asynchronous reader.
#pragma once

#include "MediaKit/IMP4MediaDemuxFilter.h"
#include "MediaKit/IReadingPolicy.h"
#include "MediaKit/IReadingReport.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CSource.h"
#include "Platform/DirectShow/IAsyncReader.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"
#include "VideoIO/StreamFilters/Demultiplexer/MovieCheck.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingBudget.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"

#include <memory>
#include <vector>

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxInputPin;
class MP4MediaDemuxOutputPin;
class MP4MediaDemuxSeeking;

/// Connecting the input opens the file and makes one output pin for each track that can be played, on the connecting
/// thread. The input has a lock of its own, so that the state lock is free while the file is read. Pins, boxes and
/// reader stay when the input is disconnected; they go with the filter.
///
/// Lock order: connection lock, state lock, seeking lock.
class MP4MediaDemuxFilter final : public CSource,
                                  public IMP4MediaDemuxFilter,
                                  public IReadingPolicy,
                                  public IReadingReport {
public:
    explicit MP4MediaDemuxFilter(IUnknown* outer = nullptr, HRESULT* phr = nullptr);
    ~MP4MediaDemuxFilter() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// Output pins first, then the input.
    int GetPinCount() override;
    CBasePin* GetPin(int n) override;

    /// Opens the file behind the reader. E_UNEXPECTED without one, VFW_E_NOT_STOPPED while the filter plays,
    /// QZ_E_UNSUPPORTED_FORMAT for a file that cannot be played, the reader's own code for one that it cannot read.
    /// Output pins of an earlier file stay.
    HRESULT SetReader(IAsyncReader* pReader) MK_EXCLUDES(m_seekingLock);
    /// For the input pin, which ends an opening that threw.
    void ReportOpeningFailure(const char* reason);

    /// The one that all output pins share, made at the first call. Null when there is no memory for it.
    MP4MediaDemuxSeeking* Seeking() MK_EXCLUDES(m_seekingLock);
    /// For the pins' threads: it changes only while the filter is stopped, when they are not. Null before the first
    /// connection.
    IAsyncReader* Reader() const { return m_reader.get(); }
    /// The n-th output pin that is whole, or null. The state lock is taken.
    MP4MediaDemuxOutputPin* OutputPin(int n);
    int OutputPinCount();

    // IMP4MediaDemuxFilter
    HRESULT GetCreationTime(double* date) override;
    HRESULT Reserved1() override { return S_OK; }
    bool IsStreamingOptimized() override;
    HRESULT GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result) override;

    // IReadingPolicy
    HRESULT SetOptions(const ReadingOptions* options) override;
    HRESULT GetOptions(ReadingOptions* options) override;

    // IReadingReport
    HRESULT GetFindings(std::vector<ReadingFinding>* findings) override;

protected:
    /// Without the pin that is being made, which may yet be deleted.
    std::size_t StreamCount() const override MK_REQUIRES(m_cStateLock) { return m_wholePins; }

private:
    /// Null when there is none. Pins live as long as the filter.
    MP4MediaDemuxOutputPin* FirstConnectedVideoPin();
    HRESULT Open(IAsyncReader* reader, std::shared_ptr<AsyncReaderByteStream> stream) MK_REQUIRES(m_connectionLock);
    HRESULT CheckMovie() MK_REQUIRES(m_connectionLock);
    void FindMovieHeader() MK_REQUIRES(m_connectionLock);
    HRESULT CreateOutputPin(const details::TrackBoxes& track, details::ReadingBudget& budget, REFERENCE_TIME& duration)
        MK_REQUIRES(m_connectionLock);

    /// Held while the input is being connected and the file is opened.
    CCritSec m_connectionLock{"MP4MediaDemuxFilter connection", LockRank::Filter};
    ReadingOptions m_options MK_GUARDED_BY(m_connectionLock);
    details::ReadingFindings m_findings MK_GUARDED_BY(m_connectionLock);
    const details::ReadingContext m_context MK_GUARDED_BY(m_connectionLock){m_options, m_findings};

    // The destructor lets go of them from the last to the first.
    std::unique_ptr<MP4MediaDemuxSeeking> m_seeking;  ///< made under m_seekingLock
    ComPtr<IAsyncReader> m_reader;                    ///< written under the state lock, while the filter is stopped
    std::shared_ptr<vio::mp4::mp4_parser> m_parser MK_GUARDED_BY(m_connectionLock);
    std::shared_ptr<AsyncReaderByteStream> m_stream MK_GUARDED_BY(m_connectionLock);
    details::MovieFacts m_facts MK_GUARDED_BY(m_connectionLock);
    bool m_streamingOrder MK_GUARDED_BY(m_connectionLock) = false;
    std::size_t m_wholePins MK_GUARDED_BY(m_cStateLock) = 0;
    CCritSec m_seekingLock{"MP4MediaDemuxFilter seeking", LockRank::FilterInner};
    std::unique_ptr<MP4MediaDemuxInputPin> m_inputPin;
};

}  // namespace Norvane::MediaKit::Filters
