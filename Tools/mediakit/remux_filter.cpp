#include "Tools/mediakit/remux_filter.h"

#include <algorithm>
#include <utility>

namespace mediakit_tool {

namespace {

// Of the host's own; nothing is registered under it.
constexpr CLSID kRemuxFilter = make_guid("5B1C2F90-63A4-4E17-8D0B-C94E7F3A2161");

/// Most that the disk is asked about at a time.
constexpr std::uint64_t kDiskStep = 4 * 1024 * 1024;

/// Of a damaged sample.
constexpr HRESULT kNothingLeft = S_FALSE;

/// The one writer adds; readers see some recent value.
void Add(std::atomic<std::uint64_t>& counter, std::uint64_t amount) {
    counter.store(counter.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

/// Times out of a file may be anywhere: they wrap.
REFERENCE_TIME Moved(REFERENCE_TIME time, std::uint64_t by) {
    return static_cast<REFERENCE_TIME>(static_cast<std::uint64_t>(time) + by);
}

}  // namespace

RemuxFilter::RemuxFilter(AdaptedStream stream, LONG buffers, REFERENCE_TIME edit, std::uint64_t bytes,
                         RemuxProgress& progress, RemuxControl& control, HRESULT* phr)
    : CBaseFilter("Remux", nullptr, &m_lock, kRemuxFilter, phr),
      m_stream(std::move(stream)),
      m_buffers(buffers),
      m_edit(edit),
      m_bytes(bytes),
      m_progress(progress),
      m_control(control),
      m_input(*this, m_lock, phr),
      m_output(*this, m_lock, phr) {
    m_allocator = ComPtr<TrackAllocator>(new TrackAllocator(control.crowd, phr));
    if (m_stream.adapter) m_copies = ComPtr<CopyAllocator>(new CopyAllocator(phr));
}

CBasePin* RemuxFilter::GetPin(int n) {
    if (n == 0) return &m_input;
    return n == 1 ? static_cast<CBasePin*>(&m_output) : nullptr;
}

HRESULT RemuxFilter::Begin() {
    m_granted = 0;
    m_progress.ended = false;
    m_allocator->Begin();
    if (!m_copies) return S_OK;
    ALLOCATOR_PROPERTIES wanted{.cBuffers = m_buffers, .cbBuffer = 1, .cbAlign = 1, .cbPrefix = 0}, actual{};
    const HRESULT hr = m_copies->SetProperties(&wanted, &actual);
    return FAILED(hr) ? hr : m_copies->Commit();
}

HRESULT RemuxFilter::End() {
    m_allocator->End();
    return m_copies ? m_copies->Decommit() : S_OK;
}

HRESULT RemuxFilter::Pass(IMediaSample& sample) {
    const auto bytes = static_cast<std::uint64_t>(std::max<LONG>(sample.GetActualDataLength(), 0));
    if (m_control.finish || !DiskHasRoom(bytes)) return S_FALSE;
    MoveTimes(sample);
    ComPtr<IMediaSample> adapted(&sample);
    HRESULT hr = m_stream.adapter ? Adapt(sample, adapted) : S_OK;
    if (hr == kNothingLeft) {
        Add(m_progress.dropped, 1);
        return S_OK;
    }
    if (SUCCEEDED(hr)) hr = m_output.Deliver(adapted.get());
    if (hr == S_OK)
        Count(sample, bytes);
    else if (!m_output.IsStopped())
        m_progress.refused = hr;
    return hr;
}

void RemuxFilter::MoveTimes(IMediaSample& sample) const {
    REFERENCE_TIME start = 0, stop = 0;
    if (m_segmentStart != 0 && SUCCEEDED(sample.GetTime(&start, &stop))) {
        const auto by = static_cast<std::uint64_t>(m_segmentStart);
        start = Moved(start, by);
        stop = Moved(stop, by);
        sample.SetTime(&start, &stop);
    }
    if (m_edit != 0 && SUCCEEDED(sample.GetMediaTime(&start, &stop))) {
        const auto by = 0 - static_cast<std::uint64_t>(m_edit);
        start = Moved(start, by);
        stop = Moved(stop, by);
        sample.SetMediaTime(&start, &stop);
    }
}

HRESULT RemuxFilter::BeginSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    m_segmentStart = start;
    return m_output.DeliverNewSegment(0, stop, rate);
}

HRESULT RemuxFilter::Adapt(IMediaSample& sample, ComPtr<IMediaSample>& adapted) {
    BYTE* data = nullptr;
    if (const HRESULT hr = sample.GetPointer(&data); FAILED(hr)) return hr;
    const auto size = static_cast<std::size_t>(std::max<LONG>(sample.GetActualDataLength(), 0));
    const auto result = m_stream.adapter->Adapt({data, size}, sample.IsSyncPoint() == S_OK, m_copy);
    if (result.damaged) Add(m_progress.damaged, 1);
    if (result.damaged && result.bytes.empty()) return kNothingLeft;
    if (result.bytes.data() == data || result.bytes.empty())
        return sample.SetActualDataLength(static_cast<LONG>(result.bytes.size()));
    return Copy(sample, adapted);
}

/// The bytes change hands; both sides keep their room.
HRESULT RemuxFilter::Copy(IMediaSample& from, ComPtr<IMediaSample>& copy) {
    CopySample* to = nullptr;
    if (const HRESULT hr = m_copies->GetCopy(&to); FAILED(hr)) return hr;
    copy.attach(to);
    to->Bytes().swap(m_copy);
    return to->BecomeCopyOf(from);
}

bool RemuxFilter::DiskHasRoom(std::uint64_t bytes) {
    if (m_granted < bytes) {
        const std::uint64_t left = m_bytes - std::min(m_bytes, m_progress.bytes.load(std::memory_order_relaxed));
        m_granted += m_control.disk.Book(bytes - m_granted, std::min(left, kDiskStep));
    }
    if (m_granted < bytes) {
        m_control.diskFull = m_control.finish = true;
        return false;
    }
    m_granted -= bytes;
    return true;
}

void RemuxFilter::Count(IMediaSample& sample, std::uint64_t bytes) {
    Add(m_progress.samples, 1);
    Add(m_progress.syncSamples, sample.IsSyncPoint() == S_OK);
    Add(m_progress.bytes, bytes);
    REFERENCE_TIME start = 0, stop = 0;
    if (FAILED(sample.GetTime(&start, &stop))) return;
    m_progress.end.store(std::max(m_progress.end.load(std::memory_order_relaxed), stop), std::memory_order_relaxed);
}

HRESULT RemuxFilter::NoteEnd() {
    const HRESULT hr = m_output.DeliverEndOfStream();
    m_allocator->End();
    m_progress.ended = true;
    m_control.changed.Set();
    return hr;
}

RemuxInput::RemuxInput(RemuxFilter& filter, CCritSec& lock, HRESULT* phr)
    : CBaseInputPin("Remux input", &filter, &lock, phr, L"Input"), m_filter(filter) {}

HRESULT RemuxInput::GetAllocator(IMemAllocator** ppAllocator) {
    if (ppAllocator == nullptr) return E_POINTER;
    *ppAllocator = ComPtr<IMemAllocator>(&m_filter.Allocator()).detach();
    return S_OK;
}

HRESULT RemuxInput::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps) {
    if (pProps == nullptr) return E_POINTER;
    *pProps = {};
    pProps->cBuffers = m_filter.Buffers();
    return S_OK;
}

HRESULT RemuxInput::Active() {
    const HRESULT hr = m_filter.Begin();
    return FAILED(hr) ? hr : CBaseInputPin::Active();
}

HRESULT RemuxInput::Inactive() {
    m_filter.End();
    return CBaseInputPin::Inactive();
}

HRESULT RemuxInput::Receive(IMediaSample* pSample) {
    const HRESULT hr = CBaseInputPin::Receive(pSample);
    return hr == S_OK ? m_filter.Pass(*pSample) : hr;
}

HRESULT RemuxInput::EndOfStream() { return m_filter.NoteEnd(); }

HRESULT RemuxInput::BeginFlush() {
    CBaseInputPin::BeginFlush();
    return m_filter.Output().DeliverBeginFlush();
}

HRESULT RemuxInput::EndFlush() {
    const HRESULT hr = m_filter.Output().DeliverEndFlush();
    CBaseInputPin::EndFlush();
    return hr;
}

HRESULT RemuxInput::NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) {
    CBaseInputPin::NewSegment(tStart, tStop, dRate);
    return m_filter.BeginSegment(tStart, tStop, dRate);
}

RemuxOutput::RemuxOutput(RemuxFilter& filter, CCritSec& lock, HRESULT* phr)
    : CBaseOutputPin("Remux output", &filter, &lock, phr, L"Output"), m_filter(filter) {}

HRESULT RemuxOutput::CheckMediaType(const CMediaType* pmt) {
    return *pmt == m_filter.OfferedType() ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT RemuxOutput::GetMediaType(int iPosition, CMediaType* pMediaType) {
    if (iPosition < 0) return E_INVALIDARG;
    return iPosition > 0 ? VFW_S_NO_MORE_ITEMS : pMediaType->Set(m_filter.OfferedType());
}

HRESULT RemuxOutput::DecideAllocator(IMemInputPin* pPin, IMemAllocator** pAlloc) {
    *pAlloc = nullptr;
    IMemAllocator* const chosen = m_filter.Input().Allocator();
    if (chosen == nullptr) return VFW_E_NO_ALLOCATOR;
    const HRESULT hr = pPin->NotifyAllocator(chosen, FALSE);
    if (FAILED(hr)) return hr;
    chosen->AddRef();
    *pAlloc = chosen;
    return S_OK;
}

}  // namespace mediakit_tool
