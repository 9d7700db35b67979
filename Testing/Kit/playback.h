// A file in memory, played by a demultiplexer into recorders.
#pragma once

#include "Platform/DirectShow/IMediaSeeking.h"
#include "Testing/Kit/memory_async_reader.h"
#include "Testing/Kit/pins.h"
#include "Testing/Kit/sample_recorder.h"

#include <memory>
#include <vector>

namespace mediakit_test {

/// Passes the interface of a pull source on. Use: fake<reader_output>.
class reader_output : public fake_pin<CBaseOutputPin> {
public:
    reader_output(fake_filter& filter, const wchar_t* name) : fake_pin(filter, name) {
        types.push_back(make_type(MEDIATYPE_Stream, GUID_NULL));
    }
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IAsyncReader && reader != nullptr) return reader->QueryInterface(riid, ppv);
        return fake_pin::NonDelegatingQueryInterface(riid, ppv);
    }
    // No sample is ever delivered.
    HRESULT DecideBufferSize(IMemAllocator*, ALLOCATOR_PROPERTIES*) override { return S_OK; }
    HRESULT Active() override { return S_OK; }
    HRESULT Inactive() override { return S_OK; }

    ComPtr<IAsyncReader> reader;
};

/// Opens the bytes with the filter given, which is not connected yet, and connects a recorder to each of its outputs.
class playback {
public:
    playback(ComPtr<IBaseFilter> demux, std::vector<BYTE> bytes, bool connect_all = true)
        : reader(*new memory_async_reader(std::move(bytes))), filter(std::move(demux)), m_source(L"reader") {
        m_source->reader = &reader;
        filter->JoinFilterGraph(events.get(), L"demux");
        const ComPtr<IPin> input = free_pin(filter.get(), PINDIR_INPUT);
        open_result = input ? m_source->Connect(input.get(), nullptr) : E_UNEXPECTED;
        outputs = pins_of(filter.get(), PINDIR_OUTPUT);
        for (std::size_t i = 0; i < outputs.size(); ++i)
            recorders.push_back(std::make_unique<fake<sample_recorder>>(L"recorder"));
        for (std::size_t i = 0; connect_all && i < outputs.size(); ++i) connect(i);
    }
    ~playback() {
        stop();
        for (const ComPtr<IPin>& pin : outputs) pin->Disconnect();
        if (const auto inputs = pins_of(filter.get(), PINDIR_INPUT); !inputs.empty()) inputs.front()->Disconnect();
        filter->JoinFilterGraph(nullptr, nullptr);
    }
    playback(const playback&) = delete;
    playback& operator=(const playback&) = delete;

    HRESULT connect(std::size_t n) { return outputs[n]->Connect(recorders[n]->pin, nullptr); }
    HRESULT disconnect(std::size_t n) {
        recorders[n]->pin->Disconnect();
        return outputs[n]->Disconnect();
    }

    HRESULT run() {
        for (const auto& recorder : recorders) recorder->filter->Run(0);
        const HRESULT hr = filter->Pause();
        return FAILED(hr) ? hr : filter->Run(0);
    }
    HRESULT stop() {
        for (const auto& recorder : recorders) recorder->pin->let_go();
        const HRESULT hr = filter->Stop();
        for (const auto& recorder : recorders) recorder->filter->Stop();
        return hr;
    }
    /// All connected pins have come to the end of their present segment.
    bool wait_for_end() {
        return std::all_of(recorders.begin(), recorders.end(), [](const auto& recorder) {
            return !recorder->pin->IsConnected() || recorder->pin->wait_for_segment_end();
        });
    }
    bool play() { return SUCCEEDED(run()) && wait_for_end(); }

    sample_recorder& recorder(std::size_t n) { return *recorders[n]->pin; }
    ComPtr<IMediaSeeking> seeking(std::size_t n) { return outputs[n].query<IMediaSeeking>(); }
    /// Through the n-th pin.
    HRESULT seek(std::size_t n, LONGLONG start) {
        return seeking(n)->SetPositions(&start, AM_SEEKING_AbsolutePositioning, nullptr, AM_SEEKING_NoPositioning);
    }

    ComPtr<event_graph> events{new event_graph};
    memory_async_reader& reader;  ///< lives as long as the filter
    ComPtr<IBaseFilter> filter;
    HRESULT open_result = E_UNEXPECTED;
    std::vector<ComPtr<IPin>> outputs;
    std::vector<std::unique_ptr<fake<sample_recorder>>> recorders;

private:
    fake<reader_output> m_source;
};

}  // namespace mediakit_test
