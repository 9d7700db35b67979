// Base of all pins: connecting, and what belongs to a connection.
#pragma once

#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/DirectShow/IEnumMediaTypes.h"
#include "Platform/DirectShow/IPin.h"
#include "Platform/DirectShow/IQualityControl.h"
#include "Platform/DirectShow/MediaType.h"

/// A pin lives with its filter: its count is the filter's. Connecting runs on the host's thread under *m_pLock (the
/// filter's lock); an output pin's lock is taken before that of the input pin it connects to.
class CBasePin : public CUnknown, public IPin, public IQualityControl {
public:
    CBasePin(const char* pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr, const wchar_t* pName,
             PIN_DIRECTION dir);
    ~CBasePin() override;

    /// Changes with the list of GetMediaType, so that enumerators notice.
    virtual LONG GetMediaTypeVersion();
    /// The filter leaves the stopped state.
    virtual HRESULT Active();
    /// The filter stops.
    virtual HRESULT Inactive();
    /// The filter runs; tStart is the clock time of stream time 0.
    virtual HRESULT Run(REFERENCE_TIME tStart);
    /// S_OK: accepted. S_FALSE and failures: not.
    virtual HRESULT CheckMediaType(const CMediaType* pmt) = 0;
    /// Keeps the connection's type.
    virtual HRESULT SetMediaType(const CMediaType* pmt);
    /// Before all else: may this pin be connected to that one? The base refuses one of the same direction.
    virtual HRESULT CheckConnect(IPin* pPin);
    /// Undoes CheckConnect, SetMediaType and CompleteConnect; called also when one of them failed.
    virtual HRESULT BreakConnect();
    /// Both sides agree on the type.
    virtual HRESULT CompleteConnect(IPin* pReceivePin);
    /// The type proposed at that position, best first. VFW_S_NO_MORE_ITEMS past the last; E_UNEXPECTED when the pin
    /// proposes none.
    virtual HRESULT GetMediaType(int iPosition, CMediaType* pMediaType);

    DECLARE_IUNKNOWN
    /// IPin, IQualityControl.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    ULONG NonDelegatingAddRef() override;
    ULONG NonDelegatingRelease() override;

    HRESULT Connect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) override;
    HRESULT ReceiveConnection(IPin* pConnector, const AM_MEDIA_TYPE* pmt) override;
    HRESULT Disconnect() override;
    HRESULT ConnectedTo(IPin** pPin) override;
    HRESULT ConnectionMediaType(AM_MEDIA_TYPE* pmt) override;
    HRESULT QueryPinInfo(PIN_INFO* pInfo) override;
    HRESULT QueryDirection(PIN_DIRECTION* pPinDir) override;
    HRESULT QueryId(wchar_t** Id) override;
    HRESULT QueryAccept(const AM_MEDIA_TYPE* pmt) override;
    HRESULT EnumMediaTypes(IEnumMediaTypes** ppEnum) override;
    HRESULT QueryInternalConnections(IPin** apPin, ULONG* nPin) override;
    HRESULT EndOfStream() override;
    HRESULT NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) override;

    /// A pin that adapts its rate overrides Notify; the base answers E_NOTIMPL.
    HRESULT Notify(IBaseFilter* pSender, Quality q) override;
    HRESULT SetSink(IQualityControl* piqc) override;

    bool IsConnected() const { return m_Connected != nullptr; }
    /// Not counted; null when not connected.
    IPin* GetConnected() const { return m_Connected; }
    bool IsStopped() const { return m_pFilter->IsStopped(); }
    const wchar_t* Name() const { return m_pName; }
    bool CanReconnectWhenActive() const { return m_bCanReconnectWhenActive; }
    void SetReconnectWhenActive(bool bCanReconnect) { m_bCanReconnectWhenActive = bCanReconnect; }
    void IncrementTypeVersion();

    REFERENCE_TIME CurrentStartTime() const { return m_tStart; }
    REFERENCE_TIME CurrentStopTime() const { return m_tStop; }
    double CurrentRate() const { return m_dRate; }

protected:
    /// Tries one whole type with the peer. S_OK leaves both connected; a failure leaves neither.
    HRESULT AttemptConnection(IPin* pReceivePin, const CMediaType* pmt);
    /// Tries those types of the list that pmt (may be null) does not rule out.
    HRESULT TryMediaTypes(IPin* pReceivePin, const CMediaType* pmt, IEnumMediaTypes* pEnum);
    /// A whole type is tried alone; else the peer's list and then this pin's, or the other way round with
    /// m_bTryMyTypesFirst.
    HRESULT AgreeMediaType(IPin* pReceivePin, const CMediaType* pmt);
    HRESULT DisconnectInternal();

private:
    const std::wstring m_name;

protected:
    const wchar_t* const m_pName;
    IPin* m_Connected = nullptr;  ///< Counted.
    const PIN_DIRECTION m_dir;
    CCritSec* const m_pLock;
    std::atomic<bool> m_bRunTimeError{false};  ///< Samples are refused until the next stop or flush.
    bool m_bCanReconnectWhenActive = false;
    bool m_bTryMyTypesFirst = false;
    CBaseFilter* const m_pFilter;
    IQualityControl* m_pQSink = nullptr;  ///< Not counted.
    std::atomic<LONG> m_TypeVersion{1};
    CMediaType m_mt;

    /// The segment, as NewSegment brought it: 100 ns.
    REFERENCE_TIME m_tStart = 0;
    REFERENCE_TIME m_tStop;
    double m_dRate = 1.0;

private:
    void LetGoOfPeer();
};
