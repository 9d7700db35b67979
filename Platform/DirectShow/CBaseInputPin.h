// Base of input pins that samples are pushed into.
#pragma once

#include "Platform/DirectShow/CBasePin.h"
#include "Platform/DirectShow/IMediaSample2.h"
#include "Platform/DirectShow/IMemInputPin.h"

/// Receive comes on the upstream's streaming thread with no lock held; flushes on any thread under *m_pLock.
class CBaseInputPin : public CBasePin, public IMemInputPin {
public:
    CBaseInputPin(const char* pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, const wchar_t* pName);
    ~CBaseInputPin() override;

    DECLARE_IUNKNOWN
    /// IMemInputPin and those of CBasePin.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// Refuses samples until EndFlush. An override that passes it on calls this first.
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;

    /// A platform allocator, made at the first call.
    HRESULT GetAllocator(IMemAllocator** ppAllocator) override;
    HRESULT NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly) override;
    HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps) override;
    /// Tests CheckStreaming, reads the sample's properties into m_SampleProps, and tests a type that begins with the
    /// sample: one that CheckMediaType refuses ends the stream with EC_ERRORABORT and VFW_E_INVALIDMEDIATYPE.
    /// Overrides call it first and go on at S_OK only.
    HRESULT Receive(IMediaSample* pSample) override;
    HRESULT ReceiveMultiple(IMediaSample** pSamples, LONG nSamples, LONG* nSamplesProcessed) override;
    /// S_FALSE when the filter has output pins and nothing connected to them can block.
    HRESULT ReceiveCanBlock() override;

    /// Gives the allocator back.
    HRESULT BreakConnect() override;
    /// Decommits; VFW_E_NO_ALLOCATOR when no allocator was agreed.
    HRESULT Inactive() override;
    /// S_OK; S_FALSE while flushing; VFW_E_WRONG_STATE when stopped; VFW_E_RUNTIME_ERROR.
    virtual HRESULT CheckStreaming();
    /// Sends a quality message to the sink that was set, or upstream. VFW_E_NOT_FOUND when nobody takes it.
    HRESULT PassNotify(Quality& q);

    bool IsReadOnly() const { return m_bReadOnly; }
    bool IsFlushing() const { return m_bFlushing; }
    /// Of the sample in Receive.
    AM_SAMPLE2_PROPERTIES* SampleProps() { return &m_SampleProps; }

protected:
    IMemAllocator* m_pAllocator = nullptr;  ///< Counted.
    bool m_bReadOnly = false;
    std::atomic<bool> m_bFlushing{false};
    AM_SAMPLE2_PROPERTIES m_SampleProps{};  ///< The streaming thread's.

private:
    void ReadSampleProperties(IMediaSample* pSample);

    CMediaType m_sampleType;  ///< What m_SampleProps.pMediaType points to for samples without IMediaSample2.
};
