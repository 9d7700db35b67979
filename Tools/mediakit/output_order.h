// Numbers the pictures of a stream in output order while they come in decoding order.
#pragma once

#include "Tools/mediakit/stream_window.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace mediakit_tool {

/// A picture on its way from decoding order to its place in output order.
struct OrderedPicture {
    Slice slice;
    bool sync = false;
    std::uint64_t sequence = 0;  ///< pictures of a sequence are shown before those of the next
    std::int32_t count = 0;      ///< picture order count: the order within the sequence
    std::uint32_t depth = 0;     ///< most pictures that come before one and are shown after it
    std::int64_t rank = -1;      ///< place in output order over the whole stream, from 0; -1: not known yet
};

/// A picture is given the next rank when it comes first among those without a rank and more of them
/// are there than the stream holds back, or when the next sequence begins. The pictures come out as
/// they went in, in decoding order, each with its rank. No memory is taken for a picture in steady
/// state. One thread.
class OutputOrder {
public:
    /// Most pictures held: a stream that needs more does not keep its own bound, and from there on
    /// places are given out in the order that is known.
    static constexpr std::size_t kMostHeld = 128;

    void Add(OrderedPicture picture);
    /// No more pictures come.
    void Finish();
    /// The first picture in decoding order has its rank.
    bool Ready() const { return m_size > 0 && At(0).rank >= 0; }
    /// Takes it out; Ready must hold.
    OrderedPicture Pop();

    /// Pictures that came too late for their place, and so are shown later than they should be.
    std::uint64_t Late() const { return m_late; }

private:
    const OrderedPicture& At(std::size_t index) const { return m_ring[(m_first + index) % kMostHeld]; }
    OrderedPicture& At(std::size_t index) { return m_ring[(m_first + index) % kMostHeld]; }
    void RankEarliest();

    std::array<OrderedPicture, kMostHeld> m_ring;
    std::size_t m_first = 0;  ///< in decoding order
    std::size_t m_size = 0;
    std::size_t m_waiting = 0;  ///< of them, without a rank
    std::uint64_t m_sequence = 0;
    std::int64_t m_nextRank = 0;
    std::int64_t m_lastCount = 0;  ///< of the last picture that got a rank in m_sequence
    bool m_hasLastCount = false;
    std::uint64_t m_late = 0;
};

}  // namespace mediakit_tool
