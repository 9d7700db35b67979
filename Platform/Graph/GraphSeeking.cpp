#include "Platform/Graph/GraphSeeking.h"

#include <algorithm>
#include <limits>

/// The first answer that is a success, else the first failure.
template <class Ask>
HRESULT GraphSeeking::First(Ask ask) {
    HRESULT failure = E_NOTIMPL;
    for (const auto& seeker : m_host.FindSeekers()) {
        const HRESULT hr = ask(*seeker);
        if (SUCCEEDED(hr)) return hr;
        if (failure == E_NOTIMPL) failure = hr;
    }
    return failure;
}

/// All are told, and all are asked also when one fails: they should not part.
template <class Tell>
HRESULT GraphSeeking::Each(Tell tell) {
    const SeekingHost::Seekers seekers = m_host.FindSeekers();
    if (seekers.empty()) return E_NOTIMPL;
    HRESULT result = S_OK;
    for (const auto& seeker : seekers) {
        const HRESULT hr = tell(*seeker);
        if (SUCCEEDED(result) && hr != S_OK) result = hr;
    }
    return result;
}

template <class Ask>
HRESULT GraphSeeking::Longest(LONGLONG* longest, Ask ask) {
    if (longest == nullptr) return E_POINTER;
    bool answered = false;
    HRESULT failure = E_NOTIMPL;
    for (const auto& seeker : m_host.FindSeekers()) {
        LONGLONG value = 0;
        const HRESULT hr = ask(*seeker, &value);
        if (SUCCEEDED(hr)) {
            *longest = answered ? std::max(*longest, value) : value;
            answered = true;
        } else if (failure == E_NOTIMPL) {
            failure = hr;
        }
    }
    return answered ? S_OK : failure;
}

HRESULT GraphSeeking::GetCapabilities(DWORD* pCapabilities) {
    if (pCapabilities == nullptr) return E_POINTER;
    DWORD common = 0xFFFFFFFF;
    const HRESULT hr = Each([&](IMediaSeeking& seeker) {
        DWORD capabilities = 0;
        const HRESULT asked = seeker.GetCapabilities(&capabilities);
        common &= FAILED(asked) ? 0 : capabilities;
        return asked;
    });
    *pCapabilities = FAILED(hr) ? 0 : common;
    return hr;
}

HRESULT GraphSeeking::CheckCapabilities(DWORD* pCapabilities) {
    if (pCapabilities == nullptr) return E_POINTER;
    DWORD have = 0;
    if (const HRESULT hr = GetCapabilities(&have); FAILED(hr)) return hr;
    const DWORD wanted = *pCapabilities;
    *pCapabilities = wanted & have;
    return *pCapabilities == wanted ? S_OK : *pCapabilities != 0 ? S_FALSE : E_FAIL;
}

HRESULT GraphSeeking::IsFormatSupported(const GUID* pFormat) {
    return Each([=](IMediaSeeking& seeker) { return seeker.IsFormatSupported(pFormat); });
}

HRESULT GraphSeeking::QueryPreferredFormat(GUID* pFormat) {
    return First([=](IMediaSeeking& seeker) { return seeker.QueryPreferredFormat(pFormat); });
}

HRESULT GraphSeeking::GetTimeFormat(GUID* pFormat) {
    return First([=](IMediaSeeking& seeker) { return seeker.GetTimeFormat(pFormat); });
}

HRESULT GraphSeeking::IsUsingTimeFormat(const GUID* pFormat) {
    return First([=](IMediaSeeking& seeker) { return seeker.IsUsingTimeFormat(pFormat); });
}

HRESULT GraphSeeking::SetTimeFormat(const GUID* pFormat) {
    return Each([=](IMediaSeeking& seeker) { return seeker.SetTimeFormat(pFormat); });
}

HRESULT GraphSeeking::GetDuration(LONGLONG* pDuration) {
    return Longest(pDuration, [](IMediaSeeking& seeker, LONGLONG* value) { return seeker.GetDuration(value); });
}

HRESULT GraphSeeking::GetStopPosition(LONGLONG* pStop) {
    return First([=](IMediaSeeking& seeker) { return seeker.GetStopPosition(pStop); });
}

HRESULT GraphSeeking::GetCurrentPosition(LONGLONG* pCurrent) {
    return First([=](IMediaSeeking& seeker) { return seeker.GetCurrentPosition(pCurrent); });
}

HRESULT GraphSeeking::ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                                        const GUID* pSourceFormat) {
    return First(
        [=](IMediaSeeking& seeker) { return seeker.ConvertTimeFormat(pTarget, pTargetFormat, Source, pSourceFormat); });
}

HRESULT GraphSeeking::SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) {
    const auto seek = [&] {
        // Each gets the positions as the caller gave them; the caller gets the first one's back.
        const LONGLONG current = pCurrent ? *pCurrent : 0;
        const LONGLONG stop = pStop ? *pStop : 0;
        bool told = false;
        return Each([&](IMediaSeeking& seeker) {
            LONGLONG itsCurrent = current;
            LONGLONG itsStop = stop;
            const HRESULT hr = seeker.SetPositions(pCurrent ? &itsCurrent : nullptr, dwCurrentFlags,
                                                   pStop ? &itsStop : nullptr, dwStopFlags);
            if (!told && SUCCEEDED(hr)) {
                if (pCurrent) *pCurrent = itsCurrent;
                if (pStop) *pStop = itsStop;
                told = true;
            }
            return hr;
        });
    };
    if ((dwCurrentFlags & AM_SEEKING_PositioningBitsMask) == AM_SEEKING_NoPositioning) return seek();
    return m_host.SeekWhilePaused(seek);
}

HRESULT GraphSeeking::GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) {
    return First([=](IMediaSeeking& seeker) { return seeker.GetPositions(pCurrent, pStop); });
}

HRESULT GraphSeeking::GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) {
    LONGLONG earliest = std::numeric_limits<LONGLONG>::min();
    LONGLONG latest = std::numeric_limits<LONGLONG>::max();
    const HRESULT hr = Each([&](IMediaSeeking& seeker) {
        LONGLONG itsEarliest = 0;
        LONGLONG itsLatest = 0;
        const HRESULT asked = seeker.GetAvailable(&itsEarliest, &itsLatest);
        if (FAILED(asked)) return asked;
        earliest = std::max(earliest, itsEarliest);
        latest = std::min(latest, itsLatest);
        return asked;
    });
    if (FAILED(hr)) return hr;
    if (pEarliest) *pEarliest = earliest;
    if (pLatest) *pLatest = latest;
    return hr;
}

HRESULT GraphSeeking::SetRate(double dRate) {
    return Each([=](IMediaSeeking& seeker) { return seeker.SetRate(dRate); });
}

HRESULT GraphSeeking::GetRate(double* pdRate) {
    return First([=](IMediaSeeking& seeker) { return seeker.GetRate(pdRate); });
}

HRESULT GraphSeeking::GetPreroll(LONGLONG* pllPreroll) {
    return Longest(pllPreroll, [](IMediaSeeking& seeker, LONGLONG* value) { return seeker.GetPreroll(value); });
}
