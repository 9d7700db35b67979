#include "Tools/mediakit/container_facts.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>

#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/box_walk.h"
#include "Tools/mediakit/frame_rate.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"

namespace mediakit_tool {

namespace {

using vio::mp4::fourcc;

constexpr std::uint64_t kMostBrands = 64;
constexpr int kLevels = 2;  // `mvhd` and `mvex` stand in `moov`

std::string Brand(std::uint32_t code) {
    return win32::NarrowForDisplay(vio::mp4::fourcc_text(code));
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
    std::uint64_t Left() const { return m_end - m_at; }

private:
    vio::byte_stream& m_file;
    std::uint64_t m_at;
    const std::uint64_t m_end;
};

class FactsCollector final : public BoxListener {
public:
    FactsCollector(vio::byte_stream& file, ContainerFacts& facts) : m_file(file), m_facts(facts) {}

    void BeginBox(const BoxHeader& box) override {
        if (m_level++ == 0)
            TakeTop(box);
        else if (m_inMovie)
            TakeOfMovie(box);
    }
    void EndBox(const BoxHeader&) override { --m_level; }
    void BytesLeft(std::uint64_t, std::uint64_t, const std::string&) override {}

private:
    void TakeTop(const BoxHeader& box) {
        m_inMovie = box.type == fourcc("moov") && !m_facts.moov;
        if (m_inMovie) m_facts.moov = box.offset;
        if (box.type == fourcc("mdat") && !m_facts.mdat) m_facts.mdat = box.offset;
        if (box.type == fourcc("moof")) ++m_facts.fragments;
        if (box.type == fourcc("ftyp") && m_facts.majorBrand.empty()) ReadBrands(box);
    }

    void TakeOfMovie(const BoxHeader& box) {
        if (box.type == fourcc("mvex")) m_facts.fragmented = true;
        if (box.type == fourcc("mvhd") && !m_facts.created) ReadMovieHeader(box);
    }

    void ReadBrands(const BoxHeader& box) {
        BoxNumbers numbers(m_file, box);
        m_facts.majorBrand = Brand(static_cast<std::uint32_t>(numbers.Next(4)));
        m_facts.minorVersion = static_cast<std::uint32_t>(numbers.Next(4));
        for (std::uint64_t count = std::min(numbers.Left() / 4, kMostBrands); count > 0; --count)
            m_facts.compatibleBrands.push_back(Brand(static_cast<std::uint32_t>(numbers.Next(4))));
    }

    void ReadMovieHeader(const BoxHeader& box) {
        BoxNumbers numbers(m_file, box);
        const std::uint32_t timeSize = numbers.Next(4) >> 24 == 1 ? 8 : 4;
        m_facts.created = numbers.Next(timeSize);
        numbers.Next(timeSize);  // modification
        const auto timescale = static_cast<double>(numbers.Next(4));
        const auto duration = static_cast<double>(numbers.Next(timeSize)) / timescale * kUnitsPerSecond;
        // Of 0 / 0 and of "unknown" in 64 bits nothing can be said.
        if (duration >= 0 && duration < static_cast<double>(std::numeric_limits<REFERENCE_TIME>::max()))
            m_facts.duration = static_cast<REFERENCE_TIME>(duration + 0.5);
    }

    vio::byte_stream& m_file;
    ContainerFacts& m_facts;
    int m_level = 0;
    bool m_inMovie = false;
};

}  // namespace

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
    FactsCollector collector(file, facts);
    BoxWalk(file, collector, kLevels).Run();
    return facts;
}

}  // namespace mediakit_tool
