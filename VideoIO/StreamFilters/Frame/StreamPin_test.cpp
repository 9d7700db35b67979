#include "VideoIO/StreamFilters/Frame/StreamPin.h"

#include "Logging/Checks.h"
#include "Logging/LogSink.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters {
namespace {

/// Ends at once, after a report from its thread.
class EndingStream : public StreamPin {
public:
    explicit EndingStream(CSource* source) : StreamPin("EndingStream", nullptr, source, L"Video 0") {}
    HRESULT FillBuffer(IMediaSample*) override { return S_FALSE; }
    using StreamPin::GetMediaType;
    HRESULT GetMediaType(CMediaType* type) override {
        return type->Set(mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264));
    }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
        ALLOCATOR_PROPERTIES request{2, 16, 1, 0};
        ALLOCATOR_PROPERTIES actual{};
        return allocator->SetProperties(&request, &actual);
    }
    HRESULT OnThreadCreate() override {
        thread = GetCurrentThreadId();
        QZReport(5, L"created");
        return S_OK;
    }

    DWORD thread = 0;
};

}  // namespace

TEST(StreamPin, ThreadBearsTheNamesOfFilterAndPin) {
    std::mutex lock;
    std::vector<std::string> names;
    qz_log::set_sink([&](const qz_log::record& report) {
        const std::lock_guard hold(lock);
        if (report.message == L"created") names.emplace_back(report.thread_name);
    });
    qz_log::set_report_level(5);

    const ComPtr<CSource> source(new CSource("source", nullptr, GUID_NULL));
    auto* const stream = new EndingStream(source.get());
    mediakit_test::fake_sink sink(L"in");
    ASSERT_EQ(stream->Connect(sink.pin, nullptr), S_OK);
    const ComPtr<mediakit_test::event_graph> graph(new mediakit_test::event_graph);
    source->JoinFilterGraph(graph.get(), L"Quelle \u00FC");
    sink.filter->Pause();
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
    // A name that no text can be: the stream runs all the same.
    source->JoinFilterGraph(graph.get(), L"\xD800");
    EXPECT_EQ(source->Pause(), S_OK);
    EXPECT_EQ(source->Stop(), S_OK);
    source->JoinFilterGraph(nullptr, nullptr);
    stream->Disconnect();
    qz_log::set_sink({});
    qz_log::set_report_level(qz_log::default_report_level);

    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], "Quelle \xC3\xBC-Video 0");
}

TEST(StreamPin, NameEndsWithItsScope) {
    std::vector<std::string> names;
    qz_log::set_sink([&](const qz_log::record& report) { names.emplace_back(report.thread_name); });
    {
        const ThreadNameScope scope(L"named");
        qz_log::_reportW0(0, 1, "test", 1, L"inside");
    }
    qz_log::_reportW0(0, 1, "test", 1, L"outside");
    qz_log::set_sink({});
    EXPECT_EQ(names, (std::vector<std::string>{"named", ""}));
}

}  // namespace Norvane::MediaKit::Filters
