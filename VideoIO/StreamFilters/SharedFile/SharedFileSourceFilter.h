// Pull source of a file that another writer may still be growing. Nothing here waits for data.
#pragma once

#include "MediaKit/IFailureInformation.h"
#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/DirectShow/IFileSourceFilter.h"
#include "Platform/Kernel/CriticalSection.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceOutputPin.h"

#include <memory>

namespace Norvane::MediaKit::Filters {

class SharedFileSourceFilter final : public CBaseFilter, public IFileSourceFilter, public IFailureInformation {
public:
    SharedFileSourceFilter(IUnknown* outer, HRESULT* phr);
    ~SharedFileSourceFilter() override;

    DECLARE_IUNKNOWN
    /// IFileSourceFilter, IFailureInformation and those of the base.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    int GetPinCount() override;
    /// The one pin, whatever n.
    CBasePin* GetPin(int n) override;

    /// Lets go of all open streams; with a name keeps it and opens the file once for this thread, as the test that it
    /// is there (the name stays when it is not); with a type keeps that. Both may be null.
    HRESULT Load(const wchar_t* pszFileName, const AM_MEDIA_TYPE* pmt) override;
    /// Stores a null name and answers S_OK: it tells nothing.
    HRESULT GetCurFile(wchar_t** ppszFileName, AM_MEDIA_TYPE* pmt) override;

    /// The first failed opening, read or query of the size since Load was given a name.
    HRESULT GetFirstFailure(FilterFailure* failure) override;

private:
    CCritSec m_lock{"SharedFileSource", LockRank::Filter};
    std::unique_ptr<SharedFileSourceOutputPin> m_pin;
};

}  // namespace Norvane::MediaKit::Filters
