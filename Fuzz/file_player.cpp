#include "Fuzz/file_player.h"

#include "MediaKit/IReadingPolicy.h"
#include "MediaKit/ITrackInformation.h"
#include "Testing/Kit/playback.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"

#include <atomic>
#include <memory>

namespace mediakit_fuzz {
namespace {

using namespace Norvane::MediaKit::Filters;

/// Looks at each sample and keeps none.
class sample_counter : public mediakit_test::fake_pin<CBaseInputPin> {
public:
    using fake_pin::fake_pin;

    HRESULT Receive(IMediaSample* sample) override {
        if (const HRESULT hr = CBaseInputPin::Receive(sample); hr != S_OK) return hr;
        look_at(*sample);
        return S_OK;
    }
    HRESULT EndOfStream() override {
        m_ended = true;
        m_ended.notify_all();
        return S_OK;
    }

    void look_at(IMediaSample& sample) {
        BYTE* data = nullptr;
        require(sample.GetPointer(&data) == S_OK, "a sample without bytes");
        const LONG size = sample.GetActualDataLength();
        require(size >= 0 && size <= sample.GetSize(), "a sample longer than its buffer");
        [[maybe_unused]] volatile BYTE last = 0;
        if (size > 0) last = data[size - 1];
        ++samples;
        bytes += static_cast<std::size_t>(size);
    }
    void wait_for_end() const { m_ended.wait(false); }
    IMemAllocator* allocator() const { return m_pAllocator; }
    /// What all buffers of the connection take.
    std::size_t buffers() const {
        ALLOCATOR_PROPERTIES properties{};
        if (m_pAllocator == nullptr || FAILED(m_pAllocator->GetProperties(&properties))) return 0;
        return static_cast<std::size_t>(properties.cBuffers) *
               static_cast<std::size_t>(properties.cbBuffer + properties.cbPrefix);
    }

    std::size_t samples = 0;
    std::size_t bytes = 0;

private:
    std::atomic<bool> m_ended{false};
};

using counting_sink = mediakit_test::fake<sample_counter>;

class player {
public:
    player(bytes file, const playing& how) : m_how(how) {
        m_source->reader = new mediakit_test::memory_async_reader(std::move(file));
        if (!how.strict) be_lenient();
        const auto inputs = mediakit_test::pins_of(m_filter.get(), PINDIR_INPUT);
        require(inputs.size() == 1, "one input");
        m_result.connected = m_source->Connect(inputs.front().get(), nullptr);
        connect_pins();
    }
    ~player() {
        m_filter->Stop();
        for (const auto& sink : m_sinks) sink->filter->Stop();
        m_source->Disconnect();
        m_filter->GetPin(m_filter->OutputPinCount())->Disconnect();
        for (int n = 0; n < m_filter->OutputPinCount(); ++n) m_filter->OutputPin(n)->Disconnect();
        for (const auto& sink : m_sinks) sink->pin->Disconnect();
    }
    player(const player&) = delete;
    player& operator=(const player&) = delete;

    played play() {
        ask();
        if (m_how.threads)
            play_graph();
        else
            play_pins();
        for (const REFERENCE_TIME time : m_how.seeks) {
            seek(time);
            if (!m_how.threads) fill_all();
        }
        return m_result;
    }

private:
    void be_lenient() {
        const auto policy = ComPtr<IBaseFilter>(m_filter.get()).query<IReadingPolicy>();
        const ReadingOptions everything{.avc3AsAvc1 = true,
                                        .skipSegmentBoxes = true,
                                        .syncWithoutTable = true,
                                        .fragmentDecodeTimes = true,
                                        .pcmSizeFromEntry = true,
                                        .contiguousRuns = true,
                                        .skipBrokenParts = true,
                                        .emptyEdits = true};
        policy->SetOptions(&everything);
    }

    void connect_pins() {
        m_result.pins = static_cast<std::size_t>(m_filter->OutputPinCount());
        for (int n = 0; n < m_filter->OutputPinCount(); ++n) {
            m_sinks.push_back(std::make_unique<counting_sink>(L"counter"));
            counting_sink& sink = *m_sinks.back();
            require(m_filter->OutputPin(n)->Connect(sink.pin, nullptr) == S_OK, "a pin that nobody can connect");
            m_result.buffers += sink->buffers();
        }
    }

    /// What a host asks of an open file.
    void ask() {
        double date = 0;
        m_filter->GetCreationTime(&date);
        m_filter->IsStreamingOptimized();
        REFERENCE_TIME time = 0;
        m_filter->GetNearestSyncPoint(10'000'000, 0, &time);
        m_filter->GetNearestSyncPoint(0, 1, &time);
        for (int n = 0; n < m_filter->OutputPinCount(); ++n) {
            MP4MediaDemuxOutputPin& pin = *m_filter->OutputPin(n);
            TrackInformation information;
            require(pin.GetTrackInformation(&information) == S_OK, "no information on a track");
            require(information.timescale != 0, "a track without a timescale");
            CMediaType type;
            require(pin.GetMediaType(0, &type) == S_OK, "a pin without a media type");
            LONGLONG duration = 0;
            pin.GetDuration(&duration);
            qz_DSFilters::StreamRate rate;
            pin.GetRate(&rate);
        }
    }

    void play_pins() {
        m_result.ends = fill_all();
        count();
    }

    /// Each pin in turn from its start to its end, into samples of its own allocator.
    std::vector<HRESULT> fill_all() {
        std::vector<HRESULT> ends;
        for (std::size_t n = 0; n < m_sinks.size(); ++n)
            ends.push_back(fill(*m_filter->OutputPin(static_cast<int>(n)), *m_sinks[n]->pin));
        return ends;
    }
    HRESULT fill(MP4MediaDemuxOutputPin& pin, sample_counter& sink) const {
        IMemAllocator* const allocator = sink.allocator();
        require(allocator != nullptr && allocator->Commit() == S_OK, "no sample buffers");
        HRESULT hr = pin.OnThreadStartPlay();
        for (std::size_t n = 0; SUCCEEDED(hr) && n < m_how.most_samples; ++n) {
            ComPtr<IMediaSample> sample;
            require(allocator->GetBuffer(sample.put(), nullptr, nullptr, 0) == S_OK, "no sample");
            hr = pin.FillBuffer(sample.get());
            if (hr != S_OK) break;
            sink.look_at(*sample.get());
        }
        allocator->Decommit();
        return hr;
    }

    void play_graph() {
        for (const auto& sink : m_sinks) sink->filter->Run(0);
        require(SUCCEEDED(m_filter->Run(0)), "the filter does not run");
        for (const auto& sink : m_sinks) sink->pin->wait_for_end();
        m_result.ends.assign(m_sinks.size(), S_OK);
        count();
    }

    void count() {
        for (const auto& sink : m_sinks) {
            m_result.samples.push_back(sink->pin->samples);
            m_result.bytes += sink->pin->bytes;
        }
    }

    void seek(REFERENCE_TIME time) {
        for (int n = 0; n < m_filter->OutputPinCount(); ++n)
            m_filter->OutputPin(n)->SetPositions(&time, AM_SEEKING_AbsolutePositioning, nullptr,
                                                 AM_SEEKING_NoPositioning);
    }

    const playing& m_how;
    played m_result;
    mediakit_test::fake<mediakit_test::reader_output> m_source{L"reader"};
    ComPtr<MP4MediaDemuxFilter> m_filter{new MP4MediaDemuxFilter};
    std::vector<std::unique_ptr<counting_sink>> m_sinks;
};

}  // namespace

played play(bytes file, const playing& how) { return player(std::move(file), how).play(); }

}  // namespace mediakit_fuzz
