// Pushing samples into an input pin.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/IMemAllocator.h"

/// The allocator operations are called while connecting, on the host's thread; Receive on the upstream's streaming
/// thread, with no lock of the upstream filter held.
struct IMemInputPin : IUnknown {
    /// Stores the pin's own allocator with a reference; VFW_E_NO_ALLOCATOR when it has none to offer.
    virtual HRESULT GetAllocator(IMemAllocator** ppAllocator) = 0;
    /// Tells the allocator that the connection will use; the pin keeps a reference. bReadOnly: do not change samples.
    virtual HRESULT NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly) = 0;
    /// Stores what the pin would like; E_NOTIMPL when it does not care.
    virtual HRESULT GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps) = 0;
    /// Takes a sample; the pin takes its own reference to keep it. S_OK: go on. S_FALSE: flushing, or no more is
    /// wanted. VFW_E_WRONG_STATE: stopped. Other failures: stop sending.
    virtual HRESULT Receive(IMediaSample* pSample) = 0;
    /// Receive for each of nSamples until one is not S_OK; stores how many were taken.
    virtual HRESULT ReceiveMultiple(IMediaSample** pSamples, LONG nSamples, LONG* nSamplesProcessed) = 0;
    /// S_FALSE when Receive never waits, else S_OK.
    virtual HRESULT ReceiveCanBlock() = 0;

protected:
    ~IMemInputPin() = default;
};

inline constexpr IID IID_IMemInputPin = make_guid("56A8689D-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMemInputPin> = IID_IMemInputPin;
