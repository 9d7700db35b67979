// A platform stream over memory that can be told to fail.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IStream.h"

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace mediakit_test {

enum class stream_call { read, write, seek, set_size, commit, stat, clone, count };

/// The bytes behind a stream and all its clones, with counts of calls and the failures to come. Safe from any thread.
class memory_file {
public:
    std::vector<BYTE> bytes() const;
    void set_bytes(std::vector<BYTE> bytes);
    /// How often the call was made on any of the streams, failed ones included.
    int calls(stream_call call) const;

    /// From now on the n-th such call (1: the next) fails with the result, once.
    void fail(stream_call call, int n, HRESULT result);
    /// A write takes at most this many bytes and tells so with success.
    void limit_writes(ULONG bytes);

private:
    friend class memory_istream;

    struct plan {
        int made = 0;
        int until_failure = 0;  ///< 0: none
        HRESULT result = S_OK;
    };

    HRESULT enter(stream_call call);

    mutable std::mutex m_mutex;
    std::vector<BYTE> m_bytes;
    std::array<plan, static_cast<std::size_t>(stream_call::count)> m_plans;
    ULONG m_write_limit = ~ULONG{0};
};

/// Writing behind the end fills the gap with zeros. Clones share the file and have a position of their own.
class memory_istream final : public CUnknown, public IStream {
public:
    static ComPtr<IStream> create(std::shared_ptr<memory_file> file);

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
    HRESULT SetSize(ULARGE_INTEGER libNewSize) override;
    HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD grfCommitFlags) override;
    HRESULT Revert() override { return S_OK; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
    HRESULT Clone(IStream** ppstm) override;

private:
    memory_istream(std::shared_ptr<memory_file> file, std::uint64_t position)
        : m_file(std::move(file)), m_position(position) {}

    const std::shared_ptr<memory_file> m_file;
    std::uint64_t m_position;  ///< guarded by the file's mutex
};

}  // namespace mediakit_test
