// H.265 byte streams of any length with whole parameter sets and slice headers. The slices' data are filler: readers of
// headers are content, a decoder is not (ISO/IEC 23008-2).
#pragma once

#include "Testing/Kit/h264_units.h"

namespace mediakit_test {

/// Main profile, one slice a picture, 8 bits of order count. Units come with start codes.
class h265_units {
public:
    enum nal_type : unsigned { trail_n = 0, trail_r = 1, idr_w_radl = 19, idr_n_lp = 20, cra = 21 };

    /// Sizes in pixels, multiples of 8.
    explicit h265_units(unsigned width = 64, unsigned height = 64) : m_width(width), m_height(height) {}

    unsigned width() const { return m_width; }
    unsigned height() const { return m_height; }

    byte_vector vps() const {
        bit_writer w;
        w.u(4, 0).u(2, 3).u(6, 0).u(3, 0).u(1, 1).u(16, 0xFFFF);
        profile_tier_level(w);
        w.u(1, 1).ue(4).ue(2).ue(0);  // buffering, reordering, latency
        w.u(6, 0).ue(0).u(1, 0).u(1, 0);
        return unit(32, w.trailing().nal());
    }

    byte_vector sps() const {
        bit_writer w;
        w.u(4, 0).u(3, 0).u(1, 1);
        profile_tier_level(w);
        w.ue(0).ue(1).ue(m_width).ue(m_height).u(1, 0);
        w.ue(0).ue(0).ue(4);  // 8-bit samples, 8 bits of order count
        w.u(1, 1).ue(4).ue(2).ue(0);
        w.ue(0).ue(1).ue(0).ue(2).ue(0).ue(0);  // blocks of 8 to 16, transforms of 4 to 16
        w.u(1, 0).u(1, 0).u(1, 0).u(1, 0);      // scaling lists, asymmetric partitions, SAO, PCM
        w.ue(0).u(1, 0).u(1, 0).u(1, 0);        // reference sets, long-term, temporal vectors, smoothing
        w.u(1, 0).u(1, 0);                      // VUI, extension
        return unit(33, w.trailing().nal());
    }

    byte_vector pps() const {
        bit_writer w;
        w.ue(0).ue(0).u(1, 0).u(1, 0).u(3, 0).u(1, 0).u(1, 0).ue(0).ue(0).se(0);
        w.u(1, 0).u(1, 0).u(1, 0).se(0).se(0).u(1, 0).u(1, 0).u(1, 0).u(1, 0).u(1, 0).u(1, 0);
        w.u(1, 0).u(1, 0).u(1, 0).u(1, 0).ue(0).u(1, 0).u(1, 0);
        return unit(34, w.trailing().nal());
    }

    static byte_vector delimiter() { return unit(35, {0x50}); }

    /// A slice that refers to the picture before it, or to none when the type begins a sequence. `size` bytes of
    /// filler.
    static byte_vector slice(unsigned type, unsigned order_count, std::size_t size, std::uint8_t filler) {
        const bool random_access = type >= 16 && type <= 23;
        bit_writer w;
        w.u(1, 1);
        if (random_access) w.u(1, 0);
        w.ue(0).ue(random_access ? 2 : 1);  // I or P
        if (type != idr_w_radl && type != idr_n_lp) {
            w.u(8, order_count & 0xFF).u(1, 0);
            if (type == cra)
                w.ue(0).ue(0);
            else
                w.ue(1).ue(0).ue(0).u(1, 1);  // one picture back
        }
        if (!random_access) w.u(1, 0).ue(0);  // no override of counts; merge candidates
        w.se(0).trailing();
        for (std::size_t i = 0; i < size; ++i) w.u(8, filler);
        return unit(type, w.nal());
    }

    byte_vector key_unit(std::size_t size, std::uint8_t filler, unsigned type = idr_w_radl,
                         unsigned order_count = 0) const {
        byte_vector bytes = delimiter();
        append(bytes, vps());
        append(bytes, sps());
        append(bytes, pps());
        append(bytes, slice(type, order_count, size, filler));
        return bytes;
    }

    /// Access units in decoding order: an IDR picture every `interval`, pictures that refer back between. The filler is
    /// 16 plus the picture's number modulo 200.
    std::vector<byte_vector> units(std::size_t count, std::size_t interval, std::size_t size = 100) const {
        std::vector<byte_vector> list;
        for (std::size_t i = 0; i < count; ++i) {
            const auto filler = static_cast<std::uint8_t>(16 + i % 200);
            const auto n = static_cast<unsigned>(i % interval);
            byte_vector bytes = delimiter();
            append(bytes, slice(trail_r, n, size, filler));
            list.push_back(n == 0 ? key_unit(size, filler) : bytes);
        }
        return list;
    }

private:
    static byte_vector unit(unsigned type, const byte_vector& payload) {
        byte_vector body = {1};  // layer 0, temporal id 0
        append(body, payload);
        return annex_b(static_cast<std::uint8_t>(type << 1), body);
    }
    static void profile_tier_level(bit_writer& w) {
        w.u(2, 0).u(1, 0).u(5, 1).u(32, 0x60000000);
        w.u(4, 9).u(43, 0).u(1, 0);  // progressive frames only
        w.u(8, 93);
    }

    unsigned m_width;
    unsigned m_height;
};

}  // namespace mediakit_test
