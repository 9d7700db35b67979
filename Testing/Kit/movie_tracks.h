// Ready-made tracks for tests that build MP4 files.
#pragma once

#include "Testing/Kit/movie_file.h"

namespace mediakit_test {

/// H.264 pictures that decode: a sync sample every `interval`, 25 a second in a timescale of 90000.
movie_track h264_track(std::size_t count, std::size_t interval = 10, const h264_units& units = h264_units());
/// AAC frames of filler, 1024 units each in a timescale of the rate, 48000.
movie_track aac_track(std::size_t count);
/// 16-bit stereo: one sample a frame, `frames_per_chunk` in a chunk, its first byte counting up.
movie_track pcm_track(std::string_view type, std::size_t frames, std::size_t frames_per_chunk = 1024);

}  // namespace mediakit_test
