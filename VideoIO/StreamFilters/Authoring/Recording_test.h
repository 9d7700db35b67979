// A plain recording without filters: a recorder between pins that a test plays and a file in memory.
#pragma once

#include "Testing/Kit/failing_stream.h"
#include "Testing/Kit/heap_sample.h"
#include "VideoIO/StreamFilters/Authoring/FakeInput_test.h"
#include "VideoIO/StreamFilters/Authoring/PlainRecorder.h"

#include <algorithm>
#include <utility>

namespace Norvane::MediaKit::Filters::testdata {

inline std::uint64_t TestClock() { return 0xD0000000; }

class Recording final : public RecorderHost, public RecordingOutput {
public:
    /// A track for each type; `timescales` are in ticks a second, 90000 where there is none.
    explicit Recording(const std::vector<CMediaType>& types, const std::vector<std::uint32_t>& timescales = {}) {
        for (const CMediaType& type : types) {
            const auto n = static_cast<std::uint32_t>(inputs.size());
            inputs.push_back(std::make_unique<FakeInput>(n, type));
            recorder.AddTrack(*inputs.back());
            if (n < timescales.size()) SetTimescale(n, timescales[n]);
        }
        BeginRun();
    }

    MovieSettings settings;
    std::vector<std::unique_ptr<FakeInput>> inputs;
    std::shared_ptr<mediakit_test::failing_stream> file = std::make_shared<mediakit_test::failing_stream>();
    LiveIndex index;
    PlainRecorder recorder{*this, *this, index, settings, TestClock};

    HRESULT openResult = S_OK;
    int opens = 0;
    int writes = 0;  ///< of sample data
    int failingWrite = -1;
    bool swallows = false;  ///< sample data, as an output does that is stopped
    bool stopped = false;
    int ends = 0;
    std::vector<std::pair<LONG, LONG_PTR>> events;

    FakeInput& operator[](std::size_t i) { return *inputs[i]; }
    void SetTimescale(std::size_t input, std::uint32_t timescale) {
        inputs[input]->Track().timescale = timescale;
        inputs[input]->Track().rate = {timescale, 1};
    }
    void BeginRun() {
        recorder.BeginRun();
        for (std::size_t i = 0; i < inputs.size(); ++i) recorder.BeginTrack(i);
        m_received.assign(inputs.size(), 0);
    }
    void Receive(std::size_t input, IMediaSample& sample, REFERENCE_TIME start) {
        FakeInput& pin = *inputs[input];
        if (pin.getsHandler && !pin.Track().handler)
            pin.Track().handler = std::make_unique<details::byte_stream_handler>(pin.TrackMediaType());
        recorder.Receive(input, sample, start);
        ++m_received[input];
    }
    void Receive(std::size_t input, REFERENCE_TIME start, REFERENCE_TIME duration, std::vector<BYTE> bytes,
                 bool sync = true) {
        const auto sample = mediakit_test::heap_sample::create(std::move(bytes), start, start + duration, sync);
        Receive(input, *sample, start);
    }
    void EndAll() {
        for (std::size_t i = 0; i < inputs.size(); ++i)
            if (inputs[i]->connected) recorder.EndOfStream(i);
    }
    /// The file with its end.
    const std::vector<std::uint8_t>& Finish() {
        EndAll();
        recorder.Finish();
        return file->content;
    }

    /// What readers are told of a track.
    std::vector<LiveSampleInfo> Samples(std::size_t track) {
        const wil::unique_event abort{wil::EventOptions::ManualReset};
        std::vector<LiveSampleInfo> samples;
        index.AddConsumer(static_cast<std::uint32_t>(track), 99, L"test");
        if (index.GetSamples(99, samples, 0, abort.get()) != S_OK) samples.clear();
        index.RemoveConsumer(99);
        return samples;
    }
    std::size_t Written() {
        std::size_t written = 0;
        for (std::size_t i = 0; i < inputs.size(); ++i) written += Samples(i).size();
        return written;
    }
    std::size_t Waiting(std::size_t input) { return m_received[input] - Samples(input).size(); }
    struct Placed {
        std::uint32_t track;
        LiveSampleInfo info;
    };
    /// All samples in the order of the file.
    std::vector<Placed> InFile() {
        std::vector<Placed> placed;
        for (std::size_t i = 0; i < inputs.size(); ++i)
            for (const LiveSampleInfo& info : Samples(i)) placed.push_back({static_cast<std::uint32_t>(i), info});
        std::ranges::sort(placed, {}, [](const Placed& sample) { return sample.info.offset; });
        return placed;
    }
    /// The tracks of the written samples, in file order.
    std::vector<std::uint32_t> Order() {
        std::vector<std::uint32_t> order;
        for (const Placed& sample : InFile()) order.push_back(sample.track);
        return order;
    }
    RecordingResult Result() const { return recorder.Result(); }

    // RecorderHost
    bool IsStopped() const override { return stopped; }
    void DeliverEndOfStream() override { ++ends; }
    void SendGraphEvent(LONG code, LONG_PTR first, LONG_PTR) override { events.emplace_back(code, first); }

    // RecordingOutput
    HRESULT OpenBoxStream(std::shared_ptr<vio::byte_stream>& stream) override {
        ++opens;
        stream = file;
        return openResult;
    }
    std::uint64_t WritePosition() const override { return m_position; }
    void SetWritePosition(std::uint64_t position) override { m_position = position; }
    HRESULT WriteData(const void* data, std::uint32_t length) override {
        if (swallows) m_failure = VFW_E_NOT_COMMITTED;
        if (swallows) return S_OK;
        if (writes++ == failingWrite) return m_failure = STG_E_MEDIUMFULL;
        auto& content = file->content;
        content.resize(std::max<std::size_t>(content.size(), m_position + length));
        if (length > 0) std::memcpy(content.data() + m_position, data, length);
        m_position += length;
        return S_OK;
    }
    void Truncate(std::uint64_t size) override { file->content.resize(size); }
    HRESULT TakeFailure() override { return std::exchange(m_failure, S_OK); }

private:
    std::uint64_t m_position = 0;
    HRESULT m_failure = S_OK;
    std::vector<std::size_t> m_received;
};

}  // namespace Norvane::MediaKit::Filters::testdata
