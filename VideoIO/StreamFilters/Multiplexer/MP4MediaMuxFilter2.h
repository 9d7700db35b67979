// The plain MP4 multiplexer.
#pragma once

#include "VideoIO/StreamFilters/Authoring/PlainRecorder.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

namespace Norvane::MediaKit::Filters {

/// Interleaves its tracks into `mdat` boxes while it records and writes `moov` when it stops. Sample data leaves
/// through the output pin, boxes through IStream of the peer.
class MP4MediaMuxFilter final : public MuxFilter {
public:
    explicit MP4MediaMuxFilter(IUnknown* outer = nullptr, HRESULT* phr = nullptr,
                               Movie::Clock clock = SecondsSince1904);

    HRESULT RemoveConsumer(std::uint32_t track, std::uint64_t key) override;
};

}  // namespace Norvane::MediaKit::Filters
