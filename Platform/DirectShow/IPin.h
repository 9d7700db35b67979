// The point where two filters meet.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/IBaseFilter.h"

struct AM_MEDIA_TYPE;
struct IEnumMediaTypes;

enum PIN_DIRECTION : INT {
    PINDIR_INPUT = 0,
    PINDIR_OUTPUT = 1,
};

struct PIN_INFO {
    IBaseFilter* pFilter;  ///< With a reference for the caller.
    PIN_DIRECTION dir;
    wchar_t achName[MAX_PIN_NAME];
};

/// Operations on the connection are called on the host's thread under the filter's lock; EndOfStream, BeginFlush,
/// EndFlush and NewSegment come from upstream and go downstream, EndOfStream and NewSegment on the streaming thread
/// in order with the samples, the flushes on any thread.
struct IPin : IUnknown {
    /// On an output pin: connects to an input pin, with the given (possibly partial) media type or, when null, the
    /// first that both accept. S_OK, VFW_E_ALREADY_CONNECTED, VFW_E_NOT_STOPPED, VFW_E_NO_ACCEPTABLE_TYPES, or what
    /// the pins found. The connection holds references in both directions.
    virtual HRESULT Connect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) = 0;
    /// On an input pin: the other half of Connect, with a whole media type.
    virtual HRESULT ReceiveConnection(IPin* pConnector, const AM_MEDIA_TYPE* pmt) = 0;
    /// Ends this side of the connection. S_OK, S_FALSE when there was none, VFW_E_NOT_STOPPED.
    virtual HRESULT Disconnect() = 0;
    /// Stores the peer with a reference, or null: VFW_E_NOT_CONNECTED.
    virtual HRESULT ConnectedTo(IPin** pPin) = 0;
    /// Copies the connection's type, which the caller frees (FreeMediaType); VFW_E_NOT_CONNECTED stores an empty one.
    virtual HRESULT ConnectionMediaType(AM_MEDIA_TYPE* pmt) = 0;
    virtual HRESULT QueryPinInfo(PIN_INFO* pInfo) = 0;
    virtual HRESULT QueryDirection(PIN_DIRECTION* pPinDir) = 0;
    /// Stores the pin's identifier within its filter; the caller frees it (CoTaskMemFree).
    virtual HRESULT QueryId(wchar_t** Id) = 0;
    /// S_OK when the type would be accepted, else S_FALSE.
    virtual HRESULT QueryAccept(const AM_MEDIA_TYPE* pmt) = 0;
    /// Stores an enumerator over the types that the pin proposes, with a reference.
    virtual HRESULT EnumMediaTypes(IEnumMediaTypes** ppEnum) = 0;
    /// E_NOTIMPL: all input pins feed all output pins.
    virtual HRESULT QueryInternalConnections(IPin** apPin, ULONG* nPin) = 0;
    /// No more samples come until a flush or a stop. E_UNEXPECTED on an output pin.
    virtual HRESULT EndOfStream() = 0;
    /// Throw away what is queued and refuse samples until EndFlush. E_UNEXPECTED on an output pin.
    virtual HRESULT BeginFlush() = 0;
    virtual HRESULT EndFlush() = 0;
    /// The samples that follow belong to this part of the stream, played at this rate. Times in 100 ns.
    virtual HRESULT NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) = 0;

protected:
    ~IPin() = default;
};

inline constexpr IID IID_IPin = make_guid("56A86891-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IPin> = IID_IPin;
