#include "Platform/DirectShow/FileStream.h"

#include "Platform/DirectShow/TaskString.h"
#include "Platform/Kernel/File.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace {

constexpr std::uint64_t kMaxPosition = std::numeric_limits<std::int64_t>::max();
constexpr ULONG kCopyBlock = 64 * 1024;

FileOpenMode OpenModeOf(DWORD grfMode) {
    FileOpenMode mode;
    switch (grfMode & 0x3) {
        case STGM_WRITE: mode.access = FileAccess::Write; break;
        case STGM_READWRITE: mode.access = FileAccess::ReadWrite; break;
        default: mode.access = FileAccess::Read;
    }
    switch (grfMode & 0x70) {
        case STGM_SHARE_EXCLUSIVE: mode.deny = FileDeny::ReadAndWrite; break;
        case STGM_SHARE_DENY_WRITE: mode.deny = FileDeny::Write; break;
        case STGM_SHARE_DENY_READ: mode.deny = FileDeny::Read; break;
        default: mode.deny = FileDeny::None;
    }
    mode.creation = (grfMode & STGM_CREATE) != 0 ? FileCreation::CreateAlways : FileCreation::OpenExisting;
    return mode;
}

HRESULT Result(DWORD error) { return HRESULT_FROM_WIN32(error); }

class FileStream final : public CUnknown, public IStream {
public:
    /// Stores a stream with a reference for the caller, or null with E_OUTOFMEMORY.
    static HRESULT Create(std::shared_ptr<File> file, const wchar_t* name, DWORD grfMode, std::uint64_t position,
                          IStream** ppstm) {
        *ppstm = nullptr;
        try {
            *ppstm = new FileStream(std::move(file), name, grfMode, position);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        (*ppstm)->AddRef();
        return S_OK;
    }

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IStream) return GetInterface<IStream>(this, ppv);
        if (riid == IID_ISequentialStream) return GetInterface<ISequentialStream>(this, ppv);
        return CUnknown::NonDelegatingQueryInterface(riid, ppv);
    }

    HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override {
        if (pcbRead != nullptr) *pcbRead = 0;
        if (pv == nullptr && cb != 0) return E_POINTER;
        std::size_t read = 0;
        const HRESULT hr = Result(m_file->Read(m_position, pv, cb, &read));
        m_position += read;
        if (pcbRead != nullptr) *pcbRead = static_cast<ULONG>(read);
        return hr;
    }

    HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
        if (pcbWritten != nullptr) *pcbWritten = 0;
        if (pv == nullptr && cb != 0) return E_POINTER;
        if (cb > kMaxPosition - m_position) return Result(ERROR_DISK_FULL);
        std::size_t written = 0;
        const HRESULT hr = Result(m_file->Write(m_position, pv, cb, &written));
        m_position += written;
        if (pcbWritten != nullptr) *pcbWritten = static_cast<ULONG>(written);
        return hr;
    }

    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override {
        std::uint64_t origin = 0;
        if (dwOrigin == STREAM_SEEK_CUR) {
            origin = m_position;
        } else if (dwOrigin == STREAM_SEEK_END) {
            if (const HRESULT hr = Result(m_file->GetSize(&origin)); FAILED(hr)) return hr;
        } else if (dwOrigin != STREAM_SEEK_SET) {
            return STG_E_INVALIDFUNCTION;
        }
        // Unsigned, so that it wraps instead of overflowing: out of range either way is beyond the greatest position.
        const std::uint64_t target = origin + static_cast<std::uint64_t>(dlibMove.QuadPart);
        if (target > kMaxPosition) return STG_E_INVALIDFUNCTION;
        m_position = target;
        if (plibNewPosition != nullptr) plibNewPosition->QuadPart = target;
        return S_OK;
    }

    HRESULT SetSize(ULARGE_INTEGER libNewSize) override {
        if (libNewSize.QuadPart > kMaxPosition) return STG_E_INVALIDFUNCTION;
        return Result(m_file->SetSize(libNewSize.QuadPart));
    }

    HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) override {
        if (pstm == nullptr) return E_POINTER;
        std::uint64_t totalRead = 0;
        std::uint64_t totalWritten = 0;
        const HRESULT hr = CopyBytes(pstm, cb.QuadPart, totalRead, totalWritten);
        if (pcbRead != nullptr) pcbRead->QuadPart = totalRead;
        if (pcbWritten != nullptr) pcbWritten->QuadPart = totalWritten;
        return hr;
    }

    HRESULT Commit(DWORD) override { return Result(m_file->Flush()); }
    HRESULT Revert() override { return S_OK; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }

    HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) override {
        if (pstatstg == nullptr) return E_POINTER;
        *pstatstg = {};
        STATSTG stat{};
        stat.type = STGTY_STREAM;
        stat.grfMode = m_grfMode;
        if (const HRESULT hr = Result(m_file->GetSize(&stat.cbSize.QuadPart)); FAILED(hr)) return hr;
        FileTimes times;
        if (const HRESULT hr = Result(m_file->GetTimes(&times)); FAILED(hr)) return hr;
        stat.mtime = times.modified;
        stat.atime = times.accessed;
        // The system keeps no time of creation that all file systems have.
        stat.ctime = times.changed;
        if ((grfStatFlag & STATFLAG_NONAME) == 0) {
            if (const HRESULT hr = AMGetWideString(m_name.c_str(), &stat.pwcsName); FAILED(hr)) return hr;
        }
        *pstatstg = stat;
        return S_OK;
    }

    HRESULT Clone(IStream** ppstm) override {
        if (ppstm == nullptr) return E_POINTER;
        *ppstm = nullptr;
        // Hands on what is gathered. Unlike Flush, it leaves a failure to be told by the next Commit as well.
        std::uint64_t size = 0;
        if (const HRESULT hr = Result(m_file->GetSize(&size)); FAILED(hr)) return hr;
        return Create(m_file, m_name.c_str(), m_grfMode, m_position, ppstm);
    }

private:
    FileStream(std::shared_ptr<File> file, const wchar_t* name, DWORD grfMode, std::uint64_t position)
        : m_file(std::move(file)), m_name(name), m_grfMode(grfMode), m_position(position) {}

    HRESULT CopyBytes(IStream* pstm, std::uint64_t left, std::uint64_t& totalRead, std::uint64_t& totalWritten) {
        const auto blockSize = static_cast<ULONG>(std::min<std::uint64_t>(left, kCopyBlock));
        const std::unique_ptr<BYTE[]> block(new (std::nothrow) BYTE[blockSize]);
        if (!block) return E_OUTOFMEMORY;
        while (left != 0) {
            ULONG read = 0;
            const auto wanted = static_cast<ULONG>(std::min<std::uint64_t>(left, blockSize));
            if (const HRESULT hr = Read(block.get(), wanted, &read); FAILED(hr)) return hr;
            if (read == 0) break;
            totalRead += read;
            left -= read;
            ULONG written = 0;
            const HRESULT hr = pstm->Write(block.get(), read, &written);
            totalWritten += written;
            if (FAILED(hr)) return hr;
            if (written != read) return STG_E_MEDIUMFULL;
        }
        return S_OK;
    }

    const std::shared_ptr<File> m_file;
    const std::wstring m_name;
    const DWORD m_grfMode;
    std::uint64_t m_position;
};

}  // namespace

HRESULT SHCreateStreamOnFileW(const wchar_t* pszFile, DWORD grfMode, IStream** ppstm) {
    if (ppstm == nullptr) return E_POINTER;
    *ppstm = nullptr;
    if (pszFile == nullptr) return E_INVALIDARG;
    std::shared_ptr<File> file;
    if (const HRESULT hr = Result(File::Open(pszFile, OpenModeOf(grfMode), &file)); FAILED(hr)) return hr;
    return FileStream::Create(std::move(file), pszFile, grfMode, 0, ppstm);
}
