// The output pin of the multiplexers: a byte stream whose samples say where in the file they belong.
#pragma once

#include "Platform/DirectShow/CBaseOutputPin.h"
#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "VideoIO/StreamFilters/Authoring/RecordingOutput.h"
#include "VideoIO/StreamFilters/Multiplexer/StreamByteStream.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace Norvane::MediaKit::Filters {

class MuxFilter;

/// Sample times are byte positions x 10,000,000, which IAMAsyncReaderTimestampScaling announces to the peer.
class MP4MediaMuxOutputPin final : public CBaseOutputPin,
                                   public IMediaSeeking,
                                   public IAMAsyncReaderTimestampScaling,
                                   public RecordingOutput {
public:
    MP4MediaMuxOutputPin(MuxFilter& filter, CCritSec* lock, HRESULT* phr);

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// Before Stop or a flush takes the filter lock, which a delivery may hold while it waits for a buffer: gives that
    /// wait half a second, and then lets it and all deliveries fail with VFW_E_TIMEOUT until Resume. While an
    /// Interruption lives no delivery waits longer. Any thread, without the filter lock.
    class [[nodiscard]] Interruption {
    public:
        explicit Interruption(MP4MediaMuxOutputPin& pin);
        ~Interruption() { --m_pin.m_interruptions; }
        Interruption(const Interruption&) = delete;
        Interruption& operator=(const Interruption&) = delete;

    private:
        MP4MediaMuxOutputPin& m_pin;
    };
    /// After a flush, under the filter lock: deliveries that were interrupted may go on.
    void Resume();

    // RecordingOutput, under the filter lock
    HRESULT OpenBoxStream(std::shared_ptr<vio::byte_stream>& stream) override;
    std::uint64_t WritePosition() const override { return m_writePosition; }
    void SetWritePosition(std::uint64_t position) override { m_writePosition = position; }
    /// Delivers the bytes in as many samples as they need, each stamped with its place. Waits while the peer keeps all
    /// buffers. Bytes after position 922,337,203,685, whose times would wrap, are refused.
    HRESULT WriteData(const void* data, std::uint32_t length) override;
    void Truncate(std::uint64_t size) override;
    HRESULT TakeFailure() override;

    // CBasePin, CBaseOutputPin
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* ppropInputRequest) override;
    HRESULT Active() override;

    // IMediaSeeking: where the recording is. Any thread.
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
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) override;
    HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) override;
    HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) override;
    HRESULT SetRate(double dRate) override;
    HRESULT GetRate(double* pdRate) override;
    HRESULT GetPreroll(LONGLONG* pllPreroll) override;

    // IAMAsyncReaderTimestampScaling: scaled, and nothing else.
    HRESULT GetTimestampMode(BOOL* pfRaw) override;
    HRESULT SetTimestampMode(BOOL fRaw) override;

private:
    HRESULT DeliverPart(const BYTE* data, std::uint32_t length, std::uint32_t& delivered);
    HRESULT WaitForBuffer(IMediaSample** sample);
    HRESULT PollForBuffer(IMediaSample** sample);
    HRESULT Fail(HRESULT hr);

    MuxFilter& m_filter;

    // Under the filter lock
    std::uint64_t m_writePosition = 0;  ///< byte of the file that the next delivery starts at
    std::shared_ptr<StreamByteStream> m_boxes;
    HRESULT m_failure = S_OK;  ///< of a delivery, for TakeFailure

    // Between the delivering thread and those that interrupt it
    std::atomic<unsigned> m_bufferWaits{0};  ///< begun and ended waits for a buffer: odd during one
    std::atomic<int> m_interruptions{0};
    std::atomic<bool> m_cancelled{false};
};

}  // namespace Norvane::MediaKit::Filters
