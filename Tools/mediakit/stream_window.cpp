#include "Tools/mediakit/stream_window.h"

#include <cstring>

namespace mediakit_tool {

StreamWindow::StreamWindow(ByteInput& input, std::shared_ptr<BlockPool> pool)
    : m_input(input), m_pool(std::move(pool)) {}

bool StreamWindow::Fill() {
    if (m_atEnd) return false;
    if (m_listener != nullptr) m_listener->AboutToRead();
    MakeRoom();
    std::size_t read = 0;
    m_error = m_input.Read(m_block->Data() + m_end, m_block->Capacity() - m_end, &read);
    if (m_error != NO_ERROR || read == 0) {
        m_atEnd = true;
        return false;
    }
    m_end += read;
    m_bytesRead.fetch_add(read, std::memory_order_relaxed);
    return true;
}

/// Leaves room behind the unread bytes. A block that nobody else points into is used again; a run
/// that takes more than half a block gets a larger one, so that it is not moved again and again.
void StreamWindow::MakeRoom() {
    if (m_block && m_end < m_block->Capacity()) return;
    const std::size_t pending = Size();
    const bool again = m_block && m_block.Alone() && pending <= m_block->Capacity() / 2;
    BlockRef next = again ? m_block : m_pool->Get(pending * 2);
    if (pending != 0) std::memmove(next->Data(), Begin(), pending);
    m_block = std::move(next);
    m_begin = 0;
    m_end = pending;
}

Slice StreamWindow::Take(std::size_t size) {
    Slice slice{m_block, Begin(), size};
    Drop(size);
    return slice;
}

void StreamWindow::Drop(std::size_t size) {
    m_begin += size;
    m_position += size;
}

void StreamWindow::Cut(std::size_t offset, std::size_t size) {
    std::memmove(Begin() + size, Begin(), offset);
    Drop(size);
}

}  // namespace mediakit_tool
