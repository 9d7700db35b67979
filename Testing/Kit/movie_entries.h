// Sample entries for tests that build MP4 files: what stands in `stsd`.
#pragma once

#include "Testing/Kit/adts_frame.h"
#include "Testing/Kit/box_builder.h"
#include "Testing/Kit/h265_units.h"

namespace mediakit_test {

/// Any visual entry; `children` are its boxes.
box_builder visual_entry(std::string_view type, unsigned width, unsigned height, const box_builder& children = {});
/// Any audio entry of version 0.
box_builder audio_entry(std::string_view type, unsigned channels, unsigned bits, unsigned rate,
                        const box_builder& children = {});

/// The records of ISO/IEC 14496-15 with the units' parameter sets and 4-byte lengths.
box_builder avcc_record(const h264_units& units);
box_builder hvcc_record(const h265_units& units);
/// `esds` as ISO/IEC 14496-14 has it. Without specific info its descriptor is left out.
box_builder esds_box(std::uint8_t object_type, const byte_vector& specific_info, std::uint32_t average_bit_rate = 0);

box_builder avc1_entry(const h264_units& units = h264_units());
box_builder hvc1_entry(const h265_units& units = h265_units());
/// MPEG-4 Part 2 (0x20) or motion JPEG (0x6C).
box_builder mp4v_entry(unsigned width, unsigned height, const byte_vector& specific_info = {},
                       std::uint8_t object_type = 0x20);
/// AAC (0x40, 0x66 to 0x68) with the AudioSpecificConfig of `options`, or another object type with the info given.
box_builder aac_entry(const adts_options& options = {}, unsigned rate = 48000);
box_builder mp4a_entry(std::uint8_t object_type, const byte_vector& specific_info, unsigned channels = 2,
                       unsigned rate = 44100);
/// MPEG audio: 0x6B is MPEG-1, 0x69 MPEG-2.
inline box_builder mp3_entry(std::uint8_t object_type = 0x6B) { return mp4a_entry(object_type, {}); }
/// `sowt` is little-endian, `twos` big-endian.
inline box_builder pcm_entry(std::string_view type, unsigned channels = 2, unsigned rate = 48000) {
    return audio_entry(type, channels, 16, rate);
}
/// With a `dac3` of 48 kHz and two channels (ETSI TS 102 366, annex F).
box_builder ac3_entry(unsigned channels = 2, unsigned rate = 48000);

}  // namespace mediakit_test
