// Positions of a graph: those of its renderers.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IMediaSeeking.h"

#include <functional>
#include <vector>

/// What the graph gives to its seeking part.
class SeekingHost {
public:
    using Seekers = std::vector<ComPtr<IMediaSeeking>>;

    /// The seeking interfaces of the renderers that have one.
    virtual Seekers FindSeekers() = 0;
    /// Runs `seek` with the graph paused when it was running; the stream's time starts anew where it led.
    virtual HRESULT SeekWhilePaused(const std::function<HRESULT()>& seek) = 0;

protected:
    ~SeekingHost() = default;
};

/// A part of the graph object, whose identity and count it shares. Host threads. What is set goes to every renderer,
/// and the first failure is the result; what is asked for comes from the first renderer that answers, apart from the
/// duration and the preroll, which are the longest, and the capabilities and the available range, which all must
/// have. E_NOTIMPL when no renderer can seek.
class GraphSeeking final : public CUnknown, public IMediaSeeking {
public:
    GraphSeeking(IUnknown* graph, SeekingHost& host) : CUnknown(graph), m_host(host) {}

    DECLARE_IUNKNOWN

    HRESULT GetCapabilities(DWORD* pCapabilities) override;
    HRESULT CheckCapabilities(DWORD* pCapabilities) override;
    HRESULT IsFormatSupported(const GUID* pFormat) override;
    HRESULT QueryPreferredFormat(GUID* pFormat) override;
    HRESULT GetTimeFormat(GUID* pFormat) override;
    HRESULT IsUsingTimeFormat(const GUID* pFormat) override;
    HRESULT SetTimeFormat(const GUID* pFormat) override;
    HRESULT GetDuration(LONGLONG* pDuration) override;
    HRESULT GetStopPosition(LONGLONG* pStop) override;
    HRESULT GetCurrentPosition(LONGLONG* pCurrent) override;
    HRESULT ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                              const GUID* pSourceFormat) override;
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) override;
    HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) override;
    HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) override;
    HRESULT SetRate(double dRate) override;
    HRESULT GetRate(double* pdRate) override;
    HRESULT GetPreroll(LONGLONG* pllPreroll) override;

private:
    template <class Ask>
    HRESULT First(Ask ask);
    template <class Tell>
    HRESULT Each(Tell tell);
    template <class Ask>
    HRESULT Longest(LONGLONG* longest, Ask ask);

    SeekingHost& m_host;
};
