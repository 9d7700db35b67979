#include "Tools/mediakit/container_facts.h"

#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/box_walk.h"
#include "Tools/mediakit/frame_rate.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>

namespace mediakit_tool {

namespace {

using vio::mp4::fourcc;

constexpr std::uint64_t kMostBrands = 64;
constexpr int kLevelsInMovie = 5;  // `stsd` stands in `trak`, `mdia`, `minf`, `stbl`

std::string CodeText(std::uint32_t code) {
    return code == 0 ? "" : win32::NarrowForDisplay(vio::mp4::fourcc_text(code));
}

/// Reads big-endian numbers one behind the other; zeros behind the end of the box.
class BoxNumbers {
public:
    BoxNumbers(vio::byte_stream& file, const BoxHeader& box) : m_file(file), m_at(box.Payload()), m_end(box.end) {}

    std::uint64_t Next(std::uint32_t count) {
        std::uint8_t bytes[8] = {};
        const bool inside = m_end - m_at >= count;
        if (!inside || !m_file.seek(m_at) || !m_file.read(bytes, count)) {
            m_at = m_end;
            return 0;
        }
        m_at += count;
        std::uint64_t value = 0;
        for (std::uint32_t i = 0; i < count; ++i) value = value << 8 | bytes[i];
        return value;
    }
    std::uint32_t Next32() { return static_cast<std::uint32_t>(Next(4)); }
    std::uint64_t Left() const { return m_end - m_at; }

private:
    vio::byte_stream& m_file;
    std::uint64_t m_at;
    const std::uint64_t m_end;
};

class FileCollector final : public BoxListener {
public:
    FileCollector(vio::byte_stream& file, ContainerFacts& facts) : m_file(file), m_facts(facts) {}

    void BeginBox(const BoxHeader& box) override {
        if (box.type == fourcc("moov") && !m_movie) m_movie = box;
        if (box.type == fourcc("mdat") && !m_facts.mdat) m_facts.mdat = box.offset;
        if (box.type == fourcc("moof")) ++m_facts.fragments;
        if (box.type == fourcc("ftyp") && m_facts.majorBrand.empty()) ReadBrands(box);
    }
    void EndBox(const BoxHeader&) override {}
    void BytesLeft(std::uint64_t, std::uint64_t, const std::string&) override {}

    /// The first `moov`.
    const std::optional<BoxHeader>& Movie() const { return m_movie; }

private:
    void ReadBrands(const BoxHeader& box) {
        BoxNumbers numbers(m_file, box);
        m_facts.majorBrand = CodeText(numbers.Next32());
        m_facts.minorVersion = numbers.Next32();
        for (std::uint64_t count = std::min(numbers.Left() / 4, kMostBrands); count > 0; --count)
            m_facts.compatibleBrands.push_back(CodeText(numbers.Next32()));
    }

    vio::byte_stream& m_file;
    ContainerFacts& m_facts;
    std::optional<BoxHeader> m_movie;
};

class MovieCollector final : public BoxListener {
public:
    MovieCollector(vio::byte_stream& file, ContainerFacts& facts) : m_file(file), m_facts(facts) {}

    void BeginBox(const BoxHeader& box) override {
        const std::uint32_t parent = m_parents.empty() ? 0 : m_parents.back();
        m_parents.push_back(box.type);
        if (parent == 0)
            TakeOfMovie(box);
        else if (m_parents.front() == fourcc("trak"))
            TakeOfTrack(box, parent, m_facts.tracks.back());
    }
    void EndBox(const BoxHeader&) override { m_parents.pop_back(); }
    void BytesLeft(std::uint64_t, std::uint64_t, const std::string&) override {}

private:
    void TakeOfMovie(const BoxHeader& box) {
        if (box.type == fourcc("mvex")) m_facts.fragmented = true;
        if (box.type == fourcc("mvhd") && !m_facts.created) ReadMovieHeader(box);
        if (box.type == fourcc("trak")) m_facts.tracks.emplace_back();
    }

    void TakeOfTrack(const BoxHeader& box, std::uint32_t parent, FileTrack& track) {
        BoxNumbers numbers(m_file, box);
        if (box.type == fourcc("tkhd") && parent == fourcc("trak")) {
            const std::uint32_t timeSize = TimeSize(numbers);
            numbers.Next(timeSize);  // creation
            numbers.Next(timeSize);  // modification
            track.trackId = numbers.Next32();
        } else if (box.type == fourcc("hdlr") && parent == fourcc("mdia")) {
            numbers.Next(8);  // version, flags, predefined
            track.handler = CodeText(numbers.Next32());
        } else if (box.type == fourcc("stsd") && parent == fourcc("stbl")) {
            numbers.Next(8);   // version, flags, number of entries
            numbers.Next32();  // size of the first one
            track.entry = CodeText(numbers.Next32());
        }
    }

    void ReadMovieHeader(const BoxHeader& box) {
        BoxNumbers numbers(m_file, box);
        const std::uint32_t timeSize = TimeSize(numbers);
        m_facts.created = numbers.Next(timeSize);
        numbers.Next(timeSize);  // modification
        const auto timescale = static_cast<double>(numbers.Next32());
        const auto duration = static_cast<double>(numbers.Next(timeSize)) / timescale * kUnitsPerSecond;
        // Of 0 / 0 and of "unknown" in 64 bits nothing can be said.
        if (duration >= 0 && duration < static_cast<double>(std::numeric_limits<REFERENCE_TIME>::max()))
            m_facts.duration = static_cast<REFERENCE_TIME>(duration + 0.5);
    }

    /// Of the times behind version and flags, which are read.
    static std::uint32_t TimeSize(BoxNumbers& numbers) { return numbers.Next32() >> 24 == 1 ? 8 : 4; }

    vio::byte_stream& m_file;
    ContainerFacts& m_facts;
    std::vector<std::uint32_t> m_parents;  ///< types of the boxes around, without `moov`
};

}  // namespace

std::string FileTrack::ToText() const {
    const std::string& code = entry.empty() ? handler : entry;
    return "track " + std::to_string(trackId) + (code.empty() ? "" : " (" + code + ")");
}

std::string ContainerFacts::Order() const {
    if (moov && mdat) return *moov < *mdat ? "moov, mdat" : "mdat, moov";
    return moov ? "moov" : mdat ? "mdat" : "";
}

std::string ContainerFacts::CreationText() const {
    using namespace std::chrono;
    constexpr sys_days kEpoch = year{1904} / January / 1;
    constexpr sys_days kEnd = year{10000} / January / 1;
    if (created.value_or(0) == 0 || *created >= static_cast<std::uint64_t>(seconds(kEnd - kEpoch).count())) return {};
    const sys_seconds time = kEpoch + seconds(static_cast<std::int64_t>(*created));
    const sys_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

ContainerFacts ReadContainerFacts(vio::byte_stream& file) {
    ContainerFacts facts;
    facts.size = file.size();
    FileCollector boxes(file, facts);
    BoxWalk(file, boxes, 1).Run();
    if (!boxes.Movie()) return facts;
    facts.moov = boxes.Movie()->offset;
    MovieCollector movie(file, facts);
    BoxWalk(file, movie, kLevelsInMovie).RunInside(*boxes.Movie());
    return facts;
}

}  // namespace mediakit_tool
