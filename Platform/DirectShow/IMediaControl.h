// Running a graph.
#pragma once

#include "Platform/DirectShow/IDispatch.h"

/// A FILTER_STATE as the control interface stores it.
using OAFilterState = LONG;

/// Called on the host's thread; the graph takes its lock.
struct IMediaControl : IDispatch {
    /// S_OK, or S_FALSE when filters are still on the way to the state.
    virtual HRESULT Run() = 0;
    virtual HRESULT Pause() = 0;
    virtual HRESULT Stop() = 0;
    /// Waits at most msTimeout milliseconds (-1: no limit) for the state. S_OK, VFW_S_STATE_INTERMEDIATE,
    /// VFW_S_CANT_CUE.
    virtual HRESULT GetState(LONG msTimeout, OAFilterState* pfs) = 0;
    virtual HRESULT RenderFile(const wchar_t* strFilename) = 0;
    virtual HRESULT AddSourceFilter(const wchar_t* strFilename, IDispatch** ppUnk) = 0;
    virtual HRESULT get_FilterCollection(IDispatch** ppUnk) = 0;
    virtual HRESULT get_RegFilterCollection(IDispatch** ppUnk) = 0;
    /// Pauses, waits until filters have data, then stops.
    virtual HRESULT StopWhenReady() = 0;

protected:
    ~IMediaControl() = default;
};

inline constexpr IID IID_IMediaControl = make_guid("56A868B1-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMediaControl> = IID_IMediaControl;
