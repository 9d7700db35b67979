// A sample as a reader and writer of streaming files sees it, in four steps of growth.
#pragma once

#include "Platform/Com/Unknown.h"

/// Threads and lifetime as IMediaSample. Lengths in bytes; memory stays the buffer's.
struct INSSBuffer : IUnknown {
    virtual HRESULT GetLength(DWORD* pdwLength) = 0;
    virtual HRESULT SetLength(DWORD dwLength) = 0;
    virtual HRESULT GetMaxLength(DWORD* pdwLength) = 0;
    virtual HRESULT GetBuffer(BYTE** ppdwBuffer) = 0;
    virtual HRESULT GetBufferAndLength(BYTE** ppdwBuffer, DWORD* pdwLength) = 0;

protected:
    ~INSSBuffer() = default;
};

inline constexpr IID IID_INSSBuffer = make_guid("E1CD3524-03D7-11D2-9EED-006097D2D7CF");
template <>
inline constexpr IID uuid_of<INSSBuffer> = IID_INSSBuffer;

struct INSSBuffer2 : INSSBuffer {
    virtual HRESULT GetSampleProperties(DWORD cbProperties, BYTE* pbProperties) = 0;
    virtual HRESULT SetSampleProperties(DWORD cbProperties, BYTE* pbProperties) = 0;

protected:
    ~INSSBuffer2() = default;
};

inline constexpr IID IID_INSSBuffer2 = make_guid("4F528693-1035-43FE-B428-757561AD3A68");
template <>
inline constexpr IID uuid_of<INSSBuffer2> = IID_INSSBuffer2;

/// Properties are byte strings under an identifier; values are copied.
struct INSSBuffer3 : INSSBuffer2 {
    virtual HRESULT SetProperty(GUID guidBufferProperty, void* pvBufferProperty, DWORD dwBufferPropertySize) = 0;
    /// *pdwBufferPropertySize: room in, size out.
    virtual HRESULT GetProperty(GUID guidBufferProperty, void* pvBufferProperty, DWORD* pdwBufferPropertySize) = 0;

protected:
    ~INSSBuffer3() = default;
};

inline constexpr IID IID_INSSBuffer3 = make_guid("C87CEAAF-75BE-4BC4-84EB-AC2798507672");
template <>
inline constexpr IID uuid_of<INSSBuffer3> = IID_INSSBuffer3;

struct INSSBuffer4 : INSSBuffer3 {
    virtual HRESULT GetPropertyCount(DWORD* pcBufferProperties) = 0;
    /// *pdwBufferPropertySize: room in, size out.
    virtual HRESULT GetPropertyByIndex(DWORD dwBufferPropertyIndex, GUID* pguidBufferProperty, void* pvBufferProperty,
                                       DWORD* pdwBufferPropertySize) = 0;

protected:
    ~INSSBuffer4() = default;
};

inline constexpr IID IID_INSSBuffer4 = make_guid("B6B8FD5A-32E2-49D4-A910-C26CC85465ED");
template <>
inline constexpr IID uuid_of<INSSBuffer4> = IID_INSSBuffer4;
