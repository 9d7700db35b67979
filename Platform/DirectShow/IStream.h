// Byte streams with a position.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/Kernel/LargeInteger.h"

/// Modes of opening (the STGM_ values combine: one access, one sharing, STGM_CREATE).
inline constexpr DWORD STGM_READ = 0x0;
inline constexpr DWORD STGM_WRITE = 0x1;
inline constexpr DWORD STGM_READWRITE = 0x2;
inline constexpr DWORD STGM_SHARE_EXCLUSIVE = 0x10;
inline constexpr DWORD STGM_SHARE_DENY_WRITE = 0x20;
inline constexpr DWORD STGM_SHARE_DENY_READ = 0x30;
inline constexpr DWORD STGM_SHARE_DENY_NONE = 0x40;
inline constexpr DWORD STGM_CREATE = 0x1000;

/// Origins of Seek.
inline constexpr DWORD STREAM_SEEK_SET = 0;
inline constexpr DWORD STREAM_SEEK_CUR = 1;
inline constexpr DWORD STREAM_SEEK_END = 2;

/// Flags of Stat: STATFLAG_NONAME leaves pwcsName null and saves the allocation.
inline constexpr DWORD STATFLAG_DEFAULT = 0;
inline constexpr DWORD STATFLAG_NONAME = 1;

/// Flag of Commit.
inline constexpr DWORD STGC_DEFAULT = 0;

/// Kind of object that STATSTG::type names: a stream.
inline constexpr DWORD STGTY_STREAM = 2;

/// What Stat tells of a stream.
struct STATSTG {
    wchar_t* pwcsName;        ///< The caller's, to be given to CoTaskMemFree; null with STATFLAG_NONAME.
    DWORD type;               ///< STGTY_STREAM.
    ULARGE_INTEGER cbSize;    ///< Bytes.
    FILETIME mtime;           ///< Last write.
    FILETIME ctime;           ///< Creation.
    FILETIME atime;           ///< Last access.
    DWORD grfMode;            ///< The mode it was opened with.
    DWORD grfLocksSupported;  ///< 0: regions cannot be locked.
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
};

/// A stream has no lock of its own: one thread at a time, unless an implementation says more.
/// Buffers stay the caller's.
struct ISequentialStream : IUnknown {
    /// Reads at the position and moves it. *pcbRead (may be null) is the count: fewer than asked at the end of the
    /// stream, which is a success.
    virtual HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
    /// Writes at the position and moves it. *pcbWritten may be null.
    virtual HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;

protected:
    ~ISequentialStream() = default;
};

inline constexpr IID IID_ISequentialStream = make_guid("0C733A30-2A1C-11CE-ADE5-00AA0044773D");
template <>
inline constexpr IID uuid_of<ISequentialStream> = IID_ISequentialStream;

struct IStream : ISequentialStream {
    /// Moves the position, from the start, the position or the end. A position before the start fails with
    /// STG_E_INVALIDFUNCTION and moves nothing; one behind the end is allowed. plibNewPosition may be null.
    virtual HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) = 0;
    /// Cuts or extends (with zeros); the position stays.
    virtual HRESULT SetSize(ULARGE_INTEGER libNewSize) = 0;
    /// Copies cb bytes, or those up to the end, to pstm; both positions move. Counts may be null.
    virtual HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) = 0;
    /// Hands on what is gathered. Tells the first failure of a hand-on since the last Commit.
    virtual HRESULT Commit(DWORD grfCommitFlags) = 0;
    /// Streams here are direct: nothing can be taken back, S_OK.
    virtual HRESULT Revert() = 0;
    /// Regions cannot be locked: STG_E_INVALIDFUNCTION.
    virtual HRESULT LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    /// Fills *pstatstg; the size is asked anew each time, so that a growing file shows its present size.
    virtual HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
    /// A second stream over the same bytes with a position of its own, which starts where this one stands.
    virtual HRESULT Clone(IStream** ppstm) = 0;

protected:
    ~IStream() = default;
};

inline constexpr IID IID_IStream = make_guid("0000000C-0000-0000-C000-000000000046");
template <>
inline constexpr IID uuid_of<IStream> = IID_IStream;
