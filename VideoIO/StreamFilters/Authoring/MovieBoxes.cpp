#include "VideoIO/StreamFilters/Authoring/MovieBoxes.h"

#include "Platform/Kernel/Clock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/StreamFilters/Authoring/MP4SampleDescription.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"
#include "VideoIO/StreamFilters/Container/user_data_boxes.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace Norvane::MediaKit::Filters {

using namespace vio::mp4;

namespace {

/// From 1601-01-01, the system's epoch, to 1904-01-01.
constexpr std::uint64_t kSecondsFrom1601To1904 = std::uint64_t{110667} * 86400;

constexpr std::uint32_t Fixed16(std::uint32_t value) { return value << 16; }
constexpr std::uint32_t kOne = Fixed16(1);
constexpr std::uint32_t kMinusOne = 0u - kOne;
constexpr std::uint32_t kMatrixW = 0x40000000;  // 2.30

/// "und", three letters of 5 bits each (ISO/IEC 14496-12, 8.4.2).
constexpr std::uint16_t kUndeterminedLanguage = 0x55C4;

/// Media time of an edit during which nothing is presented (ISO/IEC 14496-12, 8.6.6).
constexpr std::int64_t kEmptyEdit = -1;

constexpr bool FitsTimeField(std::uint64_t value) { return value <= 0xFFFFFFFE; }

/// Version 1 has the 64-bit fields.
template <class Header>
void SetTimes(Header& header, std::uint64_t created, std::uint64_t modified, std::uint64_t duration) {
    header.creation_time = created;
    header.modification_time = modified;
    header.duration = duration;
    if (!FitsTimeField(created) || !FitsTimeField(modified) || !FitsTimeField(duration)) header.version = 1;
}

/// In 64 bits, since a media type may say anything.
LONG Magnitude(LONG value) { return static_cast<LONG>(std::abs(std::int64_t{value})); }

SIZE PictureSize(const CMediaType& type) {
    SIZE size{};
    if (!IsVideo(type) || FAILED(qz_DSFilters::GetVideoSize(type, size))) return {};
    return {Magnitude(size.cx), Magnitude(size.cy)};
}

/// Rows { a, b, u }, { c, d, v }, { x, y, w }: a picture turned clockwise lies outside of the display
/// area, x and y bring it back.
std::vector<std::uint32_t> Matrix(std::uint32_t orientation, std::uint32_t width, std::uint32_t height) {
    switch (orientation) {
        case 1: return {0, kOne, 0, kMinusOne, 0, 0, height, 0, kMatrixW};
        case 2: return {kMinusOne, 0, 0, 0, kMinusOne, 0, width, height, kMatrixW};
        case 3: return {0, kMinusOne, 0, kOne, 0, 0, 0, width, kMatrixW};
        default: return {kOne, 0, 0, 0, kOne, 0, 0, 0, kMatrixW};
    }
}

void AddTrackHeader(mp4_writer& writer, box* trak, movie_header_box& mvhd, const MovieTrackRef& ref) {
    const auto tkhd = writer.add_box<track_header_box>(trak);
    const bool video = IsVideo(*ref.mediaType);
    const SIZE size = PictureSize(*ref.mediaType);
    tkhd->flags = 7;  // enabled, in the movie, in the preview
    SetTimes(*tkhd, mvhd.creation_time, mvhd.modification_time, 0);
    tkhd->track_ID = mvhd.next_track_ID++;
    tkhd->volume = video ? 0 : 0x0100;
    tkhd->width = Fixed16(static_cast<std::uint32_t>(size.cx));
    tkhd->height = Fixed16(static_cast<std::uint32_t>(size.cy));
    tkhd->matrix = Matrix(video ? ref.orientation : 4, tkhd->width, tkhd->height);
    ref.track->tkhd = tkhd;
}

void AddEditList(mp4_writer& writer, box* trak, const movie_header_box& mvhd, MovieTrack& track,
                 const TrackEdit& edit) {
    const auto edts = writer.add_box<edit_box>(trak);
    const auto elst = writer.add_box<edit_list_box>(edts.get());
    const auto end = static_cast<std::uint64_t>(ToTicks(mvhd.timescale, track.endTime));
    const std::int64_t start = ToTicks(mvhd.timescale, edit.start);
    const auto delay = std::min(end, static_cast<std::uint64_t>(std::max<std::int64_t>(start, 0)));
    if (delay > 0) elst->entries.push_back({delay, kEmptyEdit, 1, 0});
    elst->entries.push_back({end - delay, edit.mediaTime, 1, 0});
    if (end > 0xFFFFFFFF || edit.mediaTime > 0x7FFFFFFF) elst->version = 1;
    track.elst = elst;
}

void AddMediaHeader(mp4_writer& writer, box* mdia, const movie_header_box& mvhd, MovieTrack& track,
                    REFERENCE_TIME start) {
    const auto mdhd = writer.add_box<media_header_box>(mdia);
    mdhd->timescale = track.timescale;
    mdhd->language = kUndeterminedLanguage;
    SetTimes(*mdhd, mvhd.creation_time, mvhd.modification_time,
             static_cast<std::uint64_t>(ToTicks(track.timescale, SubtractTimes(track.endTime, start))));
    track.mdhd = mdhd;
}

std::uint64_t DurationOf(const edit_list_box& elst) {
    std::uint64_t duration = 0;
    for (const auto& entry : elst.entries) duration += entry.segment_duration;
    return duration;
}

/// The media stands in the same file.
void AddDataInformation(mp4_writer& writer, box* minf) {
    const auto dinf = writer.add_box<data_information_box>(minf);
    const auto dref = writer.add_box<data_reference_box>(dinf.get());
    dref->entry_count = 1;
    writer.add_box<data_entry_url_box>(dref.get())->flags = 1;
}

}  // namespace

std::uint64_t SecondsSince1904() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return FileTimeToUInt64(now) / 10000000 - kSecondsFrom1601To1904;
}

std::uint32_t MovieTimescale(std::span<const MovieTrackRef> tracks) {
    return tracks.size() == 1 ? tracks.front().track->timescale : 1000;
}

std::shared_ptr<file_type_box> AddFileType(mp4_writer& writer) {
    const auto ftyp = writer.add_box<file_type_box>(nullptr);
    ftyp->major_brand = fourcc("mp42");
    ftyp->compatible_brands = {fourcc("mp42"), fourcc("isom")};
    return ftyp;
}

std::shared_ptr<movie_header_box> AddMovieHeader(mp4_writer& writer, box* moov, std::uint32_t timescale,
                                                 std::uint64_t now) {
    const auto mvhd = writer.add_box<movie_header_box>(moov);
    SetTimes(*mvhd, now, now, 0);
    mvhd->timescale = timescale;
    mvhd->rate = kOne;
    mvhd->volume = 0x0100;
    mvhd->matrix = Matrix(4, 0, 0);
    mvhd->next_track_ID = 1;
    return mvhd;
}

std::shared_ptr<sample_table_box> AddTrack(mp4_writer& writer, box* moov, movie_header_box& mvhd,
                                           const MovieTrackRef& ref, const TrackEdit& edit) {
    const bool video = IsVideo(*ref.mediaType);
    const auto trak = writer.add_box<track_box>(moov);
    AddTrackHeader(writer, trak.get(), mvhd, ref);
    AddEditList(writer, trak.get(), mvhd, *ref.track, edit);
    const auto mdia = writer.add_box<media_box>(trak.get());
    AddMediaHeader(writer, mdia.get(), mvhd, *ref.track, edit.start);
    writer.add_box<handler_box>(mdia.get())->handler_type = video ? fourcc("vide") : fourcc("soun");
    const auto minf = writer.add_box<media_information_box>(mdia.get());
    if (video)
        writer.add_box<video_media_header_box>(minf.get());
    else
        writer.add_box<sound_media_header_box>(minf.get());
    AddDataInformation(writer, minf.get());
    const auto stbl = writer.add_box<sample_table_box>(minf.get());
    const auto stsd = writer.add_box<sample_description_box>(stbl.get());
    details::add_sample_entry(writer, stsd, *ref.mediaType, ref.track->handler.get());
    return stbl;
}

void AddUserData(mp4_writer& writer, box* moov, std::span<const MovieMetadataItem> items) {
    if (items.empty()) return;
    const auto udta = writer.add_box<user_data_box>(moov);
    for (const auto& item : items) {
        const auto text = writer.add_box<string_list_box>(udta.get());
        text->type = item.fourcc;
        text->text = item.text;
    }
}

void UpdateDurations(movie_header_box& mvhd, std::span<const MovieTrackRef> tracks) {
    for (const auto& ref : tracks) {
        const auto& mdhd = ref.track->mdhd;
        if (!mdhd || mdhd->timescale == 0) continue;
        // duration x movie timescale / track timescale, split so that the product stays within 64 bits.
        const std::uint64_t whole = mdhd->duration / mdhd->timescale;
        const std::uint64_t rest = mdhd->duration % mdhd->timescale;
        const std::uint64_t scaled = whole * mvhd.timescale + rest * mvhd.timescale / mdhd->timescale;
        const std::uint64_t duration = ref.track->HasSourceTimes() ? DurationOf(*ref.track->elst) : scaled;
        auto& tkhd = *ref.track->tkhd;
        SetTimes(tkhd, tkhd.creation_time, tkhd.modification_time, duration);
        SetTimes(mvhd, mvhd.creation_time, mvhd.modification_time, std::max(mvhd.duration, duration));
    }
}

}  // namespace Norvane::MediaKit::Filters
