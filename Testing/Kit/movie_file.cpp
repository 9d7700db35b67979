#include "Testing/Kit/movie_file.h"

#include <algorithm>

namespace mediakit_test {
namespace {

constexpr std::uint32_t sync_flags = 0x02000000;      ///< depends on no other
constexpr std::uint32_t non_sync_flags = 0x01010000;  ///< depends on others, is not sync

struct span_of_samples {
    std::size_t track;
    std::size_t first;
    std::size_t end;
};

/// Runs of equal values, as stts and ctts have them: count and value.
template <class Value>
box_builder run_table(const std::vector<movie_sample>& samples, std::size_t count, Value value) {
    box_builder rows;
    std::uint32_t runs = 0;
    for (std::size_t i = 0, next = 0; i < count; i = next, ++runs) {
        while (next < count && value(samples[next]) == value(samples[i])) ++next;
        rows.u32(static_cast<std::uint32_t>(next - i)).u32(static_cast<std::uint32_t>(value(samples[i])));
    }
    return box_builder().u32(runs).add(rows);
}

class builder {
public:
    explicit builder(const movie_file& movie) : movie_(movie), fragmented_(movie.fragments.samples != 0) {
        for (const movie_track& track : movie.tracks) built_.positions.emplace_back(track.samples.size());
    }

    built_movie build() {
        append(box("ftyp", movie_file::no_track, box_builder().text("isom").u32(0).text("isommp42")));
        const std::size_t moov_size = moov().size();
        if (movie_.moov_first) place_mdats(built_.bytes.size() + moov_size);
        if (movie_.moov_first) append(moov());
        write_mdats();
        if (!movie_.moov_first) append(moov());
        if (fragmented_) write_fragments();
        return std::move(built_);
    }

private:
    box_builder made(std::string_view type, std::size_t track, const box_builder& box) const {
        return movie_.replace ? movie_.replace(type, track, box) : box;
    }
    box_builder box(std::string_view type, std::size_t track, const box_builder& payload = {}) const {
        return made(type, track, make_box(type, payload));
    }
    box_builder full(std::string_view type, std::size_t track, const box_builder& payload, std::uint8_t version = 0,
                     std::uint32_t flags = 0) const {
        return made(type, track, make_full_box(type, version, flags, payload));
    }
    void append(const box_builder& what) { mediakit_test::append(built_.bytes, what.bytes()); }

    const movie_track& at(std::size_t track) const { return movie_.tracks[track]; }
    std::uint32_t id(std::size_t track) const {
        return at(track).id != 0 ? at(track).id : static_cast<std::uint32_t>(track + 1);
    }
    /// Samples whose tables stand in moov.
    std::size_t plain_samples(std::size_t track) const {
        return fragmented_ ? std::min(movie_.fragments.samples_in_moov, at(track).samples.size())
                           : at(track).samples.size();
    }
    std::size_t chunk_size(std::size_t track) const {
        return at(track).samples_per_chunk != 0 ? at(track).samples_per_chunk
                                                : std::max<std::size_t>(plain_samples(track), 1);
    }
    static std::uint64_t duration(const movie_track& track, std::size_t count) {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < count; ++i) sum += track.samples[i].duration;
        return sum;
    }
    std::uint32_t movie_duration(std::size_t track) const {
        return static_cast<std::uint32_t>(duration(at(track), plain_samples(track)) * movie_.timescale /
                                          std::max<std::uint32_t>(at(track).timescale, 1));
    }

    // Sample data

    std::vector<std::vector<span_of_samples>> mdat_contents() const {
        std::vector<span_of_samples> chunks;
        bool more = true;
        for (std::size_t turn = 0; more; ++turn) {
            more = false;
            for (std::size_t track = 0; track < movie_.tracks.size(); ++track) {
                const std::size_t first = turn * chunk_size(track);
                if (first >= plain_samples(track)) continue;
                chunks.push_back({track, first, std::min(first + chunk_size(track), plain_samples(track))});
                more = true;
            }
        }
        std::vector<std::vector<span_of_samples>> contents(fragmented_ && chunks.empty() ? 0 : movie_.mdats);
        for (std::size_t i = 0; i < chunks.size(); ++i)
            contents[i * contents.size() / chunks.size()].push_back(chunks[i]);
        return contents;
    }

    /// An mdat whose first byte will stand at `position`; notes where its samples lie.
    box_builder mdat(const std::vector<span_of_samples>& content, std::uint64_t position) {
        box_builder data;
        for (const span_of_samples& span : content) {
            for (std::size_t i = span.first; i < span.end; ++i) {
                built_.positions[span.track][i] = position + (movie_.large_mdat ? 16 : 8) + data.size();
                data.add(at(span.track).samples[i].bytes);
            }
        }
        return movie_.large_mdat ? make_large_box("mdat", data) : make_box("mdat", data);
    }
    void place_mdats(std::uint64_t position) {
        for (const auto& content : mdat_contents()) position += mdat(content, position).size();
    }
    void write_mdats() {
        for (const auto& content : mdat_contents()) append(mdat(content, built_.bytes.size()));
    }

    // moov

    box_builder moov() const {
        constexpr std::size_t none = movie_file::no_track;
        std::uint32_t duration = 0;
        box_builder children;
        for (std::size_t track = 0; track < movie_.tracks.size(); ++track) {
            duration = std::max(duration, movie_duration(track));
            children.add(trak(track));
        }
        box_builder mvhd;
        mvhd.zeros(8).u32(movie_.timescale).u32(duration).u32(0x10000).u16(0x100).zeros(10);
        mvhd.words({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000}).zeros(24).u32(0xFFFFFFFF);
        box_builder all = full("mvhd", none, mvhd);
        all.add(children);
        if (fragmented_) all.add(mvex());
        return box("moov", none, all);
    }

    box_builder mvex() const {
        box_builder children;
        for (std::size_t track = 0; track < movie_.tracks.size(); ++track)
            children.add(full("trex", track, box_builder().u32(id(track)).u32(1).add(defaults(track, 0))));
        return box("mvex", movie_file::no_track, children);
    }
    /// Duration, size and flags for fragments from that sample on. The flags are those behind the first sample.
    box_builder defaults(std::size_t track, std::size_t first) const {
        const auto& samples = at(track).samples;
        if (first >= samples.size()) return box_builder().zeros(12);
        const auto size = static_cast<std::uint32_t>(samples[first].bytes.size());
        const movie_sample& later = samples[std::min(first + 1, samples.size() - 1)];
        return box_builder().u32(samples[first].duration).u32(size).u32(flags_of(later));
    }
    static std::uint32_t flags_of(const movie_sample& sample) { return sample.sync ? sync_flags : non_sync_flags; }

    box_builder trak(std::size_t track) const {
        const movie_track& t = at(track);
        box_builder tkhd;
        tkhd.zeros(8).u32(id(track)).zeros(4).u32(movie_duration(track)).zeros(16);
        for (const std::uint32_t value : t.matrix) tkhd.u32(value);
        box_builder children = full("tkhd", track, tkhd.zeros(8), 0, 7);
        if (!t.edits.empty()) {
            box_builder elst;
            elst.u32(static_cast<std::uint32_t>(t.edits.size()));
            for (const auto& edit : t.edits)
                elst.u64(edit.duration).u64(static_cast<std::uint64_t>(edit.media_time)).u32(0x10000);
            children.add(box("edts", track, full("elst", track, elst, 1)));
        }
        box_builder mdhd;
        mdhd.zeros(8).u32(t.timescale).u32(static_cast<std::uint32_t>(duration(t, plain_samples(track))));
        mdhd.u32(0x55C40000);  // language und
        box_builder media = full("mdhd", track, mdhd);
        media.add(full("hdlr", track, box_builder().u32(0).text(t.handler).zeros(12).u8(0)));
        const box_builder dref = full("dref", track, box_builder().u32(1).add(full("url ", track, {}, 0, 1)));
        box_builder minf = t.handler == "soun" ? full("smhd", track, box_builder().zeros(4))
                                               : full("vmhd", track, box_builder().zeros(8), 0, 1);
        minf.add(box("dinf", track, dref)).add(stbl(track));
        return box("trak", track, children.add(box("mdia", track, media.add(box("minf", track, minf)))));
    }

    box_builder stbl(std::size_t track) const {
        const movie_track& t = at(track);
        const std::size_t count = plain_samples(track);
        const auto any = [&](auto test) {
            return std::any_of(t.samples.begin(), t.samples.begin() + static_cast<std::ptrdiff_t>(count), test);
        };
        box_builder stbl = full("stsd", track, box_builder().u32(1).add(t.entry));
        stbl.add(full("stts", track, run_table(t.samples, count, [](const auto& s) { return s.duration; })));
        if (t.with_ctts && any([](const auto& s) { return s.cts_offset != 0; })) {
            const bool negative = any([](const auto& s) { return s.cts_offset < 0; });
            stbl.add(full("ctts", track, run_table(t.samples, count, [](const auto& s) { return s.cts_offset; }),
                          negative ? 1 : 0));
        }
        if (t.with_stss && any([](const auto& s) { return !s.sync; }))
            stbl.add(full("stss", track, sync_numbers(track)));
        stbl.add(full("stsc", track, chunk_runs(track)));
        return box("stbl", track, stbl.add(sizes(track)).add(offsets(track)));
    }

    box_builder sync_numbers(std::size_t track) const {
        box_builder numbers;
        for (std::size_t i = 0; i < plain_samples(track); ++i)
            if (at(track).samples[i].sync) numbers.u32(static_cast<std::uint32_t>(i + 1));
        return box_builder().u32(static_cast<std::uint32_t>(numbers.size() / 4)).add(numbers);
    }
    /// One run of whole chunks and one for the shorter last chunk.
    box_builder chunk_runs(std::size_t track) const {
        const std::size_t whole = plain_samples(track) / chunk_size(track);
        const std::size_t rest = plain_samples(track) % chunk_size(track);
        box_builder runs;
        if (whole != 0) runs.words({1, static_cast<std::uint32_t>(chunk_size(track)), 1});
        if (rest != 0) runs.words({static_cast<std::uint32_t>(whole + 1), static_cast<std::uint32_t>(rest), 1});
        return box_builder().u32(static_cast<std::uint32_t>(runs.size() / 12)).add(runs);
    }
    box_builder sizes(std::size_t track) const {
        const movie_track& t = at(track);
        const auto count = static_cast<std::uint32_t>(plain_samples(track));
        const auto size = [&](std::size_t i) { return static_cast<std::uint32_t>(t.samples[i].bytes.size()); };
        box_builder table;
        switch (t.size_table) {
            case movie_track::sizes::constant:
                return full("stsz", track, box_builder().u32(count == 0 ? 0 : size(0)).u32(count));
            case movie_track::sizes::table:
                for (std::size_t i = 0; i < count; ++i) table.u32(size(i));
                return full("stsz", track, box_builder().u32(0).u32(count).add(table));
            case movie_track::sizes::compact4:
                for (std::size_t i = 0; i < count; i += 2)
                    table.u8(static_cast<std::uint8_t>(size(i) << 4 | (i + 1 < count ? size(i + 1) : 0)));
                return full("stz2", track, box_builder().u32(4).u32(count).add(table));
            case movie_track::sizes::compact8:
                for (std::size_t i = 0; i < count; ++i) table.u8(static_cast<std::uint8_t>(size(i)));
                return full("stz2", track, box_builder().u32(8).u32(count).add(table));
            case movie_track::sizes::compact16:
                for (std::size_t i = 0; i < count; ++i) table.u16(static_cast<std::uint16_t>(size(i)));
                return full("stz2", track, box_builder().u32(16).u32(count).add(table));
        }
        return {};
    }
    box_builder offsets(std::size_t track) const {
        const bool large = at(track).large_offsets;
        const std::size_t count = (plain_samples(track) + chunk_size(track) - 1) / chunk_size(track);
        box_builder table;
        table.u32(static_cast<std::uint32_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t position = built_.positions[track][i * chunk_size(track)];
            if (large)
                table.u64(position);
            else
                table.u32(static_cast<std::uint32_t>(position));
        }
        return full(large ? "co64" : "stco", track, table);
    }

    // Fragments

    void write_fragments() {
        bool more = true;
        for (std::uint32_t number = 0; more; ++number) {
            std::vector<span_of_samples> content;
            for (std::size_t track = 0; track < movie_.tracks.size(); ++track) {
                const std::size_t first = plain_samples(track) + number * movie_.fragments.samples;
                const std::size_t end = std::min(first + movie_.fragments.samples, at(track).samples.size());
                if (first < end) content.push_back({track, first, end});
            }
            more = !content.empty();
            if (more) write_fragment(number, content);
        }
    }

    void write_fragment(std::uint32_t number, const std::vector<span_of_samples>& content) {
        const std::uint64_t start = built_.bytes.size();
        const box_builder data = mdat(content, start + moof(number, content, start).size());
        append(moof(number, content, start));
        append(data);
    }

    box_builder moof(std::uint32_t number, const std::vector<span_of_samples>& content, std::uint64_t start) const {
        box_builder children = full("mfhd", movie_file::no_track, box_builder().u32(number + 1));
        for (const span_of_samples& span : content) children.add(traf(span, start));
        return box("moof", movie_file::no_track, children);
    }

    box_builder traf(const span_of_samples& span, std::uint64_t start) const {
        const fragment_layout& layout = movie_.fragments;
        const std::uint64_t base = layout.explicit_base ? built_.positions[span.track][span.first] : start;
        box_builder tfhd;
        tfhd.u32(id(span.track));
        if (layout.explicit_base) tfhd.u64(base);
        if (layout.defaults_in_tfhd) tfhd.add(defaults(span.track, span.first));
        box_builder children = full("tfhd", span.track, tfhd, 0,
                                    (layout.explicit_base ? 0x01U : 0U) | (layout.defaults_in_tfhd ? 0x38U : 0U) |
                                        (layout.default_base_moof ? 0x20000U : 0U));
        if (layout.tfdt)
            children.add(full("tfdt", span.track, box_builder().u64(duration(at(span.track), span.first)), 1));
        const std::size_t step = layout.samples_per_run != 0 ? layout.samples_per_run : span.end - span.first;
        for (std::size_t i = span.first; i < span.end; i += step)
            children.add(trun({span.track, i, std::min(i + step, span.end)}, base));
        return box("traf", span.track, children);
    }

    box_builder trun(const span_of_samples& span, std::uint64_t base) const {
        const std::uint32_t flags = movie_.fragments.run_flags;
        const auto& samples = at(span.track).samples;
        box_builder run;
        run.u32(static_cast<std::uint32_t>(span.end - span.first));
        if (flags & 0x001) run.u32(static_cast<std::uint32_t>(built_.positions[span.track][span.first] - base));
        if (flags & 0x004) run.u32(flags_of(samples[span.first]));
        for (std::size_t i = span.first; i < span.end; ++i) {
            if (flags & 0x100) run.u32(samples[i].duration);
            if (flags & 0x200) run.u32(static_cast<std::uint32_t>(samples[i].bytes.size()));
            if (flags & 0x400) run.u32(flags_of(samples[i]));
            if (flags & 0x800) run.u32(static_cast<std::uint32_t>(samples[i].cts_offset));
        }
        return full("trun", span.track, run, 1, flags);
    }

    const movie_file& movie_;
    const bool fragmented_;
    built_movie built_;
};

}  // namespace

built_movie movie_file::build() const { return builder(*this).build(); }

}  // namespace mediakit_test
