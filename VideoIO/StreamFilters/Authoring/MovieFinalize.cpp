// The end of a plain file: everything that Movie does once recording is over.

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Authoring/Movie.h"
#include "VideoIO/StreamFilters/Authoring/SampleTables.h"
#include "VideoIO/StreamFilters/Container/exception.h"

#include <algorithm>
#include <exception>

namespace Norvane::MediaKit::Filters {

using namespace vio::mp4;

HRESULT Movie::Finalize(bool last, bool absorbWrittenMoov) {
    HRESULT result = S_OK;
    try {
        Complete(last, absorbWrittenMoov);
    } catch (const std::exception& e) {
        QZReport(1, L"Exception when finalizing the file %S", e.what());
        const auto* const failure = dynamic_cast<const core::exception*>(&e);
        result = failure != nullptr && FAILED(failure->result()) ? failure->result() : E_FAIL;
        Flush();  // what could be written of the end is with the system now, not when the sink goes
    }
    return result;
}

void Movie::Complete(bool last, bool absorbWrittenMoov) {
    if (m_moov && absorbWrittenMoov) AbsorbMoov();
    try {
        WriteMoov();
    } catch (...) {
        PatchMdatHeaders();  // the bytes stay findable
        throw;
    }
    PatchMdatHeaders();
    m_complete = true;
    if (last && m_settings.moveMoovToFront) MoveMoovToFront();
}

void Movie::WriteMoov() {
    if (!m_moov) BuildMoov();
    UpdateDurations(*m_mvhd, m_tracks);
    m_writer.write(m_bs, false);
}

void Movie::AbsorbMoov() {
    AddPayload(m_moov->size);
    m_writer.remove_box(m_moov.get());
    m_moov.reset();
    m_mvhd.reset();
}

void Movie::BuildMoov() {
    m_moov = m_writer.add_box<movie_box>(nullptr);
    m_mvhd = AddMovieHeader(m_writer, m_moov.get(), MovieTimescale(m_tracks), m_clock());
    for (const MovieTrackRef& ref : m_tracks) {
        const TrackTimeline timeline(*ref.track);
        const auto stbl = AddTrack(m_writer, m_moov.get(), *m_mvhd, ref, {timeline.Start(), timeline.FirstMediaTime()});
        AddSampleTables(m_writer, stbl.get(), *ref.track, timeline, *ref.mediaType);
    }
    AddUserData(m_writer, m_moov.get(), m_settings.metadata);
}

void Movie::PatchMdatHeaders() {
    const std::uint64_t position = m_bs->tell();
    for (const auto& mdat : m_mdats) {
        mdat->size = mdat->header_size + mdat->data_size;
        m_writer.write_box(m_bs, mdat.get());
    }
    m_bs->seek(position);
    m_bs->flush();
}

std::uint64_t Movie::EndPosition() const {
    const auto& mdat = *m_mdats.back();
    return std::max(mdat.offset + mdat.size, m_moov->offset + m_moov->size);
}

void Movie::MoveMoovToFront() {
    const std::uint64_t front = m_ftyp->size;
    WidenOffsetsBeyondLimit(m_moov->size);
    const std::uint64_t shift = m_moov->size;
    std::uint64_t total = 0;
    for (const auto& mdat : m_mdats) total += mdat->size;

    m_bs->move(front, front + shift, total);
    // A stream that could not move anything is closed: the file is complete as it is, and stays so.
    core::require(m_bs->seek(front));
    m_complete = false;
    m_dataShift = shift;
    m_moov->offset = front;
    ShiftChunkOffsets(shift);
    for (const auto& mdat : m_mdats) {
        mdat->offset += shift;
        m_writer.remove_box(mdat.get());
        m_writer.insert_after(nullptr, mdat, nullptr);
    }
    m_writer.write(m_bs, true);
    m_bs->flush();
    m_complete = true;
}

/// Tables of 32 bits that the shift would take beyond the limit become tables of 64 bits, which makes
/// `moov` longer.
void Movie::WidenOffsetsBeyondLimit(std::uint64_t shift) {
    bool widened = false;
    for (const MovieTrackRef& ref : m_tracks) {
        if (!ref.track->stco) continue;
        const auto& offsets = ref.track->stco->offsets;
        const auto beyond = [&](std::uint32_t offset) { return offset + shift > m_settings.maxStcoOffset; };
        if (std::ranges::none_of(offsets, beyond)) continue;
        WidenChunkOffsets(m_writer, *ref.track);
        widened = true;
    }
    if (widened) m_writer.measure(true);
}

void Movie::ShiftChunkOffsets(std::uint64_t shift) {
    for (const MovieTrackRef& ref : m_tracks) {
        if (ref.track->stco)
            for (std::uint32_t& offset : ref.track->stco->offsets) offset += static_cast<std::uint32_t>(shift);
        else if (ref.track->co64)
            for (std::uint64_t& offset : ref.track->co64->offsets) offset += shift;
    }
}

}  // namespace Norvane::MediaKit::Filters
