// The enumerators that filters and pins of the base classes hand out.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/IEnumMediaTypes.h"
#include "Platform/DirectShow/IEnumPins.h"

class CBaseFilter;
class CBasePin;

/// Walks GetPin(0), GetPin(1), ... of a filter that it keeps alive. A pin that the filter shows twice comes twice.
/// After a change of the filter's pin version Next and Skip answer VFW_E_ENUM_OUT_OF_SYNC until Reset.
class CEnumPins final : public CUnknown, public IEnumPins {
public:
    /// Starts at the first pin, or where `from` stands.
    explicit CEnumPins(CBaseFilter* pFilter, const CEnumPins* from = nullptr);
    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT Next(ULONG cPins, IPin** ppPins, ULONG* pcFetched) override;
    HRESULT Skip(ULONG cPins) override;
    HRESULT Reset() override;
    HRESULT Clone(IEnumPins** ppEnum) override;

private:
    bool AreWeOutOfSync() const;
    void Refresh();

    ~CEnumPins() override;
    CBaseFilter* const m_pFilter;
    int m_Position = 0;
    int m_PinCount = 0;
    int m_Version = 0;
};

/// Walks GetMediaType(0), GetMediaType(1), ... of a pin that it keeps alive, until one is not S_OK.
class CEnumMediaTypes final : public CUnknown, public IEnumMediaTypes {
public:
    explicit CEnumMediaTypes(CBasePin* pPin, const CEnumMediaTypes* from = nullptr);
    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT Next(ULONG cMediaTypes, AM_MEDIA_TYPE** ppMediaTypes, ULONG* pcFetched) override;
    HRESULT Skip(ULONG cMediaTypes) override;
    HRESULT Reset() override;
    HRESULT Clone(IEnumMediaTypes** ppEnum) override;

private:
    bool AreWeOutOfSync() const;

    ~CEnumMediaTypes() override;
    CBasePin* const m_pPin;
    int m_Position = 0;
    int m_Version = 0;
};
