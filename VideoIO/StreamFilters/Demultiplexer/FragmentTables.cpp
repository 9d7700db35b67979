#include "VideoIO/StreamFilters/Demultiplexer/FragmentTables.h"

#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace Norvane::MediaKit::Filters::details {
namespace {

using vio::mp4::track_extends_box;
using vio::mp4::track_fragment_header_box;
using vio::mp4::track_run_box;

constexpr std::uint32_t kNotSync = 0x00010000;  ///< in a sample's flags

/// A value for each sample of a run, or one for all.
class Column {
public:
    explicit Column(std::uint32_t value) : m_value(value) {}
    Column(const track_run_box& run, std::uint32_t flag, const std::vector<std::uint32_t>& values, std::uint32_t value)
        : m_value(value) {
        if ((run.flags & flag) == 0) return;
        if (values.size() < run.sample_count) throw std::out_of_range("track run with too few values");
        m_values = values.data();
    }
    std::uint32_t operator[](std::uint32_t i) const { return m_values != nullptr ? m_values[i] : m_value; }

private:
    const std::uint32_t* m_values = nullptr;
    std::uint32_t m_value;
};

/// What a run's samples have unless it tells them itself.
struct Defaults {
    std::uint32_t duration;
    std::uint32_t size;
    std::uint32_t flags;
};

Defaults DefaultsOf(const track_fragment_header_box& tfhd, const track_extends_box& trex) {
    namespace has = vio::mp4::track_fragment_flags;
    return {
        (tfhd.flags & has::default_sample_duration) != 0 ? tfhd.default_sample_duration : trex.default_sample_duration,
        (tfhd.flags & has::default_sample_size) != 0 ? tfhd.default_sample_size : trex.default_sample_size,
        (tfhd.flags & has::default_sample_flags) != 0 ? tfhd.default_sample_flags : trex.default_sample_flags,
    };
}

/// Where a run begins; `next` is where it does without an offset of its own.
std::uint64_t RunPosition(const track_run_box& run, std::uint64_t base, std::uint64_t next) {
    if ((run.flags & vio::mp4::track_run_flags::data_offset) == 0) return next;
    return base + static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(run.data_offset)});
}

class FragmentWalk {
public:
    FragmentWalk(std::uint64_t limit, std::int64_t dts, TrackTables& tables)
        : m_tables(tables), m_end(tables.index_.size() + limit), m_dts(dts) {}

    void SetDecodeTime(std::uint64_t dts) { m_dts = static_cast<std::int64_t>(dts); }

    /// The position behind the run's last sample.
    std::uint64_t AddRun(const track_run_box& run, const Defaults& defaults, std::uint64_t position) {
        namespace has = vio::mp4::track_run_flags;
        const Column durations(run, has::sample_duration, run.sample_duration, defaults.duration);
        const Column sizes(run, has::sample_size, run.sample_size, defaults.size);
        const Column flags(run, has::sample_flags, run.sample_flags, defaults.flags);
        const Column offsets(run, has::sample_composition_time_offset, run.sample_composition_time_offset, 0);
        const bool ownFirst = (run.flags & has::first_sample_flags) != 0;
        for (std::uint32_t i = 0; i < run.sample_count && m_tables.index_.size() < m_end; ++i) {
            SampleRecord& record = m_tables.index_.emplace_back();
            record.offset = std::min(position, kHighestOffset);
            record.sync = ((i == 0 && ownFirst ? run.first_sample_flags : flags[i]) & kNotSync) == 0 ? 1 : 0;
            record.dts = m_dts;
            record.cts = WrappingAdd(m_dts, static_cast<std::int32_t>(offsets[i]));
            record.size = sizes[i];
            record.duration = durations[i];
            m_dts = WrappingAdd(m_dts, record.duration);
            position += record.size;
            m_tables.total_bytes += record.size;
            m_duration += record.duration;
            m_tables.max_sample_size = std::max(m_tables.max_sample_size, record.size);
        }
        return position;
    }

    std::uint64_t Duration() const { return m_duration; }

private:
    TrackTables& m_tables;
    const std::uint64_t m_end;
    std::int64_t m_dts;
    std::uint64_t m_duration = 0;
};

}  // namespace

std::uint64_t CountFragmentSamples(const TrackBoxes& boxes) {
    if (boxes.trex == nullptr || boxes.fragments == nullptr) return 0;
    std::uint64_t count = 0;
    for (const FragmentRecord& fragment : *boxes.fragments)
        for (const auto& run : fragment.truns) count += run->sample_count;
    return count;
}

std::uint64_t EndOfFragmentData(const FragmentRecord& fragment, const track_extends_box* trex) {
    const Defaults defaults = DefaultsOf(*fragment.tfhd, trex != nullptr ? *trex : track_extends_box());
    std::uint64_t end = fragment.base;
    for (const auto& run : fragment.truns) {
        end = RunPosition(*run, fragment.base, end);
        if ((run->flags & vio::mp4::track_run_flags::sample_size) != 0)
            end = std::accumulate(run->sample_size.begin(), run->sample_size.end(), end);
        else
            end += std::uint64_t{run->sample_count} * defaults.size;
    }
    return end;
}

void AddFragments(const TrackBoxes& boxes, const ReadingOptions& options, std::uint64_t limit, std::int64_t dts,
                  TrackTables& tables) {
    if (boxes.trex == nullptr || boxes.fragments == nullptr) return;
    const std::uint64_t before = tables.index_.size();
    FragmentWalk walk(limit, dts, tables);
    for (const FragmentRecord& fragment : *boxes.fragments) {
        const track_fragment_header_box& tfhd = *fragment.tfhd;
        const Defaults defaults = DefaultsOf(tfhd, *boxes.trex);
        if (options.fragmentDecodeTimes && fragment.decode_time) walk.SetDecodeTime(*fragment.decode_time);
        std::uint64_t next = fragment.base;
        for (const auto& run : fragment.truns) {
            const std::uint64_t end = walk.AddRun(*run, defaults, RunPosition(*run, fragment.base, next));
            if (options.contiguousRuns) next = end;
        }
    }
    tables.total_duration += walk.Duration();
    if (const std::uint64_t count = tables.index_.size() - before; count != 0)
        tables.typical_duration = static_cast<double>(walk.Duration()) / static_cast<double>(count);
}

}  // namespace Norvane::MediaKit::Filters::details
