// A source and a sink made of the base classes, whose every answer a test can choose.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CBaseInputPin.h"
#include "Platform/DirectShow/CBaseOutputPin.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace mediakit_test {

/// A filter of pins that the test adds. Made on the heap, held by a ComPtr.
class fake_filter : public CBaseFilter {
public:
    fake_filter() : CBaseFilter("fake_filter", nullptr, &lock, make_guid("00000000-0000-0000-0000-0000000000FF")) {}

    int GetPinCount() override { return static_cast<int>(pins.size()); }
    CBasePin* GetPin(int n) override {
        return n >= 0 && static_cast<std::size_t>(n) < pins.size() ? pins[static_cast<std::size_t>(n)].get() : nullptr;
    }

    template <class Pin, class... Args>
    Pin* add(Args&&... args) {
        auto pin = std::make_unique<Pin>(*this, std::forward<Args>(args)...);
        Pin* const added = pin.get();
        pins.push_back(std::move(pin));
        IncrementPinVersion();
        return added;
    }

    CCritSec lock{"fake_filter", LockRank::Filter};
    std::vector<std::unique_ptr<CBasePin>> pins;
};

/// A graph that only takes events.
class event_graph : public CUnknown, public IFilterGraph, public IMediaEventSink {
public:
    struct event {
        LONG code;
        LONG_PTR first;
        LONG_PTR second;
    };

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IMediaEventSink) return GetInterface<IMediaEventSink>(this, ppv);
        return CUnknown::NonDelegatingQueryInterface(riid, ppv);
    }
    HRESULT Notify(LONG code, LONG_PTR first, LONG_PTR second) override {
        const std::lock_guard hold(m_lock);
        m_events.push_back({code, first, second});
        m_changed.notify_all();
        return S_OK;
    }
    HRESULT AddFilter(IBaseFilter*, const wchar_t*) override { return E_NOTIMPL; }
    HRESULT RemoveFilter(IBaseFilter*) override { return E_NOTIMPL; }
    HRESULT EnumFilters(IEnumFilters**) override { return E_NOTIMPL; }
    HRESULT FindFilterByName(const wchar_t*, IBaseFilter**) override { return E_NOTIMPL; }
    HRESULT ConnectDirect(IPin*, IPin*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    HRESULT Reconnect(IPin*) override { return E_NOTIMPL; }
    HRESULT Disconnect(IPin*) override { return E_NOTIMPL; }
    HRESULT SetDefaultSyncSource() override { return E_NOTIMPL; }

    LONG count() const { return m_cRef; }
    /// Events may come after the end of the stream they tell of.
    bool wait_for_events(std::size_t number, std::chrono::milliseconds timeout = std::chrono::seconds(20)) const {
        std::unique_lock hold(m_lock);
        return m_changed.wait_for(hold, timeout, [&] { return m_events.size() >= number; });
    }
    std::vector<event> events() const {
        const std::lock_guard hold(m_lock);
        return m_events;
    }

private:
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::vector<event> m_events;
};

/// Proposes `types` and accepts what `check` says (everything by default).
template <class Base>
class fake_pin : public Base {
public:
    fake_pin(fake_filter& filter, const wchar_t* name) : Base("fake_pin", &filter, &filter.lock, nullptr, name) {}

    HRESULT CheckMediaType(const CMediaType* type) override { return check(*type); }
    HRESULT GetMediaType(int position, CMediaType* type) override {
        if (types.empty()) return E_UNEXPECTED;
        if (position < 0 || static_cast<std::size_t>(position) >= types.size()) return VFW_S_NO_MORE_ITEMS;
        return type->Set(types[static_cast<std::size_t>(position)]);
    }
    HRESULT CompleteConnect(IPin* peer) override {
        const HRESULT hr = Base::CompleteConnect(peer);
        return FAILED(hr) ? hr : complete_result;
    }
    HRESULT BreakConnect() override {
        ++breaks;
        return Base::BreakConnect();
    }
    HRESULT Active() override {
        const HRESULT hr = Base::Active();
        if (FAILED(active_result) || FAILED(hr)) return FAILED(hr) ? hr : active_result;
        ++active;
        return hr;
    }
    HRESULT Inactive() override {
        --active;
        return Base::Inactive();
    }
    void try_my_types_first() { this->m_bTryMyTypesFirst = true; }
    const CMediaType& connection_type() const { return this->m_mt; }

    std::vector<CMediaType> types;
    std::function<HRESULT(const CMediaType&)> check = [](const CMediaType&) { return S_OK; };
    HRESULT complete_result = S_OK;
    HRESULT active_result = S_OK;
    int breaks = 0;
    int active = 0;  ///< Active less Inactive calls.
};

/// What reached an input pin.
struct received_sample {
    std::vector<BYTE> data;
    HRESULT time_result;
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    bool sync = false;
    bool discontinuity = false;
    bool preroll = false;
    HRESULT media_time_result = S_OK;
    LONGLONG media_start = 0;
    LONGLONG media_stop = 0;
    int segment = 0;  ///< NewSegment calls before it
};

/// Keeps copies of samples, and calls `on_receive` for the answer. The records may be read from any thread.
class fake_input : public fake_pin<CBaseInputPin> {
public:
    using fake_pin::fake_pin;

    HRESULT Receive(IMediaSample* sample) override {
        if (const HRESULT hr = CBaseInputPin::Receive(sample); hr != S_OK) return hr;
        keep(sample);
        return on_receive(sample);
    }
    HRESULT Active() override {
        leave_segment();
        return fake_pin::Active();
    }
    HRESULT BeginFlush() override {
        const HRESULT hr = fake_pin::BeginFlush();
        leave_segment();
        on_flush(true);
        return hr;
    }
    HRESULT EndFlush() override {
        on_flush(false);
        return fake_pin::EndFlush();
    }
    /// One that arrives during a flush belongs to what is being thrown away.
    HRESULT EndOfStream() override {
        {
            const std::lock_guard hold(m_records);
            if (m_bFlushing) return S_FALSE;
            ++m_ends;
            m_segment_ended = true;
        }
        on_end();
        return S_OK;
    }
    HRESULT NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override {
        const std::lock_guard hold(m_records);
        ++m_segments;
        m_in_segment = true;
        m_segment_ended = false;
        return CBaseInputPin::NewSegment(start, stop, rate);
    }
    HRESULT GetAllocator(IMemAllocator** allocator) override {
        return FAILED(allocator_result) ? allocator_result : CBaseInputPin::GetAllocator(allocator);
    }
    HRESULT NotifyAllocator(IMemAllocator* allocator, BOOL read_only) override {
        if (notify_failures > 0) {
            --notify_failures;
            return E_FAIL;
        }
        return CBaseInputPin::NotifyAllocator(allocator, read_only);
    }

    std::vector<received_sample> samples() const {
        const std::lock_guard hold(m_records);
        return m_samples;
    }
    int ends() const {
        const std::lock_guard hold(m_records);
        return m_ends;
    }
    int segments() const {
        const std::lock_guard hold(m_records);
        return m_segments;
    }
    /// The present segment: whether its end has come, where it starts, and what was received in it.
    bool segment_ended() const {
        const std::lock_guard hold(m_records);
        return m_segment_ended;
    }
    std::pair<REFERENCE_TIME, REFERENCE_TIME> segment() const {
        const std::lock_guard hold(m_records);
        return {m_tStart, m_tStop};
    }
    double segment_rate() const {
        const std::lock_guard hold(m_records);
        return m_dRate;
    }
    std::vector<received_sample> segment_samples() const {
        const std::lock_guard hold(m_records);
        if (!m_in_segment) return {};
        const auto first = std::find_if(m_samples.begin(), m_samples.end(),
                                        [&](const received_sample& sample) { return sample.segment == m_segments; });
        return {first, m_samples.end()};
    }
    /// For a test that lets much go by.
    void forget_samples() {
        const std::lock_guard hold(m_records);
        m_samples.clear();
    }
    IMemAllocator* allocator() const { return m_pAllocator; }

    std::function<HRESULT(IMediaSample*)> on_receive = [](IMediaSample*) { return S_OK; };
    std::function<void(bool begins)> on_flush = [](bool) {};
    std::function<void()> on_end = [] {};
    HRESULT allocator_result = S_OK;
    int notify_failures = 0;  ///< That many NotifyAllocator calls are refused.

private:
    void leave_segment() {
        const std::lock_guard hold(m_records);
        m_in_segment = false;
        m_segment_ended = false;
    }
    void keep(IMediaSample* sample) {
        received_sample copy;
        BYTE* data = nullptr;
        sample->GetPointer(&data);
        copy.data.assign(data, data + sample->GetActualDataLength());
        copy.time_result = sample->GetTime(&copy.start, &copy.stop);
        copy.sync = sample->IsSyncPoint() == S_OK;
        copy.discontinuity = sample->IsDiscontinuity() == S_OK;
        copy.preroll = sample->IsPreroll() == S_OK;
        copy.media_time_result = sample->GetMediaTime(&copy.media_start, &copy.media_stop);
        const std::lock_guard hold(m_records);
        copy.segment = m_segments;
        m_samples.push_back(std::move(copy));
    }

    mutable std::mutex m_records;
    std::vector<received_sample> m_samples;
    int m_ends = 0;
    int m_segments = 0;
    bool m_in_segment = false;  ///< between NewSegment and a flush or start
    bool m_segment_ended = false;
};

/// Asks for `properties` and sends what the test tells it to.
class fake_output : public fake_pin<CBaseOutputPin> {
public:
    using fake_pin::fake_pin;

    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
        ALLOCATOR_PROPERTIES actual{};
        return allocator->SetProperties(&properties, &actual);
    }
    /// Delivers bytes with times; the filter must be active.
    HRESULT send(const std::vector<BYTE>& bytes, REFERENCE_TIME start, REFERENCE_TIME stop, bool sync = false) {
        ComPtr<IMediaSample> sample;
        if (const HRESULT hr = GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0); FAILED(hr)) return hr;
        BYTE* data = nullptr;
        sample->GetPointer(&data);
        if (const HRESULT hr = sample->SetActualDataLength(static_cast<LONG>(bytes.size())); FAILED(hr)) return hr;
        std::copy(bytes.begin(), bytes.end(), data);
        sample->SetTime(&start, &stop);
        sample->SetSyncPoint(sync ? TRUE : FALSE);
        return Deliver(sample.get());
    }
    IMemAllocator* allocator() const { return m_pAllocator; }

    ALLOCATOR_PROPERTIES properties{4, 4096, 1, 0};
};

/// A media type of a major type and a subtype, with an empty format.
inline CMediaType make_type(const GUID& major, const GUID& subtype, const GUID& format = FORMAT_None) {
    CMediaType type(&major);
    type.SetSubtype(&subtype);
    type.SetFormatType(&format);
    return type;
}

/// A filter with one pin, and the pin.
template <class Pin>
struct fake {
    explicit fake(const wchar_t* name) : filter(new fake_filter), pin(filter->template add<Pin>(name)) {}
    ~fake() {
        filter->Stop();
        pin->Disconnect();
    }
    Pin* operator->() const { return pin; }

    ComPtr<fake_filter> filter;
    Pin* const pin;
};
using fake_sink = fake<fake_input>;
using fake_source = fake<fake_output>;

}  // namespace mediakit_test
