// Cuts an elementary stream into units (access units, audio frames) with their times.
#pragma once

#include "Platform/DirectShow/MediaType.h"
#include "Tools/mediakit/frame_rate.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/stream_window.h"

#include <atomic>
#include <memory>
#include <string>

namespace mediakit_tool {

/// One sample to be. Times are in 100 ns.
struct Unit {
    Slice slice;
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    bool sync = false;
};

/// What the summary tells of a track.
struct TrackFacts {
    bool video = false;
    std::string codec;    ///< "H.264"
    std::string profile;  ///< "High", "LC"
    std::string level;    ///< "4.1", video only
    int width = 0;        ///< visible
    int height = 0;
    FrameRate rate;  ///< video
    bool interlaced = false;
    std::uint32_t sampleRate = 0;  ///< audio
    std::uint32_t channels = 0;
};

/// Reads one input. One thread at a time, apart from Finish.
class UnitReader {
public:
    virtual ~UnitReader() = default;

    /// Reads as far as the first unit, so that type and facts are known. False: see Failure.
    virtual bool Open() = 0;
    /// The next unit in decoding order, replacing what *unit holds. False at the end of the input; what
    /// could be read before a failure comes first, and Failure tells it then.
    virtual bool Next(Unit* unit) = 0;

    /// Why the input cannot be recorded, or ended early; empty when all is well.
    const std::string& Failure() const { return m_failure; }
    const CMediaType& MediaType() const { return m_mediaType; }
    const TrackFacts& Facts() const { return m_facts; }

    /// Ends the input here: the units that are whole still come. Any thread.
    void Finish() {
        m_finished.store(true, std::memory_order_relaxed);
        m_input.Cancel();
    }
    bool Finished() const { return m_finished.load(std::memory_order_relaxed); }
    /// Told before each read of the input. On the reader's thread.
    void SetListener(ReadListener* listener) { m_window.SetListener(listener); }
    /// Any thread.
    std::uint64_t BytesRead() const { return m_window.BytesRead(); }

protected:
    /// `blockSize` bytes are read at a time.
    UnitReader(ByteInput& input, StreamReport& report, std::size_t blockSize);

    /// Remembers the first reason for which reading ends; false, to be returned.
    bool Fail(std::string_view text);
    bool FailAt(std::uint64_t position, std::string_view text);
    /// Turns a failed read into the failure of this reader.
    void NoteReadError();

    StreamReport& m_report;
    ByteInput& m_input;
    StreamWindow m_window;
    CMediaType m_mediaType;
    TrackFacts m_facts;

private:
    std::string m_failure;
    std::atomic<bool> m_finished{false};
};

}  // namespace mediakit_tool
