// Where a host hears of events.
#pragma once

#include "Platform/DirectShow/IDispatch.h"

/// The handle of an event object, as a number.
using OAEVENT = LONG_PTR;

/// Any thread of the host; waits hold no lock. Times in milliseconds, -1 for no limit.
struct IMediaEvent : IDispatch {
    /// Stores a handle that is signalled while events wait. It stays the graph's.
    virtual HRESULT GetEventHandle(OAEVENT* hEvent) = 0;
    /// Stores the next event; give its parameters to FreeEventParams. E_ABORT when none came in time.
    virtual HRESULT GetEvent(LONG* lEventCode, LONG_PTR* lParam1, LONG_PTR* lParam2, LONG msTimeout) = 0;
    /// Waits until the graph ends by itself, stores EC_COMPLETE, EC_ERRORABORT or EC_USERABORT; E_ABORT on time-out
    /// (0 stored); VFW_E_WRONG_STATE when the graph is not running.
    virtual HRESULT WaitForCompletion(LONG msTimeout, LONG* pEvCode) = 0;
    /// Hands events of this code to the host untouched.
    virtual HRESULT CancelDefaultHandling(LONG lEvCode) = 0;
    virtual HRESULT RestoreDefaultHandling(LONG lEvCode) = 0;
    virtual HRESULT FreeEventParams(LONG lEvCode, LONG_PTR lParam1, LONG_PTR lParam2) = 0;

protected:
    ~IMediaEvent() = default;
};

inline constexpr IID IID_IMediaEvent = make_guid("56A868B6-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMediaEvent> = IID_IMediaEvent;
