// Media types: what a stream carries, with a format block of the kind that formattype names.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/MediaFormats.h"
#include "Platform/DirectShow/Uuids.h"

/// The record as it crosses interfaces. pbFormat comes from CoTaskMemAlloc; pUnk holds a reference, and is null as a
/// rule. Whoever is handed one by value frees it with FreeMediaType, by pointer with DeleteMediaType.
struct AM_MEDIA_TYPE {
    GUID majortype;
    GUID subtype;
    BOOL bFixedSizeSamples;
    BOOL bTemporalCompression;
    ULONG lSampleSize;  ///< Bytes.
    GUID formattype;
    IUnknown* pUnk;
    ULONG cbFormat;  ///< Bytes.
    BYTE* pbFormat;
};

static_assert(sizeof(AM_MEDIA_TYPE) == 88);
static_assert(offsetof(AM_MEDIA_TYPE, subtype) == 16 && offsetof(AM_MEDIA_TYPE, bFixedSizeSamples) == 32);
static_assert(offsetof(AM_MEDIA_TYPE, bTemporalCompression) == 36 && offsetof(AM_MEDIA_TYPE, lSampleSize) == 40);
static_assert(offsetof(AM_MEDIA_TYPE, formattype) == 44 && offsetof(AM_MEDIA_TYPE, pUnk) == 64);
static_assert(offsetof(AM_MEDIA_TYPE, cbFormat) == 72 && offsetof(AM_MEDIA_TYPE, pbFormat) == 80);

/// A copy on the heap, or null when there is no memory. DeleteMediaType frees it.
AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE* pSrc);
/// Frees what the record holds and the record; null is allowed.
void DeleteMediaType(AM_MEDIA_TYPE* pmt);
/// Frees the format block and the pUnk reference; the record stays the caller's.
void FreeMediaType(AM_MEDIA_TYPE& mt);
/// Copies over *pmtTarget, whose old content is not freed. E_OUTOFMEMORY leaves it without a format block.
HRESULT CopyMediaType(AM_MEDIA_TYPE* pmtTarget, const AM_MEDIA_TYPE* pmtSource);

/// A media type as a value: owns its format block and copies it. One thread at a time.
class CMediaType : public AM_MEDIA_TYPE {
public:
    /// Empty: null identifiers, fixed-size samples of 1 byte, no format block.
    CMediaType();
    explicit CMediaType(const GUID* majorType);
    /// Copies; a copy that gets no memory has no format block.
    CMediaType(const AM_MEDIA_TYPE& other, HRESULT* phr = nullptr);
    CMediaType(const CMediaType& other, HRESULT* phr = nullptr);
    CMediaType(CMediaType&& other) noexcept;
    ~CMediaType();
    CMediaType& operator=(const CMediaType& other);
    CMediaType& operator=(CMediaType&& other) noexcept;
    CMediaType& operator=(const AM_MEDIA_TYPE& other);

    /// Identifiers, flags, sizes and the bytes of the format block; not pUnk.
    bool operator==(const CMediaType& other) const;

    /// Frees and copies. S_OK or E_OUTOFMEMORY.
    HRESULT Set(const CMediaType& other);
    HRESULT Set(const AM_MEDIA_TYPE& other);

    /// A major type is set.
    bool IsValid() const;

    const GUID* Type() const { return &majortype; }
    void SetType(const GUID* type);
    const GUID* Subtype() const { return &subtype; }
    void SetSubtype(const GUID* type);

    bool IsFixedSize() const { return bFixedSizeSamples != FALSE; }
    bool IsTemporalCompressed() const { return bTemporalCompression != FALSE; }
    /// 0 for samples of varying size.
    ULONG GetSampleSize() const;
    void SetSampleSize(ULONG size);
    void SetVariableSize();
    void SetTemporalCompression(bool compressed);

    BYTE* Format() const { return pbFormat; }
    ULONG FormatLength() const { return cbFormat; }
    const GUID* FormatType() const { return &formattype; }
    void SetFormatType(const GUID* type);
    /// Copies the block; false without memory, and the old block stays.
    bool SetFormat(const BYTE* format, ULONG length);
    void ResetFormatBuffer();
    /// A block of that many bytes, not kept from the old one and not filled; null without memory.
    BYTE* AllocFormatBuffer(ULONG length);
    /// A block of that many bytes that begins with the old one's; null without memory, and the old block stays.
    BYTE* ReallocFormatBuffer(ULONG length);

    /// Empties, with no freeing of what it held.
    void InitMediaType();

    /// All that this (possibly partial) type tells holds of the other.
    bool MatchesPartial(const CMediaType* partial) const;
    /// The major type or the format type is open.
    bool IsPartiallySpecified() const;
};
