// What a recording tells its readers while it is being written.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/MediaType.h"

#include <cstdint>
#include <vector>

struct IMediaSample;

namespace Norvane::MediaKit::Filters {

/// One sample that has reached the file. Times are in 100 ns.
struct LiveSampleInfo {
    std::uint64_t offset = 0;  ///< position of its first byte in the file
    std::uint32_t size = 0;    ///< bytes in the file
    std::uint32_t reserved = 0;
    std::int64_t start = 0;
    std::int64_t stop = 0;
    std::int64_t mediaStart = 0;
    std::int64_t mediaStop = 0;
    std::uint32_t sync = 0;  ///< 1 for a sync sample
};
static_assert(sizeof(LiveSampleInfo) == 56);

/// Offered by a multiplexer (storage) or a pool of recent media (memory). A reader adds itself as a
/// consumer of a track and is given every sample from then on, the history first; it reads the bytes
/// from the file by itself. Any thread may call any operation. Nothing is called with a lock of the
/// provider held, and the only wait is in GetSamples, which holds none.
///
/// A track has two numbers, which differ behind a pin that is not connected: GetTrackMediaType counts the
/// connected pins, and AddConsumer, RemoveConsumer, GetSamples and GetTrackPosition take the number of the
/// input pin.
struct ILiveSourceProvider : IUnknown {
    /// Number of connected input pins.
    virtual int GetTrackCount() = 0;
    /// Media type of a track as written; `track` counts the connected pins. VFW_E_WRONG_STATE when the
    /// filter is stopped or the track has had no sample yet, E_INVALIDARG for an index past the end.
    virtual HRESULT GetTrackMediaType(int track, CMediaType* type) = 0;
    /// Oldest time that a provider of memory still has; `streamGroup` is 0. A multiplexer answers false.
    virtual bool GetBeginTime(std::uint32_t streamGroup, REFERENCE_TIME* begin) = 0;
    /// Newest time that a provider of memory has; `streamGroup` is 0. A multiplexer answers false.
    virtual bool GetEndTime(std::uint32_t streamGroup, REFERENCE_TIME* end) = 0;
    /// Adds a consumer under `key` (the caller's pointer or handle); an existing key stays as it is.
    /// `start`, `span` and `*firstTime` are for providers of memory; a multiplexer neither reads nor
    /// writes them, and `firstTime` may be null. `name` appears in the log. S_OK.
    virtual HRESULT AddConsumer(std::uint32_t track, std::uint64_t key, const wchar_t* name, REFERENCE_TIME start,
                                REFERENCE_TIME span, REFERENCE_TIME* firstTime) = 0;
    /// Removes it; a wait in progress ends as if nothing had happened to it. An unknown key does nothing.
    virtual HRESULT RemoveConsumer(std::uint32_t track, std::uint64_t key) = 0;
    /// Moves what the consumer has not fetched yet into `samples`, waiting up to `timeoutMs` for the
    /// first. Positions in the file hold until the recording ends: a `moov` that is then moved to the front
    /// moves the data, and what is fetched from then on tells where they are. S_OK; S_FALSE at the end of the
    /// recording; E_ABORT when `abortEvent` is signalled; VFW_E_TIMEOUT; E_INVALIDARG for an unknown key; E_UNEXPECTED
    /// when the wait fails.
    virtual HRESULT GetSamples(std::uint32_t track, std::uint64_t key, std::vector<LiveSampleInfo>* samples,
                               std::uint32_t timeoutMs, HANDLE abortEvent) = 0;
    /// The consumer's next whole sample from a provider of memory, with a reference, waiting up to
    /// `timeoutMs` (0xFFFFFFFF: without end). A multiplexer answers E_NOTIMPL.
    virtual HRESULT GetSample(std::uint32_t track, std::uint64_t key, std::uint32_t timeoutMs, HANDLE abortEvent,
                              IMediaSample** sample) = 0;
    /// Start time of the track's last indexed sample, 0 when there is none.
    virtual REFERENCE_TIME GetTrackPosition(std::uint32_t track) = 0;

protected:
    ~ILiveSourceProvider() = default;
};

inline constexpr IID IID_ILiveSourceProvider = make_guid("820D3008-5F31-4FAD-92EF-9EC996A7D398");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::ILiveSourceProvider> =
    Norvane::MediaKit::Filters::IID_ILiveSourceProvider;
