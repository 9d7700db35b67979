#include "Testing/Kit/scripted_output.h"

namespace mediakit_test {

HRESULT scripted_output::send(const scripted_sample& sample) {
    ComPtr<IMediaSample> buffer;
    if (const HRESULT hr = GetDeliveryBuffer(buffer.put(), nullptr, nullptr, 0); FAILED(hr)) return hr;
    if (const HRESULT hr = buffer->SetActualDataLength(static_cast<LONG>(sample.bytes.size())); FAILED(hr)) return hr;
    BYTE* data = nullptr;
    if (const HRESULT hr = buffer->GetPointer(&data); FAILED(hr)) return hr;
    std::copy(sample.bytes.begin(), sample.bytes.end(), data);

    REFERENCE_TIME start = sample.start;
    REFERENCE_TIME stop = sample.stop;
    buffer->SetTime(&start, &stop);
    buffer->SetSyncPoint(sample.sync ? TRUE : FALSE);
    buffer->SetDiscontinuity(sample.discontinuity ? TRUE : FALSE);
    if (sample.type) {
        CMediaType type = *sample.type;
        buffer->SetMediaType(&type);
    }
    return Deliver(buffer.get());
}

bool scripted_output::wait_until_done(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [this] { return m_done; });
}

std::size_t scripted_output::delivered() const {
    const std::lock_guard lock(m_mutex);
    return m_delivered;
}

HRESULT scripted_output::last_result() const {
    const std::lock_guard lock(m_mutex);
    return m_last_result;
}

HRESULT scripted_output::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    ALLOCATOR_PROPERTIES wanted = properties;
    wanted.cBuffers = std::max(wanted.cBuffers, request->cBuffers);
    wanted.cbBuffer = std::max(wanted.cbBuffer, request->cbBuffer);
    for (const scripted_sample& sample : script)
        wanted.cbBuffer = std::max(wanted.cbBuffer, static_cast<LONG>(sample.bytes.size()));
    ALLOCATOR_PROPERTIES actual{};
    return allocator->SetProperties(&wanted, &actual);
}

HRESULT scripted_output::DecideAllocator(IMemInputPin* peer, IMemAllocator** allocator) {
    if (!own_allocator) return fake_pin::DecideAllocator(peer, allocator);
    ALLOCATOR_PROPERTIES request{};
    peer->GetAllocatorRequirements(&request);
    ComPtr<IMemAllocator> own;
    if (const HRESULT hr = InitAllocator(own.put()); FAILED(hr)) return hr;
    if (const HRESULT hr = TryAllocator(peer, own.get(), &request); FAILED(hr)) return hr;
    *allocator = own.detach();
    return S_OK;
}

HRESULT scripted_output::Active() {
    if (const HRESULT hr = fake_pin::Active(); FAILED(hr)) return hr;
    if (script.empty()) return S_OK;
    join();
    {
        const std::lock_guard lock(m_mutex);
        m_done = false;
        m_delivered = 0;
        m_last_result = S_OK;
    }
    m_stop = false;
    m_thread = std::thread([this] { play(); });
    return S_OK;
}

HRESULT scripted_output::Inactive() {
    m_stop = true;
    const HRESULT hr = fake_pin::Inactive();  // decommits, which wakes a thread that waits for a buffer
    join();
    return hr;
}

void scripted_output::play() {
    HRESULT hr = S_OK;
    for (const scripted_sample& sample : script) {
        if (m_stop) break;
        hr = send(sample);
        const std::lock_guard lock(m_mutex);
        m_last_result = hr;
        if (hr != S_OK) break;
        ++m_delivered;
    }
    if (end_after_script && SUCCEEDED(hr) && !m_stop) DeliverEndOfStream();
    const std::lock_guard lock(m_mutex);
    m_done = true;
    m_changed.notify_all();
}

void scripted_output::join() {
    if (m_thread.joinable()) m_thread.join();
}

}  // namespace mediakit_test
