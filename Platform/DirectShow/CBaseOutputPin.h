// Base of output pins that push samples.
#pragma once

#include "Platform/DirectShow/CBasePin.h"
#include "Platform/DirectShow/IMemInputPin.h"

/// Deliver... are called on the streaming thread (flushes on any) with no lock held.
class CBaseOutputPin : public CBasePin {
public:
    CBaseOutputPin(const char* pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, const wchar_t* pName);
    ~CBaseOutputPin() override;

    /// Chooses the connection's allocator and tells the peer: the peer's, when it offers one that DecideBufferSize
    /// can set, else one of InitAllocator. *pAlloc is counted, null on failure.
    virtual HRESULT DecideAllocator(IMemInputPin* pPin, IMemAllocator** pAlloc);
    /// Sets the allocator's properties; *ppropInputRequest is what the peer asks for.
    virtual HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* ppropInputRequest) = 0;
    /// An empty sample of the connection's allocator. E_NOINTERFACE without one.
    virtual HRESULT GetDeliveryBuffer(IMediaSample** ppSample, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                                      DWORD dwFlags);
    /// Hands a sample to the peer. VFW_E_NOT_CONNECTED.
    virtual HRESULT Deliver(IMediaSample* pSample);
    /// A platform allocator.
    virtual HRESULT InitAllocator(IMemAllocator** ppAlloc);
    virtual HRESULT DeliverEndOfStream();
    virtual HRESULT DeliverBeginFlush();
    virtual HRESULT DeliverEndFlush();
    virtual HRESULT DeliverNewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate);

    /// Base, then the peer must take samples: VFW_E_... of the query otherwise.
    HRESULT CheckConnect(IPin* pPin) override;
    HRESULT BreakConnect() override;
    /// Decides the allocator.
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    /// Commits; VFW_E_NO_ALLOCATOR.
    HRESULT Active() override;
    /// Decommits, which wakes a thread that waits for a sample; VFW_E_NO_ALLOCATOR.
    HRESULT Inactive() override;

    /// These come from downstream by mistake: E_UNEXPECTED.
    HRESULT EndOfStream() override;
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;

protected:
    /// Lets one allocator through DecideBufferSize and NotifyAllocator.
    HRESULT TryAllocator(IMemInputPin* pPin, IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pRequest);

    IMemAllocator* m_pAllocator = nullptr;  ///< Counted.
    IMemInputPin* m_pInputPin = nullptr;    ///< Of the peer, counted.
};
