// Times of MP4 headers as OLE dates: days since 1899-12-30, the time of day as the fraction. A negative date counts its
// fraction forwards too: -1.25 is 6 o'clock on the day before that one.
#pragma once

#include <cstdint>

namespace Norvane::MediaKit::Filters::details {

/// What stands for a date that is out of range: 0100-01-01.
inline constexpr double kInvalidOleDate = -657435.0;

/// The date `days` later. kInvalidOleDate when the date or the days are out of the range of OLE dates.
double AddToOleDate(double date, double days);

/// For seconds since 1904-01-01 00:00:00, as ISO/IEC 14496-12 counts.
double OleDateOfMovieTime(std::uint64_t seconds);

}  // namespace Norvane::MediaKit::Filters::details
