// Where the demultiplexer meets its reader.
#pragma once

#include "Platform/DirectShow/CBaseInputPin.h"

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxFilter;

/// Takes any type; no samples arrive here.
class MP4MediaDemuxInputPin final : public CBaseInputPin {
public:
    MP4MediaDemuxInputPin(MP4MediaDemuxFilter* filter, CCritSec* lock, HRESULT* phr);

    HRESULT CheckMediaType(const CMediaType*) override { return S_OK; }
    HRESULT GetMediaType(int, CMediaType*) override { return E_UNEXPECTED; }
    /// Opens the file. E_UNEXPECTED for a peer that is no IAsyncReader.
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    HRESULT Active() override { return S_OK; }
    HRESULT Run(REFERENCE_TIME) override { return S_OK; }
    HRESULT Inactive() override;

private:
    MP4MediaDemuxFilter* const m_demux;
};

}  // namespace Norvane::MediaKit::Filters
