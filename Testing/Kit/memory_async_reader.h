// A pull source over memory that can be told to fail.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IAsyncReader.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace mediakit_test {

/// Answers a read that meets the end with success and the bytes that are there, as a file source does. The bytes may
/// grow. Safe from any thread.
class memory_async_reader final : public CUnknown, public IAsyncReader {
public:
    explicit memory_async_reader(std::vector<BYTE> bytes) : m_bytes(std::move(bytes)) {}

    void append(const std::vector<BYTE>& more) {
        const std::lock_guard lock(m_mutex);
        m_bytes.insert(m_bytes.end(), more.begin(), more.end());
    }
    /// From now on the n-th read (1: the next) fails with the result, once.
    void fail_read(int n, HRESULT result) {
        const std::lock_guard lock(m_mutex);
        m_until_failure = n;
        m_failure = result;
    }
    /// What Length answers from now on.
    void set_length_result(HRESULT result) {
        const std::lock_guard lock(m_mutex);
        m_length_result = result;
    }
    /// How much lies behind what can be read now: counted by the total alone.
    void set_pending(LONGLONG bytes) {
        const std::lock_guard lock(m_mutex);
        m_pending = bytes;
    }
    int reads() const {
        const std::lock_guard lock(m_mutex);
        return m_reads;
    }
    int length_queries() const {
        const std::lock_guard lock(m_mutex);
        return m_length_queries;
    }

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IAsyncReader) return GetInterface(static_cast<IAsyncReader*>(this), ppv);
        return CUnknown::NonDelegatingQueryInterface(riid, ppv);
    }

    HRESULT RequestAllocator(IMemAllocator*, ALLOCATOR_PROPERTIES*, IMemAllocator** ppActual) override {
        if (ppActual != nullptr) *ppActual = nullptr;
        return S_OK;
    }
    HRESULT Request(IMediaSample*, DWORD_PTR) override { return E_NOTIMPL; }
    HRESULT WaitForNext(DWORD, IMediaSample**, DWORD_PTR*) override { return E_NOTIMPL; }
    HRESULT SyncReadAligned(IMediaSample*) override { return E_NOTIMPL; }
    HRESULT SyncRead(LONGLONG llPosition, LONG lLength, BYTE* pBuffer) override {
        const std::lock_guard lock(m_mutex);
        ++m_reads;
        if (m_until_failure > 0 && --m_until_failure == 0) return m_failure;
        if (llPosition < 0 || lLength < 0) return E_INVALIDARG;
        const auto position = static_cast<std::size_t>(llPosition);
        if (position >= m_bytes.size()) return S_OK;
        const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(lLength), m_bytes.size() - position);
        if (count != 0) std::memcpy(pBuffer, m_bytes.data() + position, count);
        return S_OK;
    }
    HRESULT Length(LONGLONG* pTotal, LONGLONG* pAvailable) override {
        const std::lock_guard lock(m_mutex);
        ++m_length_queries;
        if (FAILED(m_length_result)) return m_length_result;
        const auto size = static_cast<LONGLONG>(m_bytes.size());
        if (pTotal != nullptr) *pTotal = size + m_pending;
        if (pAvailable != nullptr) *pAvailable = size;
        return S_OK;
    }
    HRESULT BeginFlush() override { return S_OK; }
    HRESULT EndFlush() override { return S_OK; }

private:
    mutable std::mutex m_mutex;
    std::vector<BYTE> m_bytes;
    LONGLONG m_pending = 0;
    int m_reads = 0;
    int m_length_queries = 0;
    int m_until_failure = 0;  ///< 0: none
    HRESULT m_failure = S_OK;
    HRESULT m_length_result = S_OK;
};

}  // namespace mediakit_test
