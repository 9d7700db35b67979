// What the tests of the track tables share: records as text.
#pragma once

#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"

#include <string>

namespace Norvane::MediaKit::Filters::details {

/// One record as "offset+size dts/cts+duration", with a star when it is a sync sample.
inline std::string Text(const SampleRecord& record) {
    return std::to_string(record.offset) + "+" + std::to_string(record.size) + " " + std::to_string(record.dts) + "/" +
           std::to_string(record.cts) + "+" + std::to_string(record.duration) + (record.sync != 0 ? "*" : "");
}
inline std::string Text(const TrackTables& tables) {
    std::string text;
    for (const SampleRecord& record : tables.index_) text += (text.empty() ? "" : ", ") + Text(record);
    return text;
}

inline TrackTables EmptyTables(std::uint32_t timescale = 1000) {
    const auto mdhd = std::make_shared<vio::mp4::media_header_box>();
    mdhd->timescale = timescale;
    TrackTables tables;
    tables.mdhd = mdhd;
    return tables;
}

inline TrackBoxes BoxesOf(std::uint32_t handler) {
    TrackBoxes boxes;
    boxes.tkhd = std::make_shared<vio::mp4::track_header_box>();
    boxes.hdlr = std::make_shared<vio::mp4::handler_box>();
    boxes.hdlr->handler_type = handler;
    return boxes;
}

}  // namespace Norvane::MediaKit::Filters::details
