// Where filters tell events.
#pragma once

#include "Platform/Com/Unknown.h"

/// Codes of events, with the parameters that go with them.
inline constexpr LONG EC_COMPLETE = 0x01;              ///< A renderer saw the end of its stream: result, filter.
inline constexpr LONG EC_USERABORT = 0x02;             ///< The user ended playback: 0, 0.
inline constexpr LONG EC_ERRORABORT = 0x03;            ///< A failure stopped the graph: result, 0.
inline constexpr LONG EC_STREAM_ERROR_STOPPED = 0x06;  ///< A stream stopped on a failure: result, 0.
inline constexpr LONG EC_LENGTH_CHANGED = 0x1E;        ///< The duration changed: 0, 0.
inline constexpr LONG EC_GRAPH_CHANGED = 0x50;         ///< Filters or connections changed: 0, 0.
inline constexpr LONG EC_USER = 0x8000;                ///< First code of a host's own.

/// Any thread, streaming threads included; queues and returns at once.
struct IMediaEventSink : IUnknown {
    /// A parameter that carries a result is sign-extended to pointer size.
    virtual HRESULT Notify(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2) = 0;

protected:
    ~IMediaEventSink() = default;
};

inline constexpr IID IID_IMediaEventSink = make_guid("56A868A2-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMediaEventSink> = IID_IMediaEventSink;
