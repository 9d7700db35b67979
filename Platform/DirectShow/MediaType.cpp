#include "Platform/DirectShow/MediaType.h"

#include "Platform/Kernel/Memory.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

/// The identifiers and numbers, with neither format block nor pUnk.
void CopyValues(AM_MEDIA_TYPE& to, const AM_MEDIA_TYPE& from) {
    to = from;
    to.pUnk = nullptr;
    to.cbFormat = 0;
    to.pbFormat = nullptr;
}

BYTE* AllocateFormat(ULONG length) { return static_cast<BYTE*>(CoTaskMemAlloc(length)); }

}  // namespace

AM_MEDIA_TYPE* CreateMediaType(const AM_MEDIA_TYPE* pSrc) {
    auto* const copy = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (copy == nullptr) return nullptr;
    if (FAILED(CopyMediaType(copy, pSrc))) {
        CoTaskMemFree(copy);
        return nullptr;
    }
    return copy;
}

void DeleteMediaType(AM_MEDIA_TYPE* pmt) {
    if (pmt == nullptr) return;
    FreeMediaType(*pmt);
    CoTaskMemFree(pmt);
}

void FreeMediaType(AM_MEDIA_TYPE& mt) {
    CoTaskMemFree(mt.pbFormat);
    mt.cbFormat = 0;
    mt.pbFormat = nullptr;
    if (mt.pUnk != nullptr) std::exchange(mt.pUnk, nullptr)->Release();
}

HRESULT CopyMediaType(AM_MEDIA_TYPE* pmtTarget, const AM_MEDIA_TYPE* pmtSource) {
    CopyValues(*pmtTarget, *pmtSource);
    if (pmtSource->cbFormat != 0 && pmtSource->pbFormat != nullptr) {
        pmtTarget->pbFormat = AllocateFormat(pmtSource->cbFormat);
        if (pmtTarget->pbFormat == nullptr) return E_OUTOFMEMORY;
        std::memcpy(pmtTarget->pbFormat, pmtSource->pbFormat, pmtSource->cbFormat);
        pmtTarget->cbFormat = pmtSource->cbFormat;
    }
    pmtTarget->pUnk = pmtSource->pUnk;
    if (pmtTarget->pUnk != nullptr) pmtTarget->pUnk->AddRef();
    return S_OK;
}

CMediaType::CMediaType() { InitMediaType(); }

CMediaType::CMediaType(const GUID* majorType) {
    InitMediaType();
    majortype = *majorType;
}

CMediaType::CMediaType(const AM_MEDIA_TYPE& other, HRESULT* phr) {
    const HRESULT hr = CopyMediaType(this, &other);
    if (phr != nullptr && FAILED(hr)) *phr = hr;
}

CMediaType::CMediaType(const CMediaType& other, HRESULT* phr)
    : CMediaType(static_cast<const AM_MEDIA_TYPE&>(other), phr) {}

CMediaType::CMediaType(CMediaType&& other) noexcept : AM_MEDIA_TYPE(other) { other.InitMediaType(); }

CMediaType::~CMediaType() { FreeMediaType(*this); }

CMediaType& CMediaType::operator=(const CMediaType& other) {
    Set(other);
    return *this;
}

CMediaType& CMediaType::operator=(CMediaType&& other) noexcept {
    if (this != &other) {
        FreeMediaType(*this);
        static_cast<AM_MEDIA_TYPE&>(*this) = other;
        other.InitMediaType();
    }
    return *this;
}

CMediaType& CMediaType::operator=(const AM_MEDIA_TYPE& other) {
    Set(other);
    return *this;
}

bool CMediaType::operator==(const CMediaType& other) const {
    return majortype == other.majortype && subtype == other.subtype && formattype == other.formattype &&
           bFixedSizeSamples == other.bFixedSizeSamples && bTemporalCompression == other.bTemporalCompression &&
           lSampleSize == other.lSampleSize && cbFormat == other.cbFormat &&
           (cbFormat == 0 || std::memcmp(pbFormat, other.pbFormat, cbFormat) == 0);
}

HRESULT CMediaType::Set(const CMediaType& other) { return Set(static_cast<const AM_MEDIA_TYPE&>(other)); }

HRESULT CMediaType::Set(const AM_MEDIA_TYPE& other) {
    if (&other == this) return S_OK;
    FreeMediaType(*this);
    return CopyMediaType(this, &other);
}

bool CMediaType::IsValid() const { return majortype != GUID_NULL; }

void CMediaType::SetType(const GUID* type) { majortype = *type; }

void CMediaType::SetSubtype(const GUID* type) { subtype = *type; }

ULONG CMediaType::GetSampleSize() const { return IsFixedSize() ? lSampleSize : 0; }

void CMediaType::SetSampleSize(ULONG size) {
    if (size == 0) {
        SetVariableSize();
        return;
    }
    bFixedSizeSamples = TRUE;
    lSampleSize = size;
}

void CMediaType::SetVariableSize() { bFixedSizeSamples = FALSE; }

void CMediaType::SetTemporalCompression(bool compressed) { bTemporalCompression = compressed ? TRUE : FALSE; }

void CMediaType::SetFormatType(const GUID* type) { formattype = *type; }

bool CMediaType::SetFormat(const BYTE* format, ULONG length) {
    BYTE* const block = AllocateFormat(length);
    if (block == nullptr) return false;
    if (length != 0) std::memcpy(block, format, length);
    CoTaskMemFree(pbFormat);
    cbFormat = length;
    pbFormat = block;
    return true;
}

void CMediaType::ResetFormatBuffer() {
    CoTaskMemFree(pbFormat);
    cbFormat = 0;
    pbFormat = nullptr;
}

BYTE* CMediaType::AllocFormatBuffer(ULONG length) {
    if (cbFormat == length && pbFormat != nullptr) return pbFormat;
    BYTE* const block = AllocateFormat(length);
    if (block == nullptr) return nullptr;
    CoTaskMemFree(pbFormat);
    cbFormat = length;
    pbFormat = block;
    return block;
}

BYTE* CMediaType::ReallocFormatBuffer(ULONG length) {
    if (cbFormat == length && pbFormat != nullptr) return pbFormat;
    BYTE* const block = AllocateFormat(length);
    if (block == nullptr) return nullptr;
    if (cbFormat != 0) std::memcpy(block, pbFormat, std::min(length, cbFormat));
    CoTaskMemFree(pbFormat);
    cbFormat = length;
    pbFormat = block;
    return block;
}

void CMediaType::InitMediaType() {
    static_cast<AM_MEDIA_TYPE&>(*this) = {};
    bFixedSizeSamples = TRUE;
    lSampleSize = 1;
}

bool CMediaType::MatchesPartial(const CMediaType* partial) const {
    if (partial->majortype != GUID_NULL && majortype != partial->majortype) return false;
    if (partial->subtype != GUID_NULL && subtype != partial->subtype) return false;
    if (partial->formattype == GUID_NULL) return true;
    return formattype == partial->formattype && cbFormat == partial->cbFormat &&
           (cbFormat == 0 || std::memcmp(pbFormat, partial->pbFormat, cbFormat) == 0);
}

bool CMediaType::IsPartiallySpecified() const { return majortype == GUID_NULL || formattype == GUID_NULL; }
