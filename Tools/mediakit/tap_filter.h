// The host's end of a stream: a filter that hands each sample to the program.
#pragma once

#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/DirectShow/CBaseInputPin.h"

#include <atomic>

namespace mediakit_tool {

/// Takes the samples of one stream, on the thread that delivers them and with no lock held.
class SampleConsumer {
public:
    /// S_OK: more, please. Anything else ends the stream, for good. The sample is the caller's; who wants it
    /// longer counts it.
    virtual HRESULT Take(IMediaSample& sample) = 0;
    /// Nothing follows. Comes once a stream that ends, not after a stop; a seek starts the stream anew.
    virtual void End() {}

protected:
    ~SampleConsumer() = default;
};

class TapFilter;

/// Its pin. Any media type, no thread; the memory is upstream's choice.
class TapPin final : public CBaseInputPin {
public:
    TapPin(TapFilter& filter, CCritSec& lock, SampleConsumer& consumer, HANDLE endEvent, HRESULT* phr);

    HRESULT CheckMediaType(const CMediaType*) override { return S_OK; }
    HRESULT Active() override;
    HRESULT Receive(IMediaSample* pSample) override;
    HRESULT EndOfStream() override;
    HRESULT EndFlush() override;

    /// Nothing more will be taken before the next start or seek. Any thread.
    bool Ended() const { return m_ended; }

private:
    void NoteEnd();

    SampleConsumer& m_consumer;
    const HANDLE m_endEvent;
    std::atomic<bool> m_ended{false};
};

/// A renderer with that one pin. It tells the graph EC_COMPLETE at the end of its stream.
class TapFilter final : public CBaseFilter {
public:
    /// The consumer outlives the filter's running. `endEvent` is set whenever the stream has ended.
    TapFilter(SampleConsumer& consumer, HANDLE endEvent, HRESULT* phr);

    int GetPinCount() override { return 1; }
    CBasePin* GetPin(int n) override { return n == 0 ? &m_pin : nullptr; }

    IPin* Input() { return &m_pin; }
    bool Ended() const { return m_pin.Ended(); }

private:
    CCritSec m_lock{"TapFilter", LockRank::Filter};
    TapPin m_pin;
};

}  // namespace mediakit_tool
