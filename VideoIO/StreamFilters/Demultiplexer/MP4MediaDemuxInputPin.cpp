#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxInputPin.h"

#include "Logging/Checks.h"
#include "Platform/Com/ComPtr.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"

#include <exception>

namespace Norvane::MediaKit::Filters {

MP4MediaDemuxInputPin::MP4MediaDemuxInputPin(MP4MediaDemuxFilter* filter, CCritSec* lock, HRESULT* phr)
    : CBaseInputPin("MP4MediaDemuxInputPin", filter, lock, phr, L"Input"), m_demux(filter) {}

HRESULT MP4MediaDemuxInputPin::CompleteConnect(IPin* pReceivePin) {
    QZCheckHRESULT(CBaseInputPin::CompleteConnect(pReceivePin));
    const auto reader = ComPtr<IPin>(pReceivePin).query<IAsyncReader>();
    try {
        return m_demux->SetReader(reader.get());
    } catch (const std::exception& error) {
        m_demux->ReportOpeningFailure(error.what());
        return E_FAIL;
    }
}

HRESULT MP4MediaDemuxInputPin::Inactive() {
    const HRESULT hr = CBaseInputPin::Inactive();
    return hr == VFW_E_NO_ALLOCATOR ? S_OK : hr;
}

}  // namespace Norvane::MediaKit::Filters
