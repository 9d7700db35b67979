#include "Testing/Kit/movie_tracks.h"

namespace mediakit_test {

movie_track h264_track(std::size_t count, std::size_t interval, const h264_units& units) {
    movie_track track;
    track.timescale = 90000;
    track.entry = avc1_entry(units);
    for (const byte_vector& unit : units.units(count, interval))
        track.samples.push_back({with_lengths(split_annex_b(unit)), 3600, 0, track.samples.size() % interval == 0});
    return track;
}

movie_track aac_track(std::size_t count) {
    movie_track track;
    track.handler = "soun";
    track.timescale = 48000;
    track.entry = aac_entry();
    for (std::size_t i = 0; i < count; ++i)
        track.samples.push_back({byte_vector(20 + i % 7, static_cast<std::uint8_t>(i)), 1024, 0, true});
    return track;
}

movie_track pcm_track(std::string_view type, std::size_t frames, std::size_t frames_per_chunk) {
    movie_track track;
    track.handler = "soun";
    track.timescale = 48000;
    track.entry = pcm_entry(type);
    track.size_table = movie_track::sizes::constant;
    track.samples_per_chunk = frames_per_chunk;
    for (std::size_t i = 0; i < frames; ++i)
        track.samples.push_back({{static_cast<std::uint8_t>(i), 1, 2, 3}, 1, 0, true});
    return track;
}

}  // namespace mediakit_test
