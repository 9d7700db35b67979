#include "Platform/Kernel/EventTable.h"

#include <algorithm>
#include <new>

namespace {

// A handle: generation, slot index, two zero bits. Its generation is never 0, so that no handle is null.
constexpr unsigned kTagBits = 2;
constexpr unsigned kIndexBits = 20;
constexpr std::uintptr_t kIndexMask = (std::uintptr_t{1} << kIndexBits) - 1;
constexpr std::uintptr_t kLastGeneration =
    (std::uintptr_t{1} << std::min<unsigned>(32, 8 * sizeof(HANDLE) - kTagBits - kIndexBits)) - 1;

HANDLE MakeHandle(std::uintptr_t generation, std::uint32_t index) {
    return reinterpret_cast<HANDLE>((generation << kIndexBits | index) << kTagBits);
}

}  // namespace

void EventSlot::Link(WaitNode& node) {
    node.previous = last;
    node.next = nullptr;
    (last ? last->next : first) = &node;
    last = &node;
    node.linked = true;
}

void EventSlot::Unlink(WaitNode& node) {
    (node.previous ? node.previous->next : first) = node.next;
    (node.next ? node.next->previous : last) = node.previous;
    node.linked = false;
}

EventTable& EventTable::Instance() {
    static EventTable& table = *new EventTable;
    return table;
}

EventSlot* EventTable::TakeFree() noexcept {
    CAutoLock lock(&m_lock);
    if (EventSlot* slot = m_free) {
        m_free = slot->nextFree;
        return slot;
    }
    const std::size_t chunkIndex = m_used / kChunk;
    if (chunkIndex == kChunks) return nullptr;
    Chunk* chunk = m_chunks[chunkIndex].load(std::memory_order_relaxed);
    if (chunk == nullptr) {
        chunk = new (std::nothrow) Chunk;
        if (chunk == nullptr) return nullptr;
        m_chunks[chunkIndex].store(chunk, std::memory_order_release);
    }
    EventSlot& slot = (*chunk)[m_used % kChunk];
    slot.index = m_used++;
    return &slot;
}

HANDLE EventTable::Create(bool manual, bool signalled) noexcept {
    EventSlot* slot = TakeFree();
    if (slot == nullptr) return nullptr;
    slot->lock.Lock();
    slot->open = true;
    slot->manual = manual;
    slot->signalled = signalled;
    slot->generation = slot->generation == kLastGeneration ? 1 : slot->generation + 1;
    const HANDLE handle = MakeHandle(slot->generation, slot->index);
    slot->lock.Unlock();
    return handle;
}

EventReference EventTable::Find(HANDLE handle) const noexcept {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    if (handle == nullptr || value % (1u << kTagBits) != 0) return {};
    const std::size_t index = value >> kTagBits & kIndexMask;
    Chunk* chunk = m_chunks[index / kChunk].load(std::memory_order_acquire);
    if (chunk == nullptr) return {};
    return {&(*chunk)[index % kChunk], value >> (kTagBits + kIndexBits)};
}

void EventTable::Recycle(EventSlot& slot) noexcept {
    CAutoLock lock(&m_lock);
    slot.nextFree = m_free;
    m_free = &slot;
}
