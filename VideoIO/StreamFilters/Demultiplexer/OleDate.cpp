#include "VideoIO/StreamFilters/Demultiplexer/OleDate.h"

#include "Platform/Kernel/Time.h"

#include <cmath>

namespace Norvane::MediaKit::Filters::details {

namespace {

/// 0100-01-01 to 9999-12-31, and from one end to the other.
constexpr double kFirstDate = -657434.0;
constexpr double kLastDate = 2958465.0;
constexpr double kLongestSpan = 3615897.0;

double MovieEpoch() {
    const SYSTEMTIME epoch{1904, 1, 0, 1, 0, 0, 0, 0};
    double date = 0;
    return SystemTimeToVariantTime(&epoch, &date) ? date : kInvalidOleDate;
}

}  // namespace

double AddToOleDate(double date, double days) {
    if (!(date >= kFirstDate && date <= kLastDate && days >= -kLongestSpan && days <= kLongestSpan))
        return kInvalidOleDate;
    // On a line without a break at 0 the fraction of a negative date counts backwards.
    const double continuous = date < 0 ? std::ceil(date) - (date - std::ceil(date)) : date;
    const double sum = continuous + days;
    return sum < 0 ? std::floor(sum) + (std::floor(sum) - sum) : sum;
}

double OleDateOfMovieTime(std::uint64_t seconds) {
    const auto days = static_cast<double>(seconds / 86400);
    const auto ofDay = static_cast<unsigned>(seconds % 86400);
    return AddToOleDate(MovieEpoch(), days + ofDay / 3600 / 24.0 + ofDay / 60 % 60 / 1440.0 + ofDay % 60 / 86400.0);
}

}  // namespace Norvane::MediaKit::Filters::details
