#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"

#include "Logging/Checks.h"
#include "MediaKit/Factories.h"

namespace Norvane::MediaKit::Filters {

MP4MediaMuxFilter::MP4MediaMuxFilter(IUnknown* outer, HRESULT* phr, Movie::Clock clock)
    : MuxFilter("MP4 multiplexer", outer, CLSID_MP4MediaMuxFilter, phr,
                [clock](RecorderHost& host, RecordingOutput& output, LiveIndex& index, const MovieSettings& settings) {
                    return std::make_unique<PlainRecorder>(host, output, index, settings, clock);
                }) {}

HRESULT MP4MediaMuxFilter::RemoveConsumer(std::uint32_t, std::uint64_t key) {
    if (const auto name = m_index.RemoveConsumer(key)) QZReport(3, L"Removed consumer '%s'", name->c_str());
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
