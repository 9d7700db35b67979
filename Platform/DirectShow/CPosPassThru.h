// Positions of a filter that leaves them to whoever feeds it.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IMediaPosition.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "Platform/DirectShow/IPin.h"

/// Passes each operation to the same interface of the pin connected to a given input pin; E_NOTIMPL when there is no
/// connection or the peer does not offer the interface. No lock, no state. The input pin is not counted and outlives
/// the object: both belong to one filter, which is the `outer`.
class CPosPassThru : public CUnknown, public IMediaSeeking, public CDispatch<IMediaPosition> {
public:
    CPosPassThru(const char* pName, IUnknown* pUnk, HRESULT* phr, IPin* pPin);

    DECLARE_IUNKNOWN
    /// IMediaSeeking, IMediaPosition.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// A renderer that knows the present position tells it here; E_FAIL in the base. pEndTime may be null.
    virtual HRESULT GetMediaTime(LONGLONG* pStartTime, LONGLONG* pEndTime);

    HRESULT GetCapabilities(DWORD* pCapabilities) override;
    HRESULT CheckCapabilities(DWORD* pCapabilities) override;
    HRESULT IsFormatSupported(const GUID* pFormat) override;
    HRESULT QueryPreferredFormat(GUID* pFormat) override;
    HRESULT GetTimeFormat(GUID* pFormat) override;
    HRESULT IsUsingTimeFormat(const GUID* pFormat) override;
    HRESULT SetTimeFormat(const GUID* pFormat) override;
    HRESULT GetDuration(LONGLONG* pDuration) override;
    HRESULT GetStopPosition(LONGLONG* pStop) override;
    /// GetMediaTime's, when it has one.
    HRESULT GetCurrentPosition(LONGLONG* pCurrent) override;
    HRESULT ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                              const GUID* pSourceFormat) override;
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD CurrentFlags, LONGLONG* pStop, DWORD StopFlags) override;
    HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) override;
    HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) override;
    HRESULT SetRate(double dRate) override;
    HRESULT GetRate(double* pdRate) override;
    HRESULT GetPreroll(LONGLONG* pPreroll) override;

    HRESULT get_Duration(REFTIME* plength) override;
    HRESULT put_CurrentPosition(REFTIME llTime) override;
    HRESULT get_CurrentPosition(REFTIME* pllTime) override;
    HRESULT get_StopTime(REFTIME* pllTime) override;
    HRESULT put_StopTime(REFTIME llTime) override;
    HRESULT get_PrerollTime(REFTIME* pllTime) override;
    HRESULT put_PrerollTime(REFTIME llTime) override;
    HRESULT put_Rate(double dRate) override;
    HRESULT get_Rate(double* pdRate) override;
    HRESULT CanSeekForward(LONG* pCanSeekForward) override;
    HRESULT CanSeekBackward(LONG* pCanSeekBackward) override;

protected:
    /// The peer's interface; null without one.
    template <class Interface>
    ComPtr<Interface> Peer() const;
    template <class Interface, class Operation, class... Args>
    HRESULT Forward(Operation operation, Args... args) const;

    IPin* const m_pPin;
};
