// H.264 byte streams of any length whose pictures decode: every macroblock is I_PCM of one grey, so that a decoder
// tells which picture it shows (ISO/IEC 14496-10).
#pragma once

#include "Testing/Kit/bit_writer.h"

#include <cstddef>
#include <utility>

namespace mediakit_test {

using byte_vector = std::vector<std::uint8_t>;

/// A 4-byte start code and a NAL unit.
inline byte_vector annex_b(std::uint8_t nal_header, const byte_vector& payload) {
    byte_vector unit = {0, 0, 0, 1, nal_header};
    unit.insert(unit.end(), payload.begin(), payload.end());
    return unit;
}

inline void append(byte_vector& to, const byte_vector& more) { to.insert(to.end(), more.begin(), more.end()); }

/// Main profile, one slice a picture, CAVLC, order count type 0. Units come with start codes.
class h264_units {
public:
    enum class picture { idr, p, b };  ///< b is not used for reference

    /// Sizes in macroblocks of 16 x 16. Without a rate the parameter set has no timing.
    explicit h264_units(unsigned width = 1, unsigned height = 1, unsigned frames_per_second = 0)
        : m_width(width), m_height(height), m_frames_per_second(frames_per_second) {}

    unsigned width() const { return m_width * 16; }
    unsigned height() const { return m_height * 16; }

    byte_vector sps(unsigned id = 0) const {
        bit_writer w;
        w.u(8, 77).u(8, 0).u(8, 10);   // profile, constraints, level
        w.ue(id).ue(12).ue(0).ue(12);  // 16-bit frame_num; order count type 0 with 16 bits
        w.ue(2).u(1, 0).ue(m_width - 1).ue(m_height - 1).u(1, 1).u(1, 1).u(1, 0);
        w.u(1, m_frames_per_second != 0 ? 1 : 0);
        if (m_frames_per_second != 0) {
            w.u(4, 0);  // aspect ratio, overscan, video signal, chroma location
            w.u(1, 1).u(32, 1).u(32, 2 * m_frames_per_second).u(1, 1);
            w.u(4, 0);  // both HRD, pic_struct, bitstream restriction
        }
        return annex_b(0x67, w.trailing().nal());
    }

    byte_vector pps(unsigned id = 0, unsigned sps_id = 0) const {
        bit_writer w;
        w.ue(id).ue(sps_id).u(2, 0).ue(0).ue(0).ue(0).u(3, 0).se(0).se(0).se(0).u(3, 4);
        return annex_b(0x68, w.trailing().nal());
    }

    static byte_vector delimiter() { return annex_b(0x09, {0xF0}); }

    /// An unregistered user data message of that many bytes behind its identifier.
    static byte_vector sei(std::uint8_t size = 4) {
        byte_vector payload = {5, static_cast<std::uint8_t>(size + 16)};
        payload.resize(payload.size() + 16 + size, 0xAB);
        payload.push_back(0x80);
        return annex_b(0x06, payload);
    }

    /// Order counts go up by 2 a frame. `grey` is what the picture shows.
    byte_vector slice(picture kind, unsigned frame_num, unsigned order_count, std::uint8_t grey) const {
        static constexpr unsigned i_pcm[] = {25, 30, 48};     // in I, P and B slices
        static constexpr unsigned slice_types[] = {7, 5, 6};  // the same for the whole picture
        static constexpr std::uint8_t nal_headers[] = {0x65, 0x41, 0x01};
        const auto index = static_cast<std::size_t>(kind);

        bit_writer w;
        w.ue(0).ue(slice_types[index]).ue(0).u(16, frame_num & 0xFFFF);
        if (kind == picture::idr) w.ue(0);
        w.u(16, order_count & 0xFFFF);
        if (kind == picture::b) w.u(1, 1);
        if (kind != picture::idr) w.u(1, 0).u(1, 0);  // no override, no list modification
        if (kind == picture::b) w.u(1, 0);
        if (kind == picture::idr) w.u(2, 0);
        if (kind == picture::p) w.u(1, 0);  // sliding window
        w.se(0).ue(1);                      // quantiser, no deblocking
        for (unsigned macroblock = 0; macroblock < m_width * m_height; ++macroblock) {
            if (kind != picture::idr) w.ue(0);  // none skipped
            w.ue(i_pcm[index]);
            while (w.size() % 8 != 0) w.u(1, 0);
            for (int i = 0; i < 256; ++i) w.u(8, grey);
            for (int i = 0; i < 128; ++i) w.u(8, 128);
        }
        return annex_b(nal_headers[index], w.trailing().nal());
    }

    /// Delimiter, both sets and an IDR picture.
    byte_vector key_unit(std::uint8_t grey) const {
        byte_vector unit = delimiter();
        append(unit, sps());
        append(unit, pps());
        append(unit, slice(picture::idr, 0, 0, grey));
        return unit;
    }
    byte_vector p_unit(unsigned frame_num, unsigned order_count, std::uint8_t grey) const {
        byte_vector unit = delimiter();
        append(unit, slice(picture::p, frame_num, order_count, grey));
        return unit;
    }
    /// `frame_num` is that of the reference picture before it plus 1.
    byte_vector b_unit(unsigned frame_num, unsigned order_count, std::uint8_t grey) const {
        byte_vector unit = delimiter();
        append(unit, slice(picture::b, frame_num, order_count, grey));
        return unit;
    }

    /// Access units in decoding order: an IDR picture every `interval`, P pictures between. Grey is 16 plus the
    /// picture's number modulo 200.
    std::vector<byte_vector> units(std::size_t count, std::size_t interval) const {
        std::vector<byte_vector> list;
        for (std::size_t i = 0; i < count; ++i) {
            const auto grey = static_cast<std::uint8_t>(16 + i % 200);
            const auto n = static_cast<unsigned>(i % interval);
            list.push_back(n == 0 ? key_unit(grey) : p_unit(n, 2 * n, grey));
        }
        return list;
    }

private:
    unsigned m_width;
    unsigned m_height;
    unsigned m_frames_per_second;
};

/// The units of a byte stream, without start codes.
inline std::vector<byte_vector> split_annex_b(const byte_vector& stream) {
    std::vector<byte_vector> units;
    std::size_t start = stream.size();
    for (std::size_t i = 0; i + 3 <= stream.size(); ++i) {
        if (stream[i] != 0 || stream[i + 1] != 0 || stream[i + 2] != 1) continue;
        if (start < i) {
            const std::size_t end = stream[i - 1] == 0 ? i - 1 : i;
            units.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(start),
                               stream.begin() + static_cast<std::ptrdiff_t>(end));
        }
        start = i + 3;
    }
    if (start < stream.size()) units.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(start), stream.end());
    return units;
}

/// Units with a big-endian length of that many bytes in front of each, as an MP4 file holds them.
inline byte_vector with_lengths(const std::vector<byte_vector>& units, unsigned length_size = 4) {
    byte_vector sample;
    for (const byte_vector& unit : units) {
        for (unsigned i = length_size; i-- > 0;) sample.push_back(static_cast<std::uint8_t>(unit.size() >> 8 * i));
        append(sample, unit);
    }
    return sample;
}

}  // namespace mediakit_test
