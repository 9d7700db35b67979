// The states of a filter, and its clock.
#pragma once

#include "Platform/DirectShow/IPersist.h"

struct IReferenceClock;

enum FILTER_STATE : INT {
    State_Stopped = 0,
    State_Paused = 1,
    State_Running = 2,
};

/// Called by the graph on the host's thread, never from a streaming thread. The filter takes its state lock.
struct IMediaFilter : IPersist {
    /// To stopped: no sample is delivered any more when it returns.
    virtual HRESULT Stop() = 0;
    /// To paused: resources are taken, data flows until buffers are full. S_FALSE: the change is not finished.
    virtual HRESULT Pause() = 0;
    /// To running, through paused when stopped. tStart: clock time (100 ns) of stream time 0.
    virtual HRESULT Run(REFERENCE_TIME tStart) = 0;
    /// Stores the state, after at most the given wait for an unfinished change. S_OK; VFW_S_STATE_INTERMEDIATE when
    /// it is still under way; VFW_S_CANT_CUE for a paused filter that has nothing to show.
    virtual HRESULT GetState(DWORD dwMilliSecsTimeout, FILTER_STATE* pState) = 0;
    /// Gives the clock; null takes it away. The filter keeps a reference.
    virtual HRESULT SetSyncSource(IReferenceClock* pClock) = 0;
    /// Stores the clock with a new reference, or null.
    virtual HRESULT GetSyncSource(IReferenceClock** ppClock) = 0;

protected:
    ~IMediaFilter() = default;
};

inline constexpr IID IID_IMediaFilter = make_guid("56A86899-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMediaFilter> = IID_IMediaFilter;
