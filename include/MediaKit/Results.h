// The library's own result codes and graph events.
#pragma once

#include "Platform/Com/Results.h"

/// A provider skipped a sample for this consumer.
inline constexpr HRESULT QZ_S_SAMPLE_SKIPPED = 0x0004040B;
/// A parser needs more data than are there; not a failure of the stream.
inline constexpr HRESULT QZ_E_MORE_DATA = make_result(0x80040700);
/// A syntax element has a value that the stream's standard does not allow.
inline constexpr HRESULT QZ_E_BAD_DATA = make_result(0x80040702);
/// A non-video track without a sample description: this track is left out, the others go on.
inline constexpr HRESULT QZ_E_TRACK_NOT_USABLE = make_result(0x80040702);
/// The file cannot be played at all.
inline constexpr HRESULT QZ_E_UNSUPPORTED_FORMAT = make_result(0x80043002);

/// Graph event: a recording has one second on every track. Parameters 0, 0.
inline constexpr LONG QZ_EC_ENOUGH_RECORDED = 0x8216;
/// Graph event: a recording begins to lose data, or its file cannot be completed; see IRecordingResult. Sent once a
/// run. Parameters: the first failure's result, and 0.
inline constexpr LONG QZ_EC_RECORDING_FAILED = 0x8218;
/// Graph event: a live source waits for its provider. Parameters 0, 0.
inline constexpr LONG QZ_EC_LIVE_STARVING = 0x8217;
