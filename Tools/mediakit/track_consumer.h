// Writes a stream's samples as they come.
#pragma once

#include "Tools/mediakit/byte_output.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/tap_filter.h"
#include "Tools/mediakit/track_writer.h"

#include <atomic>
#include <cstdint>

namespace mediakit_tool {

/// Takes on the stream's thread; the counts may be read at any time.
class TrackConsumer final : public SampleConsumer {
public:
    /// The first damaged sample is told as a warning about `name`.
    TrackConsumer(TrackWriter& writer, ByteOutput& output, Messages& messages, std::string name)
        : m_writer(writer), m_output(output), m_messages(messages), m_name(std::move(name)) {}

    HRESULT Take(IMediaSample& sample) override;

    std::uint64_t Samples() const { return m_samples; }
    std::uint64_t Damaged() const { return m_damaged; }
    /// Of the samples taken.
    std::uint64_t Bytes() const { return m_bytes; }
    /// Decode time of the last sample, 100 ns.
    REFERENCE_TIME Position() const { return m_position; }

private:
    TrackWriter& m_writer;
    ByteOutput& m_output;
    Messages& m_messages;
    const std::string m_name;
    std::atomic<std::uint64_t> m_samples{0};
    std::atomic<std::uint64_t> m_damaged{0};
    std::atomic<std::uint64_t> m_bytes{0};
    std::atomic<REFERENCE_TIME> m_position{0};
};

}  // namespace mediakit_tool
