// Boxes of a track down to its media information (ISO/IEC 14496-12, 8.3 to 8.7.2, 8.6.5 and 12).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <string>
#include <vector>

namespace vio::mp4 {

struct track_box : box_of<track_box, box, fourcc("trak")> {};
struct media_box : box_of<media_box, box, fourcc("mdia")> {};
struct media_information_box : box_of<media_information_box, box, fourcc("minf")> {};
struct edit_box : box_of<edit_box, box, fourcc("edts")> {};
struct data_information_box : box_of<data_information_box, box, fourcc("dinf")> {};

/// duration is in units of the movie's timescale.
struct track_header_box : box_of<track_header_box, full_box, fourcc("tkhd")> {
    explicit track_header_box(std::uint8_t version_ = 0) { version = version_; }

    std::uint64_t creation_time = 0;
    std::uint64_t modification_time = 0;
    std::uint32_t track_ID = 0;
    std::uint64_t duration = 0;
    std::uint16_t layer = 0;
    std::uint16_t alternate_group = 0;
    std::uint16_t volume = 0;  ///< 8.8
    std::vector<std::uint32_t> matrix = std::vector<std::uint32_t>(9);
    std::uint32_t width = 0;   ///< 16.16
    std::uint32_t height = 0;  ///< 16.16
};

template <class Archive, record<track_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive.require(box.version <= 1);
    archive.time(box.version, box.creation_time);
    archive.time(box.version, box.modification_time);
    archive(box.track_ID);
    archive.zeros(4);
    archive.time(box.version, box.duration);
    archive.zeros(8);
    archive(box.layer, box.alternate_group, box.volume);
    archive.zeros(2);
    archive.table(box.matrix);
    archive(box.width, box.height);
}

/// duration is in units of timescale; language is three letters of 5 bits each.
struct media_header_box : box_of<media_header_box, full_box, fourcc("mdhd")> {
    std::uint64_t creation_time = 0;
    std::uint64_t modification_time = 0;
    std::uint32_t timescale = 0;
    std::uint64_t duration = 0;
    std::uint16_t language = 0;
};

template <class Archive, record<media_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive.require(box.version <= 1);
    archive.time(box.version, box.creation_time);
    archive.time(box.version, box.modification_time);
    archive(box.timescale);
    archive.time(box.version, box.duration);
    archive(box.language);
    archive.zeros(2);
}

/// name is UTF-8 in the file.
struct handler_box : box_of<handler_box, full_box, fourcc("hdlr")> {
    std::uint32_t handler_type = 0;
    std::wstring name;
};

template <class Archive, record<handler_box> Box>
void fields(Archive& archive, Box& box) {
    archive.zeros(4);
    archive(box.handler_type);
    archive.zeros(12);
    archive.terminated_text(box.name);
}

struct video_media_header_box : box_of<video_media_header_box, full_box, fourcc("vmhd")> {
    video_media_header_box() { flags = 1; }

    std::uint16_t graphicsmode = 0;
    std::vector<std::uint16_t> opcolor = std::vector<std::uint16_t>(3);
};

template <class Archive, record<video_media_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.graphicsmode);
    archive.table(box.opcolor);
}

struct sound_media_header_box : box_of<sound_media_header_box, full_box, fourcc("smhd")> {
    std::uint16_t balance = 0;  ///< 8.8
};

template <class Archive, record<sound_media_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.balance);
    archive.zeros(2);
}

/// Known to the parser, in no registry.
struct hint_media_header_box : box_of<hint_media_header_box, full_box, fourcc("hmhd")> {
    std::uint16_t max_pdu_size = 0;
    std::uint16_t avg_pdu_size = 0;
    std::uint32_t max_bitrate = 0;
    std::uint32_t avg_bitrate = 0;
};

template <class Archive, record<hint_media_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.max_pdu_size, box.avg_pdu_size, box.max_bitrate, box.avg_bitrate);
    archive.zeros(4);
}

/// Known to the parser, in no registry.
struct null_media_header_box : box_of<null_media_header_box, full_box, fourcc("nmhd")> {};

struct edit_list_box : box_of<edit_list_box, full_box, fourcc("elst")> {
    /// segment_duration is in units of the movie's timescale, media_time of the media's; -1 is an
    /// empty edit.
    struct entry {
        std::uint64_t segment_duration = 0;
        std::int64_t media_time = 0;
        std::int16_t media_rate_integer = 0;
        std::int16_t media_rate_fraction = 0;
    };
    std::vector<entry> entries;
};

struct data_reference_box : box_of<data_reference_box, full_box, fourcc("dref")> {
    std::uint32_t entry_count = 0;
};

/// flags 1 says that the media data stands in the same file. The location is neither read nor written.
struct data_entry_url_box : box_of<data_entry_url_box, full_box, fourcc("url ")> {};
struct data_entry_urn_box : box_of<data_entry_urn_box, full_box, fourcc("urn ")> {};

}  // namespace vio::mp4
