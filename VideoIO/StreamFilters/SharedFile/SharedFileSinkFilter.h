// The file writer at the end of a multiplexer. Others may read the file while it grows.
#pragma once

#include "MediaKit/IFailureInformation.h"
#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/DirectShow/CRendererPosPassThru.h"
#include "Platform/DirectShow/IAMFilterMiscFlags.h"
#include "Platform/DirectShow/IFileSinkFilter2.h"
#include "Platform/DirectShow/IPersistStream.h"
#include "Platform/Kernel/CriticalSection.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkInputPin.h"

#include <memory>

namespace Norvane::MediaKit::Filters {

/// Seeking of the sink is seeking of what feeds it, SetPositions included: the base passes all of it to the peer.
class SharedFileSinkFilterPosPassThru final : public CRendererPosPassThru {
public:
    using CRendererPosPassThru::CRendererPosPassThru;
};

/// A renderer with one pin. IMediaSeeking and IMediaPosition are those of a pass-through made at the first query.
class SharedFileSinkFilter final : public CBaseFilter,
                                   public IAMFilterMiscFlags,
                                   public IFileSinkFilter2,
                                   public IPersistStream,
                                   public IFailureInformation {
public:
    SharedFileSinkFilter(IUnknown* outer, HRESULT* phr);
    ~SharedFileSinkFilter() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;
    HRESULT GetClassID(CLSID* pClsID) override;

    int GetPinCount() override;
    /// The one pin, whatever n.
    CBasePin* GetPin(int n) override;

    ULONG GetMiscFlags() override;

    /// The type is ignored. Takes effect when the pin becomes active with no file open.
    HRESULT SetFileName(const wchar_t* pszFileName, const AM_MEDIA_TYPE* pmt) override;
    /// E_NOTIMPL.
    HRESULT GetCurFile(wchar_t** ppszFileName, AM_MEDIA_TYPE* pmt) override;
    /// S_OK for AM_FILE_OVERWRITE, which is what the sink does; else E_NOTIMPL.
    HRESULT SetMode(DWORD dwFlags) override;
    HRESULT GetMode(DWORD* pdwFlags) override;

    /// The first failed operation that makes or changes the file since the name was set or the filter was started.
    HRESULT GetFirstFailure(FilterFailure* failure) override { return m_pin->GetFirstFailure(failure); }

    /// There are no settings to keep: E_NOTIMPL, all four.
    HRESULT IsDirty() override;
    HRESULT Load(IStream* pStm) override;
    HRESULT Save(IStream* pStm, BOOL fClearDirty) override;
    HRESULT GetSizeMax(ULARGE_INTEGER* pcbSize) override;

private:
    HRESULT QueryPosition(REFIID riid, void** ppv);

    std::unique_ptr<SharedFileSinkFilterPosPassThru> m_position MK_GUARDED_BY(m_lock);
    CCritSec m_lock{"SharedFileSink", LockRank::Filter};
    std::unique_ptr<SharedFileSinkInputPin> m_pin;
};

}  // namespace Norvane::MediaKit::Filters
