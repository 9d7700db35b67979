#include "Tools/mediakit/output_order.h"

#include <utility>

namespace mediakit_tool {

void OutputOrder::Add(OrderedPicture picture) {
    if (picture.sequence != m_sequence) {
        Finish();
        m_sequence = picture.sequence;
        m_hasLastCount = false;
    }
    if (m_hasLastCount && picture.count < m_lastCount) ++m_late;
    const std::uint32_t depth = picture.depth;
    At(m_size++) = std::move(picture);
    ++m_waiting;
    while (m_waiting > depth || (m_size == kMostHeld && !Ready())) RankEarliest();
}

void OutputOrder::Finish() {
    while (m_waiting > 0) RankEarliest();
}

/// All that wait are of one sequence, and few: a walk is as good as a heap.
void OutputOrder::RankEarliest() {
    OrderedPicture* earliest = nullptr;
    for (std::size_t i = 0; i < m_size; ++i) {
        OrderedPicture& picture = At(i);
        if (picture.rank < 0 && (earliest == nullptr || picture.count < earliest->count)) earliest = &picture;
    }
    earliest->rank = m_nextRank++;
    m_lastCount = earliest->count;
    m_hasLastCount = true;
    --m_waiting;
}

OrderedPicture OutputOrder::Pop() {
    OrderedPicture picture = std::exchange(At(0), {});
    m_first = (m_first + 1) % kMostHeld;
    --m_size;
    return picture;
}

}  // namespace mediakit_tool
