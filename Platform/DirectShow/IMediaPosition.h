// Positions in a stream, in seconds.
#pragma once

#include "Platform/DirectShow/IDispatch.h"

/// Seconds.
using REFTIME = double;

/// OATRUE and OAFALSE of the scripting interfaces.
inline constexpr LONG OATRUE = -1;
inline constexpr LONG OAFALSE = 0;

/// Called on the host's thread; the object takes its own lock.
struct IMediaPosition : IDispatch {
    virtual HRESULT get_Duration(REFTIME* plength) = 0;
    virtual HRESULT put_CurrentPosition(REFTIME llTime) = 0;
    virtual HRESULT get_CurrentPosition(REFTIME* pllTime) = 0;
    virtual HRESULT get_StopTime(REFTIME* pllTime) = 0;
    virtual HRESULT put_StopTime(REFTIME llTime) = 0;
    virtual HRESULT get_PrerollTime(REFTIME* pllTime) = 0;
    virtual HRESULT put_PrerollTime(REFTIME llTime) = 0;
    virtual HRESULT put_Rate(double dRate) = 0;
    virtual HRESULT get_Rate(double* pdRate) = 0;
    /// Store OATRUE or OAFALSE.
    virtual HRESULT CanSeekForward(LONG* pCanSeekForward) = 0;
    virtual HRESULT CanSeekBackward(LONG* pCanSeekBackward) = 0;

protected:
    ~IMediaPosition() = default;
};

inline constexpr IID IID_IMediaPosition = make_guid("56A868B2-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMediaPosition> = IID_IMediaPosition;
