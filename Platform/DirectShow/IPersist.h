// The class of an object.
#pragma once

#include "Platform/Com/Unknown.h"

struct IPersist : IUnknown {
    /// Stores the class identifier. Any thread, no lock. S_OK, or E_POINTER.
    virtual HRESULT GetClassID(CLSID* pClassID) = 0;

protected:
    ~IPersist() = default;
};

inline constexpr IID IID_IPersist = make_guid("0000010C-0000-0000-C000-000000000046");
template <>
inline constexpr IID uuid_of<IPersist> = IID_IPersist;
