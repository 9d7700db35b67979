// What has become of a recording.
#pragma once

#include "MediaKit/IFailureInformation.h"
#include "Platform/Com/Unknown.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

enum class RecordingState {
    Idle,       ///< no run yet
    Waiting,    ///< running; the file begins once every track has delivered a sample
    Recording,  ///< running; the file has begun
    Ended       ///< stopped: the other fields are final
};

/// One run, from Pause or Run to Stop. Payload is counted as it is in the file, which may be more or less than what was
/// received.
struct RecordingResult {
    RecordingState state = RecordingState::Idle;
    std::uint64_t samplesWritten = 0;
    std::uint64_t bytesWritten = 0;
    /// Samples that were received and are not in the file because something failed; their received bytes.
    std::uint64_t samplesLost = 0;
    std::uint64_t bytesLost = 0;
    /// Samples that still waited when the recording was stopped, flushed or disconnected.
    std::uint64_t samplesDiscarded = 0;
    /// The index was written and everything in it is in the file. Always false before the end.
    bool fileComplete = false;
    FilterFailure failure;  ///< the first one; its result is S_OK when nothing has failed
};

/// Offered by the multiplexers. A failed write costs samples and nothing else: Receive goes on answering S_OK and the
/// file is still finished, so that a host has to ask here, or to watch for QZ_EC_RECORDING_FAILED.
struct IRecordingResult : IUnknown {
    /// Copies the present or the last run's result. Any thread; takes no lock that is held over a write, so that it
    /// answers at once also while the disk is slow.
    virtual HRESULT GetRecordingResult(RecordingResult* result) = 0;

protected:
    ~IRecordingResult() = default;
};

inline constexpr IID IID_IRecordingResult = make_guid("C61F9B2A-0E57-4D83-9B4C-81D7A2E05F36");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IRecordingResult> =
    Norvane::MediaKit::Filters::IID_IRecordingResult;
