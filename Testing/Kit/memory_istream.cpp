#include "Testing/Kit/memory_istream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace mediakit_test {

std::vector<BYTE> memory_file::bytes() const {
    const std::lock_guard lock(m_mutex);
    return m_bytes;
}

void memory_file::set_bytes(std::vector<BYTE> bytes) {
    const std::lock_guard lock(m_mutex);
    m_bytes = std::move(bytes);
}

int memory_file::calls(stream_call call) const {
    const std::lock_guard lock(m_mutex);
    return m_plans[static_cast<std::size_t>(call)].made;
}

void memory_file::fail(stream_call call, int n, HRESULT result) {
    const std::lock_guard lock(m_mutex);
    plan& p = m_plans[static_cast<std::size_t>(call)];
    p.until_failure = n;
    p.result = result;
}

void memory_file::limit_writes(ULONG bytes) {
    const std::lock_guard lock(m_mutex);
    m_write_limit = bytes;
}

HRESULT memory_file::enter(stream_call call) {
    plan& p = m_plans[static_cast<std::size_t>(call)];
    ++p.made;
    return p.until_failure > 0 && --p.until_failure == 0 ? p.result : S_OK;
}

ComPtr<IStream> memory_istream::create(std::shared_ptr<memory_file> file) {
    return ComPtr<IStream>(new memory_istream(std::move(file), 0));
}

HRESULT memory_istream::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IStream || riid == IID_ISequentialStream) return GetInterface(static_cast<IStream*>(this), ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT memory_istream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
    const std::lock_guard lock(m_file->m_mutex);
    if (pcbRead != nullptr) *pcbRead = 0;
    if (const HRESULT hr = m_file->enter(stream_call::read); FAILED(hr)) return hr;
    const auto& bytes = m_file->m_bytes;
    const std::uint64_t room = m_position < bytes.size() ? bytes.size() - m_position : 0;
    const auto count = static_cast<ULONG>(std::min<std::uint64_t>(cb, room));
    if (count != 0) std::memcpy(pv, bytes.data() + m_position, count);
    m_position += count;
    if (pcbRead != nullptr) *pcbRead = count;
    return S_OK;
}

HRESULT memory_istream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
    const std::lock_guard lock(m_file->m_mutex);
    if (pcbWritten != nullptr) *pcbWritten = 0;
    if (const HRESULT hr = m_file->enter(stream_call::write); FAILED(hr)) return hr;
    auto& bytes = m_file->m_bytes;
    const ULONG count = std::min(cb, m_file->m_write_limit);
    if (count != 0) {
        if (bytes.size() < m_position + count) bytes.resize(m_position + count);
        std::memcpy(bytes.data() + m_position, pv, count);
    }
    m_position += count;
    if (pcbWritten != nullptr) *pcbWritten = count;
    return S_OK;
}

HRESULT memory_istream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) {
    const std::lock_guard lock(m_file->m_mutex);
    if (const HRESULT hr = m_file->enter(stream_call::seek); FAILED(hr)) return hr;
    const std::uint64_t base = dwOrigin == STREAM_SEEK_CUR   ? m_position
                               : dwOrigin == STREAM_SEEK_END ? m_file->m_bytes.size()
                                                             : 0;
    const auto target = static_cast<std::int64_t>(base) + dlibMove.QuadPart;
    if (target < 0) return STG_E_INVALIDFUNCTION;
    m_position = static_cast<std::uint64_t>(target);
    if (plibNewPosition != nullptr) plibNewPosition->QuadPart = m_position;
    return S_OK;
}

HRESULT memory_istream::SetSize(ULARGE_INTEGER libNewSize) {
    const std::lock_guard lock(m_file->m_mutex);
    if (const HRESULT hr = m_file->enter(stream_call::set_size); FAILED(hr)) return hr;
    m_file->m_bytes.resize(libNewSize.QuadPart);
    return S_OK;
}

HRESULT memory_istream::Commit(DWORD) {
    const std::lock_guard lock(m_file->m_mutex);
    return m_file->enter(stream_call::commit);
}

HRESULT memory_istream::Stat(STATSTG* pstatstg, DWORD) {
    const std::lock_guard lock(m_file->m_mutex);
    if (const HRESULT hr = m_file->enter(stream_call::stat); FAILED(hr)) return hr;
    *pstatstg = STATSTG{};
    pstatstg->type = STGTY_STREAM;
    pstatstg->cbSize.QuadPart = m_file->m_bytes.size();
    return S_OK;
}

HRESULT memory_istream::Clone(IStream** ppstm) {
    const std::lock_guard lock(m_file->m_mutex);
    *ppstm = nullptr;
    if (const HRESULT hr = m_file->enter(stream_call::clone); FAILED(hr)) return hr;
    *ppstm = ComPtr<IStream>(new memory_istream(m_file, m_position)).detach();
    return S_OK;
}

}  // namespace mediakit_test
