// How long a multiplexer's recordings took.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Norvane::MediaKit::Filters {

/// Durations of runs in seconds. No lock: used under the filter lock, as Pause and Stop are.
class MuxPerformanceCounters {
public:
    struct Entry {
        double seconds = 0;
        bool flag = false;
    };
    /// Values that can be read back.
    static constexpr std::size_t kept = 300;

    /// A run begins.
    void Start();
    /// A run ends, or a filter that is stopped is stopped again.
    void Stop() { Add(SecondsSinceStart()); }
    void Add(double seconds);

    std::uint64_t Count() const { return m_count; }
    double Sum() const { return m_sum; }
    double SumOfSquares() const { return m_sumOfSquares; }
    double Minimum() const { return m_minimum; }  ///< 1e100 while there is none
    double Maximum() const { return m_maximum; }  ///< -1 while there is none
    /// The last values, oldest first, at most `kept`.
    std::span<const Entry> Last() const;

private:
    double SecondsSinceStart() const;

    bool m_flag = false;
    std::int64_t m_start = 0;  ///< of the performance counter
    double m_sum = 0;
    double m_sumOfSquares = 0;
    double m_minimum = 1e100;
    double m_maximum = -1.0;
    std::uint64_t m_count = 0;
    /// Every value stands twice, `kept` entries apart, so that the last ones are always one straight run.
    std::array<Entry, 2 * kept> m_ring{};
    std::size_t m_next = kept;
};

}  // namespace Norvane::MediaKit::Filters
