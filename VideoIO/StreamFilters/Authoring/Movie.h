// A plain file: `ftyp`, `mdat` boxes that fill while recording, and `moov` at the end.
#pragma once

#include "VideoIO/StreamFilters/Authoring/IMovie.h"
#include "VideoIO/StreamFilters/Authoring/MovieBoxes.h"
#include "VideoIO/StreamFilters/Authoring/MovieSettings.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// Owns the box tree of a file and its output stream. Sample data does not pass through it: the chunk
/// writer appends that and adds to the payload. A file cut off while it is recorded has `mdat` boxes of 8 bytes
/// and no `moov`. No lock of its own: the filter lock is held around every call.
class Movie final : public IMovie {
public:
    using Clock = std::uint64_t (*)();

    /// `clock` dates the file, in seconds since 1904.
    explicit Movie(Clock clock = SecondsSince1904) : m_clock(clock) {}

    /// Writes the head of the file from position 0 of `output` on. The settings are copied. Throws
    /// core::exception when a write fails; the movie has not started then.
    void Start(std::shared_ptr<vio::byte_stream> output, const MovieSettings& settings,
               std::vector<MovieTrackRef> tracks);

    /// 0 until it has started.
    std::size_t TrackCount() const { return m_tracks.size(); }
    const MovieSettings& Settings() const { return m_settings; }

    /// Where the open `mdat`'s data begins; 0 when there is none.
    std::uint64_t DataPosition() const;
    /// Bytes of sample data in the open `mdat`.
    std::uint64_t OpenPayload() const { return m_mdats.back()->data_size; }
    void AddPayload(std::uint64_t size) { m_mdats.back()->data_size += size; }
    /// Opens a further `mdat` right after the open one. Its header gives a size of 8 bytes until the end.
    void OpenNextMdat();

    /// Flushes what the output stream has gathered.
    void Flush();

    /// Completes the file: `moov` after the last `mdat`, the sizes of all `mdat` boxes, and with `last`
    /// `moov` in front when the settings ask for it. With `absorbWrittenMoov` a `moov` that is in the file already
    /// becomes dead space. Exceptions are logged and become the result; what is in `mdat` stays, and the sizes of the
    /// boxes around it are written also when `moov` cannot be.
    HRESULT Finalize(bool last, bool absorbWrittenMoov);
    /// The index and all sizes are in the file, in one place or the other.
    bool IsComplete() const { return m_complete; }

    /// Where the last box ends.
    std::uint64_t EndPosition() const;
    /// Bytes by which Finalize has moved the sample data towards the end of the file.
    std::uint64_t DataShift() const { return m_dataShift; }

    /// As new, with the tracks' storage kept.
    void Reset();

private:
    void AbsorbMoov();
    void BuildMoov();
    void WriteMoov();
    void PatchMdatHeaders();
    void MoveMoovToFront();
    void WidenOffsetsBeyondLimit(std::uint64_t shift);
    void ShiftChunkOffsets(std::uint64_t shift);
    void Complete(bool last, bool absorbWrittenMoov);

    const Clock m_clock;
    std::shared_ptr<vio::mp4::file_type_box> m_ftyp;
    std::shared_ptr<vio::mp4::movie_box> m_moov;
    std::shared_ptr<vio::mp4::movie_header_box> m_mvhd;
    vio::mp4::mp4_writer m_writer;
    std::shared_ptr<vio::byte_stream> m_bs;
    std::vector<MovieTrackRef> m_tracks;
    MovieSettings m_settings;
    std::vector<std::shared_ptr<vio::mp4::media_data_box>> m_mdats;  ///< in file order; the last one is open
    std::uint64_t m_dataShift = 0;
    bool m_complete = false;
};

}  // namespace Norvane::MediaKit::Filters
