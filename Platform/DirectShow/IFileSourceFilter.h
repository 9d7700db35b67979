// The file that a source reads.
#pragma once

#include "Platform/Com/Unknown.h"

struct AM_MEDIA_TYPE;

/// Called on the host's thread; the filter takes its lock. Names and types are copied.
struct IFileSourceFilter : IUnknown {
    /// The type may be null.
    virtual HRESULT Load(const wchar_t* pszFileName, const AM_MEDIA_TYPE* pmt) = 0;
    /// Stores the name, which the caller frees (CoTaskMemFree), and the type (FreeMediaType).
    virtual HRESULT GetCurFile(wchar_t** ppszFileName, AM_MEDIA_TYPE* pmt) = 0;

protected:
    ~IFileSourceFilter() = default;
};

inline constexpr IID IID_IFileSourceFilter = make_guid("56A868A6-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IFileSourceFilter> = IID_IFileSourceFilter;
