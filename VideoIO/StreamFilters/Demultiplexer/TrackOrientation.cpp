#include "VideoIO/StreamFilters/Demultiplexer/TrackOrientation.h"

#include "MediaKit/IOverrideMediaType.h"

#include <algorithm>
#include <array>

namespace Norvane::MediaKit::Filters::details {
namespace {

// Fixed point of ISO/IEC 14496-12, 6.2.2: 16.16, and 2.30 in the third column.
constexpr std::uint32_t kOne = 0x00010000;
constexpr std::uint32_t kMinusOne = 0xFFFF0000;
constexpr std::uint32_t kWeight = 0x40000000;

struct Turn {
    std::array<std::uint32_t, 4> matrix;  ///< a, b, c, d
    DWORD orientation;
};
constexpr Turn kTurns[] = {
    {{kOne, 0, 0, kOne}, qz_DSFilters::VideoOrientation_0},
    {{0, kOne, kMinusOne, 0}, qz_DSFilters::VideoOrientation_90},
    {{kMinusOne, 0, 0, kMinusOne}, qz_DSFilters::VideoOrientation_180},
    {{0, kMinusOne, kOne, 0}, qz_DSFilters::VideoOrientation_270},
};

}  // namespace

DWORD OrientationOf(const vio::mp4::track_header_box& tkhd) {
    const auto& m = tkhd.matrix;  // a b u, c d v, x y w: where the picture is moved to does not matter
    if (m.size() != 9 || m[2] != 0 || m[5] != 0 || m[8] != kWeight) return qz_DSFilters::VideoOrientation_None;
    const std::array<std::uint32_t, 4> matrix = {m[0], m[1], m[3], m[4]};
    const auto turn =
        std::find_if(std::begin(kTurns), std::end(kTurns), [&](const Turn& known) { return known.matrix == matrix; });
    return turn == std::end(kTurns) ? DWORD{qz_DSFilters::VideoOrientation_None} : turn->orientation;
}

}  // namespace Norvane::MediaKit::Filters::details
