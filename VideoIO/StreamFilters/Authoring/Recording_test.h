// A recording without filters: a movie, its interleaver and chunk writer over a file in memory.
#pragma once

#include "Testing/Kit/failing_stream.h"
#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"
#include "VideoIO/StreamFilters/Authoring/FakeInput_test.h"
#include "VideoIO/StreamFilters/Authoring/Interleaver.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters::testdata {

inline std::uint64_t TestClock() { return 0xD0000000; }

/// Appends to the file at a position of its own, as the output pin does.
class DataStream final : public vio::byte_stream {
public:
    explicit DataStream(std::vector<std::uint8_t>& file) : m_file(file) {}

    std::uint64_t position = 0;
    int failingWrite = -1;  ///< counted from 0
    int writes = 0;

    void close() override {}
    std::uint64_t size() override { return 0; }
    std::uint64_t tell() override { return position; }
    bool skip(std::int64_t) override { return false; }
    bool seek(std::uint64_t) override { return false; }
    bool read(void*, std::uint32_t) override { return false; }
    bool write(const void* buffer, std::uint32_t count) override {
        if (writes++ == failingWrite) return false;
        m_file.resize(std::max<std::size_t>(m_file.size(), position + count));
        std::memcpy(m_file.data() + position, buffer, count);
        position += count;
        return true;
    }
    bool write_zeros(std::uint32_t) override { return false; }
    void flush() override {}
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    std::vector<std::uint8_t>& m_file;
};

class Recording final : public InterleaverHost, public ChunkWriterHost {
public:
    struct Written {
        std::uint32_t track;
        LiveSampleInfo info;
    };

    explicit Recording(std::vector<CMediaType> types) {
        for (const CMediaType& type : types) {
            inputs.push_back(std::make_unique<FakeInput>(static_cast<std::uint32_t>(inputs.size()), type));
            m_views.push_back(inputs.back().get());
        }
    }

    MovieSettings settings;
    std::vector<std::unique_ptr<FakeInput>> inputs;
    std::shared_ptr<mediakit_test::failing_stream> file = std::make_shared<mediakit_test::failing_stream>();
    DataStream data{file->content};
    Movie movie{TestClock};
    std::vector<Written> written;
    std::vector<std::uint32_t> drained;
    HRESULT startResult = S_OK;
    int starts = 0;

    FakeInput& operator[](std::size_t i) { return *inputs[i]; }
    bool Pass(bool final = false) { return Interleaver(*this, m_views).Pass(final); }
    /// As a pin does with each sample that it receives.
    void Receive(std::size_t input, REFERENCE_TIME start, REFERENCE_TIME duration, std::vector<BYTE> bytes,
                 bool sync = true) {
        inputs[input]->Add(start, duration, std::move(bytes), sync);
        Pass();
    }
    void EndAll() {
        for (const auto& input : inputs) input->State().endOfStream = true;
        Pass(true);
    }
    /// The file with its end.
    const std::vector<std::uint8_t>& Finish() {
        EndAll();
        movie.Finalize(true, false);
        return file->content;
    }
    /// The tracks of the written samples, in file order.
    std::vector<std::uint32_t> Order() const {
        std::vector<std::uint32_t> order;
        for (const Written& sample : written) order.push_back(sample.track);
        return order;
    }

    // InterleaverHost
    REFERENCE_TIME InterleaveDuration() const override { return settings.interleaveDuration; }
    std::size_t MovieTrackCount() const override { return movie.TrackCount(); }
    HRESULT StartMovie() override {
        ++starts;
        if (FAILED(startResult)) return startResult;
        std::vector<MovieTrackRef> refs;
        for (const auto& input : inputs)
            if (input->connected)
                refs.push_back({&input->Track(), &input->TrackMediaType(), input->Track().orientation});
        movie.Start(file, settings, std::move(refs));
        data.position = movie.DataPosition();
        return S_OK;
    }
    std::size_t WriteChunk(TrackInput& input, REFERENCE_TIME limit, bool forced) override {
        return ChunkWriter(*this, movie, data).Write(input, limit, forced);
    }

    // ChunkWriterHost
    void SetWritePosition(std::uint64_t position) override { data.position = position; }
    void OnSampleWritten(TrackInput& input, const LiveSampleInfo& sample) override {
        written.push_back({input.TrackIndex(), sample});
    }
    void OnInputDrained(TrackInput& input) override { drained.push_back(input.TrackIndex()); }

private:
    std::vector<TrackInput*> m_views;
};

}  // namespace Norvane::MediaKit::Filters::testdata
