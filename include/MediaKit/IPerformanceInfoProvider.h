// How a multiplexer is doing: counts, sizes and rates of what its input pins received.
#pragma once

#include "Platform/Com/Unknown.h"

#include <cstdint>
#include <vector>

namespace qz_ChannelIO {

/// What one input pin has received since its last segment started. Times are in 100 ns.
struct StreamStatistic {
    std::uint64_t samples = 0;
    std::uint64_t syncSamples = 0;
    std::uint64_t bytes = 0;
    std::uint32_t smallestSample = 0;  ///< bytes; 0 while there is none
    std::uint32_t largestSample = 0;   ///< bytes
    REFERENCE_TIME firstStart = 0;
    REFERENCE_TIME lastStop = 0;
    double bitsPerSecond = 0;     ///< over firstStart to lastStop, 0 while that span is empty
    double samplesPerSecond = 0;  ///< the same
};

/// One connected input pin in the list of IPerformanceInfoProvider.
struct StreamSummary {
    std::uint32_t pinIndex = 0;
    GUID majorType{};
    GUID subtype{};
    StreamStatistic statistic;
};

/// Offered by both multiplexers. Any thread; each statistic has a lock of its own that is held only
/// while it is copied or fed.
struct IPerformanceInfoProvider : IUnknown {
    /// From now on the statistics are fed; there is no way back. S_OK.
    virtual HRESULT EnableStatistics() = 0;
    /// Stores the writer's name, "MP4-Mux"; the text is static.
    virtual HRESULT GetWriterName(const wchar_t** name) = 0;
    /// Copies the statistic of the first connected pin of that major type, zero-filled when no pin matches.
    virtual HRESULT GetStatistic(REFGUID majorType, StreamStatistic* statistic) = 0;
    /// Works out that pin's rates and keeps them for the next GetStatistic.
    virtual HRESULT UpdateTotals(REFGUID majorType) = 0;
    /// A summary of each connected input pin, in pin order.
    virtual HRESULT GetSummaries(std::vector<StreamSummary>* summaries) = 0;

protected:
    ~IPerformanceInfoProvider() = default;
};

inline constexpr IID IID_IPerformanceInfoProvider = make_guid("E3639594-A220-4FB9-8D80-02900C12BD3D");

}  // namespace qz_ChannelIO

template <>
inline constexpr IID uuid_of<qz_ChannelIO::IPerformanceInfoProvider> = qz_ChannelIO::IID_IPerformanceInfoProvider;
