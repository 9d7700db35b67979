// The boxes of a plain file as they are expected, written down from the format's tables.
#pragma once

#include "Testing/Kit/box_builder.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Norvane::MediaKit::Filters::testdata {

using mediakit_test::box_builder;
using mediakit_test::make_box;
using mediakit_test::make_full_box;

inline constexpr std::uint32_t kCreated = 0xD0000000;

using Table = std::vector<std::uint32_t>;

/// One track. A table that is not set stands for a box that is not there.
struct ExpectedTrack {
    bool video = true;
    std::uint32_t id = 1;
    std::uint32_t timescale = 25;
    std::uint32_t duration = 0;       ///< in the track's timescale
    std::uint32_t movieDuration = 0;  ///< in the movie's
    std::uint32_t mediaTime = 0;
    std::vector<std::uint32_t> matrix{0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};
    std::uint32_t width = 64;
    std::uint32_t height = 48;
    std::optional<Table> stts;
    std::optional<Table> ctts;
    std::uint8_t cttsVersion = 0;
    std::optional<Table> stsc;
    Table stsz;
    std::optional<Table> stco;
    std::optional<std::vector<std::uint64_t>> co64;
    std::optional<Table> stss;
};

inline box_builder Words(const Table& values) {
    box_builder words;
    for (const std::uint32_t value : values) words.u32(value);
    return words;
}

/// A full box of a count and entries of `columns` numbers.
inline box_builder CountedTable(const char* type, const Table& values, std::uint32_t columns,
                                std::uint8_t version = 0) {
    return make_full_box(type, version, 0,
                         box_builder().u32(static_cast<std::uint32_t>(values.size()) / columns).add(Words(values)));
}

inline box_builder Stbl(const ExpectedTrack& t) {
    box_builder tables;
    tables.add(make_full_box("stsd", 0, 0, box_builder().u32(0)));
    if (t.stts) tables.add(CountedTable("stts", *t.stts, 2));
    if (t.ctts) tables.add(CountedTable("ctts", *t.ctts, 2, t.cttsVersion));
    if (t.stsc) tables.add(CountedTable("stsc", *t.stsc, 3));
    const auto sizes = static_cast<std::uint32_t>(t.stsz.size());
    tables.add(make_full_box("stsz", 0, 0, box_builder().u32(0).u32(sizes).add(Words(t.stsz))));
    if (t.stco) tables.add(CountedTable("stco", *t.stco, 1));
    if (t.co64) {
        box_builder offsets;
        offsets.u32(static_cast<std::uint32_t>(t.co64->size()));
        for (const std::uint64_t offset : *t.co64) offsets.u64(offset);
        tables.add(make_full_box("co64", 0, 0, offsets));
    }
    if (t.stss) tables.add(CountedTable("stss", *t.stss, 1));
    return make_box("stbl", tables);
}

inline box_builder Trak(const ExpectedTrack& t) {
    const box_builder tkhd = make_full_box("tkhd", 0, 7,
                                           box_builder()
                                               .words({kCreated, kCreated, t.id, 0, t.movieDuration, 0, 0})
                                               .u16(0)
                                               .u16(0)
                                               .u16(t.video ? 0 : 0x0100)
                                               .u16(0)
                                               .add(Words(t.matrix))
                                               .u32(t.video ? t.width << 16 : 0)
                                               .u32(t.video ? t.height << 16 : 0));
    const box_builder elst =
        make_full_box("elst", 0, 0, box_builder().u32(1).u32(t.movieDuration).u32(t.mediaTime).u16(1).u16(0));
    const box_builder mdhd = make_full_box(
        "mdhd", 0, 0, box_builder().words({kCreated, kCreated, t.timescale, t.duration}).u16(0x55C4).u16(0));
    const box_builder hdlr =
        make_full_box("hdlr", 0, 0, box_builder().u32(0).text(t.video ? "vide" : "soun").zeros(12).u8(0));
    const box_builder header = t.video ? make_full_box("vmhd", 0, 1, box_builder().zeros(8))
                                       : make_full_box("smhd", 0, 0, box_builder().zeros(4));
    const box_builder dinf =
        make_box("dinf", make_full_box("dref", 0, 0, box_builder().u32(1).add(make_full_box("url ", 0, 1))));
    const box_builder minf = make_box("minf", box_builder().add(header).add(dinf).add(Stbl(t)));
    const box_builder mdia = make_box("mdia", box_builder().add(mdhd).add(hdlr).add(minf));
    return make_box("trak", box_builder().add(tkhd).add(make_box("edts", elst)).add(mdia));
}

inline box_builder Moov(std::uint32_t timescale, std::uint32_t duration, const std::vector<ExpectedTrack>& tracks,
                        const box_builder& udta = {}) {
    box_builder children = make_full_box("mvhd", 0, 0,
                                         box_builder()
                                             .words({kCreated, kCreated, timescale, duration, 0x10000})
                                             .u16(0x0100)
                                             .zeros(10)
                                             .words({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000})
                                             .zeros(24)
                                             .u32(static_cast<std::uint32_t>(tracks.size()) + 1));
    for (const ExpectedTrack& track : tracks) children.add(Trak(track));
    return make_box("moov", children.add(udta));
}

inline box_builder Ftyp() { return make_box("ftyp", box_builder().text("mp42").u32(0).text("mp42isom")); }
inline constexpr std::uint32_t kFtypSize = 24;

}  // namespace Norvane::MediaKit::Filters::testdata
