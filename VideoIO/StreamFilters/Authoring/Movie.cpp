#include "VideoIO/StreamFilters/Authoring/Movie.h"

#include <utility>

namespace Norvane::MediaKit::Filters {

using namespace vio::mp4;

void Movie::Start(std::shared_ptr<vio::byte_stream> output, const MovieSettings& settings,
                  std::vector<MovieTrackRef> tracks) {
    m_settings = settings;
    m_writer.clear();
    m_mdats.clear();
    m_moov.reset();
    m_mvhd.reset();
    m_dataShift = 0;
    m_complete = false;
    m_ftyp = AddFileType(m_writer);
    const auto mdat = m_writer.add_box<media_data_box>(nullptr);
    m_writer.write(output, false);
    mdat->state = box_state::reserved_on_stream;

    m_mdats.push_back(mdat);
    m_bs = std::move(output);
    m_tracks = std::move(tracks);
}

std::uint64_t Movie::DataPosition() const {
    return m_mdats.empty() ? 0 : m_mdats.back()->offset + m_mdats.back()->header_size;
}

void Movie::OpenNextMdat() {
    const auto full = m_mdats.back();
    const auto mdat = m_writer.add_box<media_data_box>(nullptr);
    mdat->state = box_state::reserved_on_stream;
    mdat->offset = full->offset + full->header_size + full->data_size;
    mdat->size = mdat->header_size;
    m_writer.write_box(m_bs, mdat.get());
    m_mdats.push_back(mdat);
}

void Movie::Flush() {
    if (m_bs) m_bs->flush();
}

void Movie::Reset() {
    for (const auto& ref : m_tracks) {
        ref.track->tkhd.reset();
        ref.track->mdhd.reset();
        ref.track->elst.reset();
        ref.track->stco.reset();
        ref.track->co64.reset();
    }
    m_tracks.clear();
    m_mdats.clear();
    m_writer.clear();
    m_bs.reset();
    m_ftyp.reset();
    m_moov.reset();
    m_mvhd.reset();
    m_settings = {};
    m_dataShift = 0;
    m_complete = false;
}

}  // namespace Norvane::MediaKit::Filters
