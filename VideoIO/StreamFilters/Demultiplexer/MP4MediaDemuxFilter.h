// Plays MP4 files: a push source fed by an asynchronous reader.
#pragma once

#include "MediaKit/IMP4MediaDemuxFilter.h"
#include "MediaKit/IReadingPolicy.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CSource.h"
#include "Platform/DirectShow/IAsyncReader.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingBudget.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingPolicy.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"

#include <memory>

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxInputPin;
class MP4MediaDemuxOutputPin;
class MP4MediaDemuxSeeking;

/// Connecting the input opens the file and makes one output pin for each track that can be played, on the connecting
/// thread and under no lock. Pins stay when the input is disconnected; they go with the filter.
class MP4MediaDemuxFilter final : public CSource, public IMP4MediaDemuxFilter, public IReadingPolicy {
public:
    explicit MP4MediaDemuxFilter(IUnknown* outer = nullptr, HRESULT* phr = nullptr);
    ~MP4MediaDemuxFilter() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// Output pins first, then the input.
    int GetPinCount() override;
    CBasePin* GetPin(int n) override;

    /// Opens the file behind the reader. E_UNEXPECTED without one, QZ_E_UNSUPPORTED_FORMAT for a file that cannot be
    /// played. Output pins of an earlier file stay.
    HRESULT SetReader(IAsyncReader* reader);

    /// The one that all output pins share, made at the first call.
    MP4MediaDemuxSeeking* Seeking() EXCLUDES(m_seekingLock);
    /// For the pins' threads; set while the input is connected.
    IAsyncReader* Reader() const { return m_reader.get(); }
    /// The n-th output pin, or null. The state lock is taken.
    MP4MediaDemuxOutputPin* OutputPin(int n);
    int OutputPinCount();

    // IMP4MediaDemuxFilter
    HRESULT GetCreationTime(double* date) override;
    HRESULT Reserved1() override { return S_OK; }
    bool IsStreamingOptimized() override { return m_streamingOrder; }
    HRESULT GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result) override;

    // IReadingPolicy
    HRESULT SetReadAvc3AsAvc1(BOOL read) override;
    HRESULT SetKnowSegmentBoxes(BOOL know) override;
    HRESULT SetEverySampleIsSyncWithoutTable(BOOL sync) override;
    HRESULT SetUseFragmentDecodeTimes(BOOL use) override;
    HRESULT SetSizePcmByEntry(BOOL byEntry) override;

private:
    HRESULT SetPolicy(bool details::ReadingPolicy::*choice, BOOL value);
    HRESULT Open(IAsyncReader* reader);
    /// The box tree's check, which makes the pins; see MovieCheck.
    HRESULT mp4_check();
    HRESULT CreateOutputPin(const details::TrackBoxes& boxes, details::ReadingBudget& budget,
                            REFERENCE_TIME& duration);

    // In the order in which the destructor lets go of them, last first.
    std::unique_ptr<MP4MediaDemuxSeeking> m_seeking;
    ComPtr<IAsyncReader> m_reader;
    std::shared_ptr<vio::mp4::mp4_parser> m_parser;
    std::shared_ptr<AsyncReaderByteStream> m_stream;
    bool m_streamingOrder = false;
    details::ReadingPolicy m_policy;
    CCritSec m_seekingLock{"MP4MediaDemuxFilter seeking", LockRank::FilterInner};
    std::unique_ptr<MP4MediaDemuxInputPin> m_inputPin;
};

}  // namespace Norvane::MediaKit::Filters
