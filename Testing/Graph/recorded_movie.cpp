#include "Testing/Graph/recorded_movie.h"

#include <span>
#include <stdexcept>

namespace mediakit_test {

namespace {

using bytes_view = std::span<const std::uint8_t>;

class cursor {
public:
    explicit cursor(bytes_view bytes) : m_bytes(bytes) {}

    std::uint64_t u(unsigned width) {
        std::uint64_t value = 0;
        for (const std::uint8_t byte : take(width)) value = value << 8 | byte;
        return value;
    }
    std::uint32_t u32() { return static_cast<std::uint32_t>(u(4)); }
    std::string code() {
        const bytes_view text = take(4);
        return {text.begin(), text.end()};
    }
    bytes_view take(std::uint64_t count) {
        if (count > m_bytes.size()) throw std::runtime_error("a box ends too early");
        const bytes_view taken = m_bytes.first(static_cast<std::size_t>(count));
        m_bytes = m_bytes.subspan(static_cast<std::size_t>(count));
        return taken;
    }
    void skip(std::uint64_t count) { take(count); }
    bool empty() const { return m_bytes.empty(); }

private:
    bytes_view m_bytes;
};

struct box_view {
    std::string code;
    bytes_view payload;
};

std::vector<box_view> boxes_in(bytes_view bytes) {
    std::vector<box_view> boxes;
    for (cursor c(bytes); !c.empty();) {
        std::uint64_t size = c.u32();
        std::uint64_t header = 8;
        const std::string code = c.code();
        if (size == 1) {
            size = c.u(8);
            header = 16;
        }
        if (size < header) throw std::runtime_error("size of " + code);
        boxes.push_back({code, c.take(size - header)});
    }
    return boxes;
}

/// The payload of the first such box down the path; empty when there is none.
bytes_view find(bytes_view bytes, std::initializer_list<const char*> path) {
    for (const char* code : path) {
        bytes_view next;
        for (const box_view& box : boxes_in(bytes))
            if (box.code == code && next.data() == nullptr) next = box.payload;
        if (next.data() == nullptr) return {};
        bytes = next;
    }
    return bytes;
}

/// Behind version and flags; an empty table for a box that is absent.
cursor table(bytes_view payload) {
    cursor c(payload);
    if (!c.empty()) c.skip(4);
    return c;
}

std::uint32_t count_of(cursor& c) { return c.empty() ? 0 : c.u32(); }

std::vector<std::int64_t> expand_runs(cursor c, bool is_signed) {
    std::vector<std::int64_t> values;
    for (std::uint32_t runs = count_of(c); runs > 0; --runs) {
        const std::uint32_t count = c.u32();
        const std::uint32_t value = c.u32();
        if (count > 1000000) throw std::runtime_error("length of a run");
        values.insert(values.end(), count, is_signed ? static_cast<std::int32_t>(value) : std::int64_t{value});
    }
    return values;
}

std::vector<std::uint32_t> read_sizes(bytes_view stbl) {
    cursor c = table(find(stbl, {"stsz"}));
    const std::uint32_t constant = c.u32();
    std::vector<std::uint32_t> sizes(c.u32(), constant);
    if (constant == 0)
        for (std::uint32_t& size : sizes) size = c.u32();
    return sizes;
}

std::vector<std::uint64_t> read_chunks(bytes_view stbl) {
    const bytes_view wide = find(stbl, {"co64"});
    cursor c = table(wide.data() != nullptr ? wide : find(stbl, {"stco"}));
    std::vector<std::uint64_t> chunks(count_of(c));
    for (std::uint64_t& chunk : chunks) chunk = c.u(wide.data() != nullptr ? 8 : 4);
    return chunks;
}

std::vector<std::uint64_t> sample_offsets(bytes_view stbl, const std::vector<std::uint32_t>& sizes) {
    cursor c = table(find(stbl, {"stsc"}));
    std::map<std::uint32_t, std::uint32_t> per_chunk;  // by first chunk of the run
    for (std::uint32_t runs = count_of(c); runs > 0; --runs) {
        const std::uint32_t first = c.u32();
        per_chunk[first] = c.u32();
        c.skip(4);
    }
    std::vector<std::uint64_t> offsets;
    std::uint32_t number = 0;
    for (std::uint64_t offset : read_chunks(stbl)) {
        auto run = per_chunk.upper_bound(++number);
        if (run == per_chunk.begin()) throw std::runtime_error("a chunk without a run");
        for (std::uint32_t left = (--run)->second; left > 0; --left) {
            if (offsets.size() == sizes.size()) throw std::runtime_error("more samples in chunks than sizes");
            offsets.push_back(offset);
            offset += sizes[offsets.size() - 1];
        }
    }
    if (offsets.size() != sizes.size()) throw std::runtime_error("fewer samples in chunks than sizes");
    return offsets;
}

std::vector<bool> sync_flags(bytes_view stbl, std::size_t count) {
    const bytes_view stss = find(stbl, {"stss"});
    std::vector<bool> flags(count, stss.data() == nullptr);
    cursor c = table(stss);
    for (std::uint32_t left = count_of(c); left > 0; --left) flags.at(c.u32() - 1) = true;
    return flags;
}

void read_samples(recorded_track& track, bytes_view stbl, bytes_view file) {
    const std::vector<std::uint32_t> sizes = read_sizes(stbl);
    const std::vector<std::uint64_t> offsets = sample_offsets(stbl, sizes);
    const std::vector<bool> sync = sync_flags(stbl, sizes.size());
    const std::vector<std::int64_t> durations = expand_runs(table(find(stbl, {"stts"})), false);
    const std::vector<std::int64_t> shifts = expand_runs(table(find(stbl, {"ctts"})), true);
    if (!shifts.empty() && shifts.size() != sizes.size()) throw std::runtime_error("length of ctts");
    // The last sample's duration is nobody's distance: a table may leave it out.
    if (durations.size() + 1 < sizes.size()) throw std::runtime_error("length of stts");

    std::int64_t time = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        if (offsets[i] > file.size() || sizes[i] > file.size() - offsets[i])
            throw std::runtime_error("a sample outside");
        const bytes_view bytes = file.subspan(static_cast<std::size_t>(offsets[i]), sizes[i]);
        track.samples.push_back({{bytes.begin(), bytes.end()}, time, time + (shifts.empty() ? 0 : shifts[i]), sync[i]});
        if (i < durations.size()) time += durations[i];
    }
}

recorded_track read_track(bytes_view trak, bytes_view file) {
    recorded_track track;
    cursor mdhd(find(trak, {"mdia", "mdhd"}));
    const bool wide = mdhd.u(1) == 1;
    mdhd.skip(wide ? 19 : 11);
    track.timescale = mdhd.u32();

    cursor hdlr = table(find(trak, {"mdia", "hdlr"}));
    hdlr.skip(4);
    track.handler = hdlr.code();

    const bytes_view elst = find(trak, {"edts", "elst"});
    cursor edits(elst);
    if (!edits.empty()) {
        const unsigned width = edits.u(1) == 1 ? 8 : 4;
        edits.skip(3);
        if (edits.u32() > 0) {
            edits.skip(width);
            const std::uint64_t start = edits.u(width);
            track.edit_start = width == 8 ? static_cast<std::int64_t>(start) : static_cast<std::int32_t>(start);
        }
    }

    const bytes_view stbl = find(trak, {"mdia", "minf", "stbl"});
    cursor stsd = table(find(stbl, {"stsd"}));
    if (stsd.u32() > 0) {
        stsd.skip(4);
        track.entry = stsd.code();
    }
    read_samples(track, stbl, file);
    return track;
}

}  // namespace

recorded_movie read_movie(const std::vector<std::uint8_t>& file) {
    recorded_movie movie;
    for (const box_view& box : boxes_in(file)) {
        movie.boxes.push_back(box.code);
        if (box.code != "moov") continue;
        for (const box_view& child : boxes_in(box.payload))
            if (child.code == "trak") movie.tracks.push_back(read_track(child.payload, file));
    }
    return movie;
}

}  // namespace mediakit_test
