// Base of all filters: state, clock, graph membership, and the pins as the derived class tells them.
#pragma once

#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IFilterGraph.h"
#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/DirectShow/IReferenceClock.h"
#include "Platform/Kernel/CriticalSection.h"

#include <atomic>
#include <string>

class CBasePin;

/// Stop, Pause, Run and what concerns clock and graph run on the host's thread under *m_pLock, the state lock. The
/// state itself may be read from any thread.
class CBaseFilter : public CUnknown, public IBaseFilter {
public:
    /// The lock is the derived filter's and lives as long. `pName` is for the reader; the name in a graph comes with
    /// JoinFilterGraph.
    CBaseFilter(const char* pName, IUnknown* pUnk, CCritSec* pLock, REFCLSID clsid, HRESULT* phr = nullptr);
    ~CBaseFilter() override;

    DECLARE_IUNKNOWN
    /// IBaseFilter, IMediaFilter, IPersist.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT GetClassID(CLSID* pClsID) override;

    /// Calls Inactive on every connected pin, keeps the first failure and is stopped in any case.
    HRESULT Stop() override;
    /// From stopped: calls Active on every connected pin; a failure takes back those before it and is the result.
    HRESULT Pause() override;
    /// Through Pause when stopped; calls Run(tStart) on every connected pin.
    HRESULT Run(REFERENCE_TIME tStart) override;
    HRESULT GetState(DWORD dwMSecs, FILTER_STATE* pState) override;
    HRESULT SetSyncSource(IReferenceClock* pClock) override;
    HRESULT GetSyncSource(IReferenceClock** ppClock) override;

    HRESULT EnumPins(IEnumPins** ppEnum) override;
    /// By the pin's name.
    HRESULT FindPin(const wchar_t* Id, IPin** ppPin) override;
    HRESULT QueryFilterInfo(FILTER_INFO* pInfo) override;
    HRESULT JoinFilterGraph(IFilterGraph* pGraph, const wchar_t* pName) override;
    HRESULT QueryVendorInfo(wchar_t** pVendorInfo) override;

    /// Time since the start, by the clock. VFW_E_NO_CLOCK.
    virtual HRESULT StreamTime(REFERENCE_TIME& rtStream);
    /// Changes with every change of the pins, so that enumerators notice.
    virtual LONG GetPinVersion();
    void IncrementPinVersion();
    virtual int GetPinCount() = 0;
    /// Not counted; null outside of 0 to GetPinCount() - 1.
    virtual CBasePin* GetPin(int n) = 0;

    bool IsActive() const { return m_State != State_Stopped; }
    bool IsStopped() const { return m_State == State_Stopped; }

    /// Sends an event to the graph; any thread, no lock needed. With EC_COMPLETE the second parameter becomes this
    /// filter. E_NOTIMPL without a graph that takes events.
    HRESULT NotifyEvent(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2);

    /// Not counted, or null.
    IFilterGraph* GetFilterGraph() const { return m_pGraph; }
    /// The name in the graph; empty outside of one.
    const wchar_t* Name() const { return m_pName; }

protected:
    std::atomic<FILTER_STATE> m_State{State_Stopped};
    IReferenceClock* m_pClock = nullptr;  ///< Counted.
    REFERENCE_TIME m_tStart = 0;          ///< Clock time of stream time 0.
    const CLSID m_clsid;
    CCritSec* const m_pLock;
    const wchar_t* m_pName = L"";      ///< Into m_name.
    IFilterGraph* m_pGraph = nullptr;  ///< Not counted: the graph counts the filter.
    /// The graph's, not counted. JoinFilterGraph writes it, NotifyEvent reads it on any thread and without a lock: a
    /// graph lets go of a filter only when that is stopped, and lives until then, so that what was read stays good.
    std::atomic<IMediaEventSink*> m_pSink{nullptr};
    std::atomic<LONG> m_PinVersion{1};

private:
    HRESULT InactivatePins(int count);

    std::wstring m_name;
};
