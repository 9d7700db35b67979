// Settings of a multiplexer.
#pragma once

#include "Platform/Com/Unknown.h"

namespace qz_MPEGSystemFilters {

/// Offered by both multiplexer filters. The setters take effect at the next start of a file. They
/// are refused with E_UNEXPECTED (and a line in the log) once the first input pin is connected:
/// settings come before connections. Any thread; each takes the filter lock, so that a setter waits for a
/// sample that is being received.
/// Texts are copied and stored as UTF-8.
struct IMPEG4Mux : IUnknown {
    /// Reserved: 0.
    virtual HRESULT Reserved1() = 0;
    /// Non-zero: when the recording ends, `moov` is moved in front of `mdat`.
    virtual HRESULT SetMoveMoovToFront(BOOL moveToFront) = 0;
    /// Text of the metadata item `©swr`; a further text joins the first with "/".
    virtual HRESULT SetSoftware(const wchar_t* text) = 0;
    /// A second text for the same item `©swr`.
    virtual HRESULT SetSecondSoftware(const wchar_t* text) = 0;
    /// Text of the metadata item `©des`.
    virtual HRESULT SetDescription(const wchar_t* text) = 0;
    /// Reserved: E_NOTIMPL.
    virtual HRESULT Reserved6() = 0;
    /// Stores the smallest among the last recorded start times of the tracks that have samples, 0 only while no
    /// track has any. Any thread, also while recording; the filter lock is not taken.
    virtual HRESULT GetCurrentPosition(REFERENCE_TIME* position) = 0;
    /// Stores a flag that nothing reads: 0.
    virtual HRESULT SetFlag(BOOL flag) = 0;

protected:
    ~IMPEG4Mux() = default;
};

inline constexpr IID IID_IMPEG4Mux = make_guid("1BB4E60D-B07E-4D19-81AB-E6F192DACC88");

}  // namespace qz_MPEGSystemFilters

template <>
inline constexpr IID uuid_of<qz_MPEGSystemFilters::IMPEG4Mux> = qz_MPEGSystemFilters::IID_IMPEG4Mux;
