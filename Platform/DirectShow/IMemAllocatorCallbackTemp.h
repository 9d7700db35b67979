// Hearing of samples that come back to an allocator.
#pragma once

#include "Platform/DirectShow/IMemAllocator.h"

/// Called on the thread that gave a sample back, with no lock held.
struct IMemAllocatorNotifyCallbackTemp : IUnknown {
    virtual HRESULT NotifyRelease() = 0;

protected:
    ~IMemAllocatorNotifyCallbackTemp() = default;
};

inline constexpr IID IID_IMemAllocatorNotifyCallbackTemp = make_guid("92980B30-C1DE-11D2-ABF5-00A0C905F375");
template <>
inline constexpr IID uuid_of<IMemAllocatorNotifyCallbackTemp> = IID_IMemAllocatorNotifyCallbackTemp;

struct IMemAllocatorCallbackTemp : IMemAllocator {
    /// Sets whom to tell, with a reference; null tells nobody.
    virtual HRESULT SetNotify(IMemAllocatorNotifyCallbackTemp* pNotify) = 0;
    /// Stores how many samples lie ready.
    virtual HRESULT GetFreeCount(LONG* plBuffersFree) = 0;

protected:
    ~IMemAllocatorCallbackTemp() = default;
};

inline constexpr IID IID_IMemAllocatorCallbackTemp = make_guid("379A0CF0-C1DE-11D2-ABF5-00A0C905F375");
template <>
inline constexpr IID uuid_of<IMemAllocatorCallbackTemp> = IID_IMemAllocatorCallbackTemp;
