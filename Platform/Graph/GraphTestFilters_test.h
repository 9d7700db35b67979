// Filters that tell a test what the graph did to them, and in which order.
#pragma once

#include "Platform/DirectShow/IAMFilterMiscFlags.h"
#include "Platform/DirectShow/IFileSinkFilter.h"
#include "Platform/Graph/CFilterGraph.h"
#include "Testing/Kit/fake_filters.h"

#include <atomic>
#include <string>
#include <vector>

namespace graph_test {

using Journal = std::vector<std::string>;

/// Writes "Name.Operation" into a journal and answers what the test chose.
class TracedFilter : public mediakit_test::fake_filter, public IAMFilterMiscFlags, public IFileSinkFilter {
public:
    TracedFilter(Journal& entries, std::string tag) : journal(entries), name(std::move(tag)) { ++alive; }
    ~TracedFilter() override { --alive; }

    HRESULT QueryInterface(REFIID riid, void** ppv) override { return fake_filter::QueryInterface(riid, ppv); }
    ULONG AddRef() override { return fake_filter::AddRef(); }
    ULONG Release() override { return fake_filter::Release(); }
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IAMFilterMiscFlags && flags != 0) return GetInterface<IAMFilterMiscFlags>(this, ppv);
        if (riid == IID_IFileSinkFilter && isFileSink) return GetInterface<IFileSinkFilter>(this, ppv);
        if (riid == IID_IMediaSeeking && seeking != nullptr) return seeking->QueryInterface(riid, ppv);
        return fake_filter::NonDelegatingQueryInterface(riid, ppv);
    }
    ULONG GetMiscFlags() override { return flags; }
    HRESULT SetFileName(const wchar_t*, const AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    HRESULT GetCurFile(wchar_t**, AM_MEDIA_TYPE*) override { return E_NOTIMPL; }

    HRESULT Pause() override {
        return Trace("Pause", pauseResult, [this] { return fake_filter::Pause(); });
    }
    HRESULT Run(REFERENCE_TIME start) override {
        startTime = start;
        return Trace("Run", runResult, [&] { return fake_filter::Run(start); });
    }
    /// A filter is stopped also when it has a failure to tell.
    HRESULT Stop() override {
        return Trace("Stop", S_OK, [this] {
            fake_filter::Stop();
            return stopResult;
        });
    }
    HRESULT GetState(DWORD milliseconds, FILTER_STATE* state) override {
        askedTimeout = milliseconds;
        fake_filter::GetState(0, state);
        return stateResult;
    }

    mediakit_test::fake_input* AddInput() { return add<mediakit_test::fake_input>(L"in"); }
    mediakit_test::fake_output* AddOutput() {
        auto* const pin = add<mediakit_test::fake_output>(L"out");
        pin->types.push_back(mediakit_test::make_type(MEDIATYPE_Stream, MEDIASUBTYPE_None));
        return pin;
    }
    mediakit_test::fake_input* In() { return dynamic_cast<mediakit_test::fake_input*>(pins.front().get()); }
    mediakit_test::fake_output* Out() { return dynamic_cast<mediakit_test::fake_output*>(pins.back().get()); }
    IReferenceClock* SyncSource() const { return m_pClock; }
    /// As a renderer does when it has played the last sample.
    HRESULT Complete() { return NotifyEvent(EC_COMPLETE, S_OK, 0); }

    Journal& journal;
    const std::string name;
    HRESULT pauseResult = S_OK;
    HRESULT runResult = S_OK;
    HRESULT stopResult = S_OK;
    HRESULT stateResult = S_OK;
    REFERENCE_TIME startTime = 0;
    DWORD askedTimeout = 0;
    ULONG flags = 0;
    bool isFileSink = false;
    IMediaSeeking* seeking = nullptr;  ///< not counted

    static inline std::atomic<int> alive{0};

private:
    /// A failure that the test wants comes instead of the change.
    template <class Change>
    HRESULT Trace(const char* operation, HRESULT wanted, Change change) {
        journal.push_back(name + "." + operation);
        if (FAILED(wanted)) return wanted;
        const HRESULT hr = change();
        return FAILED(hr) ? hr : wanted;
    }
};

/// source -> transform -> sink, and what is asked of the graph.
class Graph {
public:
    Graph() {
        CreateFilterGraph(builder.put());
        control = builder.query<IMediaControl>();
        events = builder.query<IMediaEvent>();
        seeking = builder.query<IMediaSeeking>();
    }

    /// 's' has an output pin, 'k' (a sink) an input pin, 't' one of each.
    ComPtr<TracedFilter> Make(char kind, const std::string& name) {
        ComPtr<TracedFilter> filter(new TracedFilter(journal, name));
        if (kind != 's') filter->AddInput();
        if (kind != 'k') filter->AddOutput();
        return filter;
    }
    ComPtr<TracedFilter> Add(char kind, const std::string& name) {
        auto filter = Make(kind, name);
        builder->AddFilter(filter.get(), std::wstring(name.begin(), name.end()).c_str());
        return filter;
    }
    HRESULT Join(TracedFilter& from, TracedFilter& to) { return builder->ConnectDirect(from.Out(), to.In(), nullptr); }

    Journal TakeJournal() { return std::exchange(journal, {}); }

    Journal journal;
    ComPtr<IGraphBuilder> builder;
    ComPtr<IMediaControl> control;
    ComPtr<IMediaEvent> events;
    ComPtr<IMediaSeeking> seeking;
};

}  // namespace graph_test
