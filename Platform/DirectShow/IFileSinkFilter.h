// The file that a sink writes.
#pragma once

#include "Platform/Com/Unknown.h"

struct AM_MEDIA_TYPE;

/// SetMode: what is in the file goes when it is opened.
inline constexpr DWORD AM_FILE_OVERWRITE = 1;

/// Called on the host's thread; the filter takes its lock. Names and types are copied.
struct IFileSinkFilter : IUnknown {
    /// The type may be null.
    virtual HRESULT SetFileName(const wchar_t* pszFileName, const AM_MEDIA_TYPE* pmt) = 0;
    /// Stores the name, which the caller frees (CoTaskMemFree), and the type (FreeMediaType).
    virtual HRESULT GetCurFile(wchar_t** ppszFileName, AM_MEDIA_TYPE* pmt) = 0;

protected:
    ~IFileSinkFilter() = default;
};

inline constexpr IID IID_IFileSinkFilter = make_guid("A2104830-7C70-11CF-8BCE-00AA00A3F1A6");
template <>
inline constexpr IID uuid_of<IFileSinkFilter> = IID_IFileSinkFilter;
