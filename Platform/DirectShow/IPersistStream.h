// An object that keeps its settings in a stream.
#pragma once

#include "Platform/DirectShow/IPersist.h"
#include "Platform/Kernel/LargeInteger.h"

struct IStream;

/// Called by a host on its own thread; the object takes its own lock. The stream stays the caller's.
struct IPersistStream : IPersist {
    /// S_OK when settings changed since they were last saved, else S_FALSE.
    virtual HRESULT IsDirty() = 0;
    /// Reads the settings from the stream's position.
    virtual HRESULT Load(IStream* pStm) = 0;
    /// Writes the settings at the stream's position; with fClearDirty they count as saved.
    virtual HRESULT Save(IStream* pStm, BOOL fClearDirty) = 0;
    /// Stores the most bytes that Save would write.
    virtual HRESULT GetSizeMax(ULARGE_INTEGER* pcbSize) = 0;

protected:
    ~IPersistStream() = default;
};

inline constexpr IID IID_IPersistStream = make_guid("00000109-0000-0000-C000-000000000046");
template <>
inline constexpr IID uuid_of<IPersistStream> = IID_IPersistStream;
