#include "Platform/Com/Unknown.h"

HRESULT CUnknown::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    if (riid == IID_IUnknown) return GetInterface<IUnknown>(&m_inner, ppv);
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG CUnknown::NonDelegatingAddRef() { return static_cast<ULONG>(m_cRef.fetch_add(1, std::memory_order_relaxed) + 1); }

ULONG CUnknown::NonDelegatingRelease() {
    const LONG left = m_cRef.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        // A destructor that hands itself out for a moment must not come here again.
        m_cRef.store(1, std::memory_order_relaxed);
        delete this;
    }
    return static_cast<ULONG>(left);
}
