// The scripting base of the control interfaces, reduced to its four slots.
//
// Hosts of this platform call the control interfaces directly; late binding by name is not offered. The slots stay,
// so that the operations of a derived interface stand where they are published. An object derives from
// CDispatch<ITheInterface>, which answers E_NOTIMPL to all four.
#pragma once

#include "Platform/Com/Unknown.h"

/// Any thread; nothing is stored, no lock is taken, every operation answers E_NOTIMPL.
struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* pctinfo) = 0;
    virtual HRESULT GetTypeInfo(UINT iTInfo, DWORD lcid, void** ppTInfo) = 0;
    virtual HRESULT GetIDsOfNames(REFIID riid, wchar_t** rgszNames, UINT cNames, DWORD lcid, LONG* rgDispId) = 0;
    virtual HRESULT Invoke(LONG dispIdMember, REFIID riid, DWORD lcid, WORD wFlags, void* pDispParams, void* pVarResult,
                           void* pExcepInfo, UINT* puArgErr) = 0;

protected:
    ~IDispatch() = default;
};

inline constexpr IID IID_IDispatch = make_guid("00020400-0000-0000-C000-000000000046");
template <>
inline constexpr IID uuid_of<IDispatch> = IID_IDispatch;

/// The four reserved operations for an object that offers `Interface`.
template <class Interface>
class CDispatch : public Interface {
public:
    HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, DWORD, void**) override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, wchar_t**, UINT, DWORD, LONG*) override { return E_NOTIMPL; }
    HRESULT Invoke(LONG, REFIID, DWORD, WORD, void*, void*, void*, UINT*) override { return E_NOTIMPL; }

protected:
    ~CDispatch() = default;
};
